#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/rgfields.h>

/// \file
/// Processing that runs in hardware attached to a processor.

namespace RESOURCEMANAGEMENT {

#define RG_FIELDS_HWProcessing(F)                                                                            \
    F(Text, QString, GUID, Optional, "GUID of the MCP that owns the entry")                                  \
    F(Text, QString, Type, Optional, "kind of hardware processing")                                          \
    F(Text, QString, Status, Optional, "state as the owner reports it")

/// One hardware-processing entry.
class KOLTA_RESOURCEMODEL_EXPORT HWProcessing final : public REPORTGENERATOR::IRGObject
{
    RG_RECORD(HWProcessing)
};

#define RG_FIELDS_HWProcessingOverview(F) F(RecordList, HWProcessing, HWProcessing, Optional, "every entry")

/// All hardware processing of one server.
class KOLTA_RESOURCEMODEL_EXPORT HWProcessingOverview final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(HWProcessingOverview)
};

} // namespace RESOURCEMANAGEMENT

RG_RECORD_TYPE(RESOURCEMANAGEMENT::HWProcessing);
