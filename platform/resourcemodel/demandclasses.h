#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/rgfields.h>

/// \file
/// Resource demand classes: how much processing a job takes.

namespace RESOURCEMANAGEMENT {

#define RG_FIELDS_ResourceDemandClass(F)                                                                     \
    F(Text, QString, DemandClassName, Required, "class name, such as \"sw\" or \"300k\"")                    \
    F(Text, QString, AppType, Required, "processor kind: \"DCP\", \"FFP\", \"DSC\", \"FHA\" or \"FHP\"")     \
    F(Text, QString, Info, Optional, "description")                                                          \
    F(Text, QString, DisplayInfo, Optional, "description for the user")                                      \
    F(Bool, bool, IsCustom, Optional, "made by the user, not predefined")                                    \
    F(Bool, bool, HardwareProcessing, Optional, "processed in hardware")                                     \
    F(Int, qint32, CPUCredits, Optional, "CPU credits that a job takes")                                     \
    F(Enum, CPUAllocationMode, CPUAllocationMode, Optional, "0 default; other numbers as the server says")   \
    F(Double, double, RAM, Optional, "memory that a job takes, bytes")                                       \
    F(Double, double, MaxBandwidth, Optional, "widest band of a job, Hz")

/// One demand class of one processor kind.
class KOLTA_RESOURCEMODEL_EXPORT ResourceDemandClass final : public REPORTGENERATOR::IRGObject
{
public:
    /// Other numbers are carried unchanged.
    enum CPUAllocationMode : int { eDefaultAllocation = 0 };

    RG_RECORD(ResourceDemandClass)
};

#define RG_FIELDS_ResourceDemandClassOverview(F)                                                             \
    F(RecordList, ResourceDemandClass, ResourceDemandClass, Optional, "every demand class")

/// All demand classes of one server.
class KOLTA_RESOURCEMODEL_EXPORT ResourceDemandClassOverview final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(ResourceDemandClassOverview)
};

} // namespace RESOURCEMANAGEMENT

RG_RECORD_TYPE(RESOURCEMANAGEMENT::ResourceDemandClass);
