#pragma once

#include <resourcemodel/export.h>
#include <resourcemodel/rgfields.h>

/// \file
/// Who operates a server and its processors, and what clients write to change that.

namespace RESOURCEMANAGEMENT {

#define RG_FIELDS_Owner(F)                                                                                   \
    F(Text, QString, OwnedGUID, Optional, "GUID of the owned processor; unset for the server itself")        \
    F(Text, QString, ClientID, Required, "GUID of the client that owns it")                                  \
    F(Text, QString, Name, Optional, "name shown to the user")                                               \
    F(Text, QString, Host, Optional, "host that the client runs on")

/// One client that owns one processor, or the server.
class KOLTA_RESOURCEMODEL_EXPORT Owner final : public REPORTGENERATOR::IRGObject
{
    RG_RECORD(Owner)
};

#define RG_FIELDS_OwnerOverview(F) F(RecordList, Owner, Owner, Optional, "every owner")

/// All owners at one server. What is not named has no owner.
class KOLTA_RESOURCEMODEL_EXPORT OwnerOverview final : public REPORTGENERATOR::IRGObject
{
    RG_OBJECT(OwnerOverview)
};

#define RG_FIELDS_OwnerRequest(F)                                                                            \
    F(Enum, Action, Action, Required, "0 release, 1 take, 2 take by force, 3 release by force")              \
    F(Record, Owner, Owner, Required, "what is to be owned, and by whom")

/// Asks the server for ownership, or gives it back.
class KOLTA_RESOURCEMODEL_EXPORT OwnerRequest final : public REPORTGENERATOR::IRGObject
{
public:
    enum Action : int {
        eRelease = 0,
        eTake = 1,
        eForceTake = 2,   ///< whoever owns it
        eForceRelease = 3 ///< the same
    };

    RG_OBJECT(OwnerRequest)
};

} // namespace RESOURCEMANAGEMENT

RG_RECORD_TYPE(RESOURCEMANAGEMENT::Owner);
