#include <koltacommon/shorttimeprofileitemmap.h>

namespace Kolta {

void ShortTimeProfileProtocol::AppendRequest(std::string& out, const Request& request)
{
    values::AppendText(out, request.profileName);
    values::AppendInteger(out, static_cast<qint8>(request.targetType));
}

bool ShortTimeProfileProtocol::ReadRequest(values::ByteReader& in, Request& request)
{
    qint8 targetType = 0;
    if (!in.ReadText(request.profileName) || !in.ReadInteger(targetType))
        return false;
    request.targetType = static_cast<eShortTimeProfileType>(targetType);
    return true;
}

QUuid ShortTimeProfileItemMap::RequestTypeChange(const QString& profileName, eShortTimeProfileType targetType,
                                                 IObserver* observer)
{
    return RequestTypeChange(profileName, targetType, QUuid(), observer);
}

QUuid ShortTimeProfileItemMap::RequestTypeChange(const QString& profileName, eShortTimeProfileType targetType,
                                                 const QUuid& id, IObserver* observer)
{
    return OpenRequest({profileName, targetType}, id, observer);
}

bool ShortTimeProfileItemMap::ReplyTypeChange(const QUuid& id, const QString& error, IObserver* observer)
{
    return Reply(id, error, observer);
}

void ShortTimeProfileItemMap::EraseAt(QString key, IObserver* observer)
{
    if (!Contains(key))
        return;
    AddChange(kEraseAheadKind, key);
    ItemMapWithRequests::EraseAt(std::move(key), observer);
}

QString ShortTimeProfileItemMap::GetStringValue() const
{
    QString text = QStringLiteral("%1 Profiles:[").arg(Size());
    for (const auto& entry : data())
        text += entry.second.name;
    return text;
}

} // namespace Kolta
