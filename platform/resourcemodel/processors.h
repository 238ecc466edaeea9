#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/rgfields.h>

/// \file
/// The tree of running processors: an overview holds SCPs and MCPs, and these hold FFPs, DSCs, FHPs and FHAs.

namespace RESOURCEMANAGEMENT {

#define RG_FIELDS_UsedProcessingUnit(F)                                                                      \
    F(Text, QString, GUID, Optional, "GUID of the processing unit; the null UUID until one is assigned")     \
    F(Int, qint32, Credits, Optional, "CPU credits taken there")

/// The processing unit that a processor runs on.
class KOLTA_RESOURCEMODEL_EXPORT UsedProcessingUnit final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(UsedProcessingUnit)
};

#define RG_FIELDS_KoltaProcessor(F)                                                                          \
    F(Record, TavikResource, TavikResource, Optional, "identity")                                            \
    F(Text, QString, DemandClassName, Optional, "name of the resource demand class")                         \
    F(Enum, LocalStorage, LocalStorage, Optional, "0 none, 1 default")                                       \
    F(Record, UsedProcessingUnit, UsedProcessingUnit, Optional, "where the processor runs")

/// What every processor has, whatever it does.
class KOLTA_RESOURCEMODEL_EXPORT KoltaProcessor final : public REPORTGENERATOR::IRGObject
{
public:
    /// Other numbers are carried unchanged.
    enum LocalStorage : int { eNoLocalStorage = 0, eDefaultLocalStorage = 1 };

    RG_OBJECT(KoltaProcessor)
};

#define RG_FIELDS_DataSource(F)                                                                              \
    F(Text, QString, TunerGUID, Optional, "GUID of the feeding tuner, or \"none\"")                          \
    F(Text, QString, RecordID, Optional, "recording that is played instead of a tuner")

/// What feeds an MCP or SCP.
class KOLTA_RESOURCEMODEL_EXPORT DataSource final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(DataSource)
};

#define RG_FIELDS_FFP(F)                                                                                     \
    F(Record, KoltaProcessor, KoltaProcessor, Optional, "processor record")                                  \
    F(Text, QString, TunerGUID, Optional, "GUID of the feeding tuner")                                       \
    F(Double, double, Frequency, Optional, "centre frequency, Hz")                                           \
    F(Double, double, Bandwidth, Optional, "bandwidth, Hz")

/// Works on one signal: a channel of its own within what feeds it. The leaf of most trees.
class KOLTA_RESOURCEMODEL_EXPORT FFP final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(FFP)
};

#define RG_FIELDS_FHA(F) F(Record, KoltaProcessor, KoltaProcessor, Optional, "processor record")

/// Works below an FHP and has nothing but its record.
class KOLTA_RESOURCEMODEL_EXPORT FHA final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(FHA)
};

#define RG_FIELDS_DSC(F)                                                                                     \
    F(Record, KoltaProcessor, KoltaProcessor, Optional, "processor record")                                  \
    F(Bool, bool, Production, Optional, "produces results")                                                  \
    F(Bool, bool, Scanning, Optional, "scans")                                                               \
    F(RecordList, FFP, FFP, Optional, "its FFPs")

/// Has several FFPs below it, which it can let scan.
class KOLTA_RESOURCEMODEL_EXPORT DSC final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(DSC)
};

#define RG_FIELDS_FHP(F)                                                                                     \
    F(Record, KoltaProcessor, KoltaProcessor, Optional, "processor record")                                  \
    F(RecordList, FHA, FHA, Optional, "its FHAs")                                                            \
    F(RecordList, FFP, FFP, Optional, "its FFPs")

/// Has FHAs and FFPs below it, without frequencies of its own.
class KOLTA_RESOURCEMODEL_EXPORT FHP final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(FHP)
};

#define RG_FIELDS_MCP(F)                                                                                     \
    F(Record, KoltaProcessor, KoltaProcessor, Optional, "processor record")                                  \
    F(Text, QString, ProductionID, Optional, "GUID of the production that it serves")                        \
    F(Record, DataSource, DataSource, Optional, "what feeds it")                                             \
    F(Double, double, Frequency, Optional, "centre frequency, Hz")                                           \
    F(Double, double, Bandwidth, Optional, "bandwidth, Hz")                                                  \
    F(RecordList, FFP, FFP, Optional, "its FFPs")                                                            \
    F(RecordList, FHP, FHP, Optional, "its FHPs")                                                            \
    F(RecordList, DSC, DSC, Optional, "its DSCs")

/// Serves a production with a wide band, in which any number of processors work.
class KOLTA_RESOURCEMODEL_EXPORT MCP final : public REPORTGENERATOR::IRGObject
{
    RG_RECORD(MCP)
};

#define RG_FIELDS_SCP(F)                                                                                     \
    F(Record, KoltaProcessor, KoltaProcessor, Optional, "processor record")                                  \
    F(Text, QString, ProductionID, Optional, "GUID of the production that it serves")                        \
    F(Record, DataSource, DataSource, Optional, "what feeds it")                                             \
    F(Double, double, Frequency, Optional, "centre frequency, Hz")                                           \
    F(Double, double, Bandwidth, Optional, "bandwidth, Hz")                                                  \
    F(Record, FFP, FFP, Optional, "its FFP")                                                                 \
    F(Record, DSC, DSC, Optional, "its DSC")                                                                 \
    F(Record, FHP, FHP, Optional, "its FHP")

/// Serves a production with one signal: at most one processor of each kind is in it.
class KOLTA_RESOURCEMODEL_EXPORT SCP final : public REPORTGENERATOR::IRGObject
{
    RG_RECORD(SCP)
};

#define RG_FIELDS_ProcessorOverview(F)                                                                       \
    F(Int, qint32, NumberOfFFPs, Optional, "number of FFPs in the whole tree")                               \
    F(RecordList, SCP, SCP, Optional, "running SCPs")                                                        \
    F(RecordList, MCP, MCP, Optional, "running MCPs")

/// All running processors of one server.
class KOLTA_RESOURCEMODEL_EXPORT ProcessorOverview final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(ProcessorOverview)
};

} // namespace RESOURCEMANAGEMENT

RG_RECORD_TYPE(RESOURCEMANAGEMENT::MCP);
RG_RECORD_TYPE(RESOURCEMANAGEMENT::SCP);
