#include "messagejson.h"

#include <koltacommon/koltaconnection.h>

#include <QJsonArray>

namespace KoltaCli {

namespace {

QJsonObject toJson(const XmlCommon::CMsgFragment& fragment)
{
    QJsonObject object{{QStringLiteral("component"), fragment.getComponentName()}};
    if (fragment.hasRequestTree())
        object[QStringLiteral("request")] =
            QString::fromUtf8(fragment.getRequestTree().getDataTree().toXml());
    if (fragment.hasDataTree())
        object[QStringLiteral("data")] = QString::fromUtf8(fragment.getDataTree().toXml());
    if (fragment.hasFaultTree()) {
        quint32 id = 0;
        if (fragment.getFaultTree().getFaultID(id))
            object[QStringLiteral("faultId")] = static_cast<qint64>(id);
        object[QStringLiteral("fault")] = Kolta::KoltaConnection::getFaultText(fragment);
    }
    return object;
}

} // namespace

QJsonObject toJson(const XmlCommon::ptrCXmlMessage& message)
{
    QJsonArray fragments;
    for (int i = 0; i < message->getNumberOfFragments(); ++i)
        fragments.append(toJson(message->getFragment(i)));
    return {{QStringLiteral("service"), message->servicetypeToString()},
            {QStringLiteral("id"), static_cast<qint64>(message->getMessageID())},
            {QStringLiteral("fragments"), fragments}};
}

} // namespace KoltaCli
