#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/rgfields.h>

/// \file
/// What clients write into a server's request values.

namespace RESOURCEMANAGEMENT {

#define RG_FIELDS_TunerManagementRequest(F)                                                                  \
    F(Text, QString, RequestID, Optional, "GUID of the request")                                             \
    F(Int, qint32, Action, Optional, "what to do with the tuners")                                           \
    F(TextList, QString, TunerGUID, Optional, "tuners named by GUID")                                        \
    F(RecordList, Tuner, Tuner, Optional, "tuners with their new settings")

/// Asks the server to change tuners.
class KOLTA_RESOURCEMODEL_EXPORT TunerManagementRequest final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(TunerManagementRequest)
};

#define RG_FIELDS_RequestResource(F)                                                                         \
    F(Int, qint32, RequestType, Required, "0 production, 3 move of an FFP")                                  \
    F(Record, SCP, SCP, Optional, "the SCP to start")                                                        \
    F(Record, MCP, MCP, Optional, "the MCP to start, or the MCP that takes an FFP")                          \
    F(Text, QString, SubjectGUID, Optional, "GUID of the FFP to move")                                       \
    F(Text, QString, DestinationGUID, Optional, "GUID of the MCP to move it to")                             \
    F(Text, QString, RequestName, Optional, "name shown to the user")                                        \
    F(Text, QString, RequestID, Optional, "GUID of the request")

/// Asks the server to start a production or to move an FFP.
class KOLTA_RESOURCEMODEL_EXPORT RequestResource final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(RequestResource)
};

} // namespace RESOURCEMANAGEMENT
