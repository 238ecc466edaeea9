#pragma once

#include <koltacommon/export.h>
#include <koltacommon/itemmapwithrequests.h>
#include <koltacommon/shorttimeffpassignment.h>

namespace Kolta {

class Command_RequestFfpAssignmentChange;
class Command_ReplyFfpAssignment;

/// How clients ask for another assignment of an FFP.
struct KOLTA_COMMON_EXPORT ShortTimeFFPAssignmentProtocol
{
    using Map = values::ValueItemMap<ShortTimeFFPAssignment, ShortTimeFFPAssignment_ItemFormat,
                                     ShortTimeFFPAssignment_TextAdapter>;
    using Request = ShortTimeFFPAssignment;
    using RequestCommand = Command_RequestFfpAssignmentChange;
    using ReplyCommand = Command_ReplyFfpAssignment;
    static constexpr int requestId = 50;
    static constexpr int replyId = 51;
    static constexpr char requestKind = '5';
    static constexpr char replyKind = '6';
    static void AppendRequest(std::string& out, const Request& request);
    static bool ReadRequest(values::ByteReader& in, Request& request);
};

/// The assignments by GUID of the FFP, and the open requests to change one. The map never changes an
/// assignment itself: the owner of the assignments does, and replies.
class KOLTA_COMMON_EXPORT ShortTimeFFPAssignmentItemMap
    : public ItemMapWithRequests<ShortTimeFFPAssignmentProtocol>
{
public:
    static constexpr int type = 108;

    using ItemMapWithRequests::ItemMapWithRequests;

    /// Asks for an assignment; the result names the request.
    QUuid RequestAssignmentChange(const ShortTimeFFPAssignment& assignment, IObserver* observer = nullptr);
    /// The same under a given UUID, a fresh one when it is null.
    QUuid RequestAssignmentChange(const ShortTimeFFPAssignment& assignment, const QUuid& id,
                                  IObserver* observer = nullptr);
    /// Answers a request; `error` is empty when the change was made. The request stays readable until the
    /// observers have been told. False, and nothing happens, when it is not open.
    bool ReplyAssignmentChange(const QUuid& id, const QString& error, IObserver* observer = nullptr);

    int GetType() const override { return type; }
    QString GetTypeName() const override { return QStringLiteral("ShortTimeFFPAssignmentItemMap"); }

protected:
    /// A fresh UUID in braces.
    QString CreateNewUniqueKey() override { return QUuid::createUuid().toString(); }
};

/// Asks for another assignment.
class KOLTA_COMMON_EXPORT Command_RequestFfpAssignmentChange
    : public RequestCommand<ShortTimeFFPAssignmentProtocol>
{
public:
    using RequestCommand::RequestCommand;
    const ShortTimeFFPAssignment& GetItem() const noexcept { return GetRequest(); }
};

/// Answers such a request.
class Command_ReplyFfpAssignment : public ReplyCommand<ShortTimeFFPAssignmentProtocol>
{
public:
    using ReplyCommand::ReplyCommand;
};

} // namespace Kolta
