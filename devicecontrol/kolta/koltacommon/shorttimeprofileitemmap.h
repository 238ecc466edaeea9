#pragma once

#include <koltacommon/export.h>
#include <koltacommon/itemmapwithrequests.h>
#include <koltacommon/shorttimeprofile.h>

namespace Kolta {

class Command_RequestProfileTypeChange;
class Command_ReplyProfileTypeChange;

/// How clients ask for another type of a profile.
struct KOLTA_COMMON_EXPORT ShortTimeProfileProtocol
{
    using Map =
        values::ValueItemMap<ShortTimeProfile, ShortTimeProfile_ItemFormat, ShortTimeProfile_TextAdapter>;
    struct Request
    {
        QString profileName;
        eShortTimeProfileType targetType = eShortTimeProfileUnspecified;
    };
    using RequestCommand = Command_RequestProfileTypeChange;
    using ReplyCommand = Command_ReplyProfileTypeChange;
    static constexpr int requestId = 52;
    static constexpr int replyId = 53;
    static constexpr char requestKind = '2';
    static constexpr char replyKind = '3';
    static void AppendRequest(std::string& out, const Request& request);
    static bool ReadRequest(values::ByteReader& in, Request& request);
};

/// The short-time profiles by name, and the open requests to change the type of one. The map never changes a
/// type itself: the owner of the profiles does, and replies.
class KOLTA_COMMON_EXPORT ShortTimeProfileItemMap : public ItemMapWithRequests<ShortTimeProfileProtocol>
{
public:
    static constexpr int type = 109;
    /// Kind of the entry that the change log gets ahead of the erasing of a profile, while it is still
    /// stored.
    static constexpr char kEraseAheadKind = '4';
    /// What is asked for.
    using TypeChange = Request;

    using ItemMapWithRequests::ItemMapWithRequests;

    /// Asks for a type; the result names the request.
    QUuid RequestTypeChange(const QString& profileName, eShortTimeProfileType targetType,
                            IObserver* observer = nullptr);
    /// The same under a given UUID, a fresh one when it is null.
    QUuid RequestTypeChange(const QString& profileName, eShortTimeProfileType targetType, const QUuid& id,
                            IObserver* observer = nullptr);
    /// Answers a request; `error` is empty when the change was made. The request stays readable until the
    /// observers have been told. False, and nothing happens, when it is not open.
    bool ReplyTypeChange(const QUuid& id, const QString& error, IObserver* observer = nullptr);

    void EraseAt(QString key, IObserver* observer = nullptr) override;
    /// "2 Profiles:[" and the names; that nothing separates or ends them is meant.
    QString GetStringValue() const override;
    int GetType() const override { return type; }
    QString GetTypeName() const override { return QStringLiteral("ShortTimeProfileItemMap"); }
};

/// Asks for another type of a profile.
class KOLTA_COMMON_EXPORT Command_RequestProfileTypeChange : public RequestCommand<ShortTimeProfileProtocol>
{
public:
    using RequestCommand::RequestCommand;
    const QString& GetProfileName() const noexcept { return GetRequest().profileName; }
    eShortTimeProfileType GetTargetType() const noexcept { return GetRequest().targetType; }
};

/// Answers such a request.
class Command_ReplyProfileTypeChange : public ReplyCommand<ShortTimeProfileProtocol>
{
public:
    using ReplyCommand::ReplyCommand;
};

} // namespace Kolta
