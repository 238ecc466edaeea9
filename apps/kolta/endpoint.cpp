#include "endpoint.h"

#include <QHostInfo>

namespace KoltaCli {

namespace {

bool resolve(QString host, QHostAddress& address, QString& error)
{
    if (host.startsWith(QLatin1Char('[')) && host.endsWith(QLatin1Char(']')))
        host = host.mid(1, host.size() - 2);
    if (address.setAddress(host))
        return true;
    const QHostInfo info = QHostInfo::fromName(host);
    if (info.error() != QHostInfo::NoError || info.addresses().isEmpty()) {
        error = QStringLiteral("cannot find the host \"%1\": %2").arg(host, info.errorString());
        return false;
    }
    address = info.addresses().constFirst();
    return true;
}

} // namespace

QString Endpoint::toString() const
{
    const QString host = address.protocol() == QAbstractSocket::IPv6Protocol
                             ? QString(QLatin1Char('[') + address.toString() + QLatin1Char(']'))
                             : address.toString();
    return host + QLatin1Char(':') + QString::number(port);
}

bool parseEndpoint(const QString& text, Endpoint& endpoint, QString& error)
{
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon <= 0) {
        error = QStringLiteral("\"%1\" is not HOST:PORT").arg(text);
        return false;
    }
    bool isNumber = false;
    const QString portText = text.mid(colon + 1);
    const uint port = portText.toUInt(&isNumber);
    if (!isNumber || port < 1 || port > 65535) {
        error = QStringLiteral("\"%1\" is not a port: expected a number from 1 to 65535").arg(portText);
        return false;
    }
    endpoint.port = static_cast<quint16>(port);
    return resolve(text.left(colon), endpoint.address, error);
}

} // namespace KoltaCli
