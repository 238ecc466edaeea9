#include "endpoint.h"

#include <startup/hostandport.h>

#include <QHostInfo>

#include <algorithm>

namespace KoltaApps {

QString Endpoint::toString() const
{
    return Startup::joinHostAndPort(address.toString(), port);
}

bool splitHostAndPort(const QString& text, QString& host, quint16& port, QString& error, quint16 lowestPort)
{
    QString portText;
    if (!Startup::splitHostAndPort(text, host, portText) || host.isEmpty()) {
        error = QStringLiteral("\"%1\" is not HOST:PORT like 127.0.0.1:4711 or [::1]:4711").arg(text);
        return false;
    }
    const int number = Startup::portFromText(portText);
    if (number < lowestPort) {
        error = QStringLiteral("\"%1\" is not a port: expected a number from %2 to %3")
                    .arg(portText, QString::number(lowestPort), QString::number(kHighestPort));
        return false;
    }
    port = static_cast<quint16>(number);
    return true;
}

bool findAddress(const QString& host, QHostAddress& address, QString& error)
{
    if (address.setAddress(host))
        return true;
    const QHostInfo info = QHostInfo::fromName(host);
    const QList<QHostAddress> found = info.addresses();
    if (found.isEmpty()) {
        error = QStringLiteral("cannot find the host \"%1\": %2").arg(host, info.errorString());
        return false;
    }
    // "localhost" has two addresses, and servers listen on the IPv4 one unless told otherwise.
    const auto ipv4 = std::find_if(found.begin(), found.end(), [](const QHostAddress& candidate) {
        return candidate.protocol() == QAbstractSocket::IPv4Protocol;
    });
    address = ipv4 != found.end() ? *ipv4 : found.constFirst();
    return true;
}

bool findEndpoint(const QString& text, Endpoint& endpoint, QString& error, quint16 lowestPort)
{
    QString host;
    return splitHostAndPort(text, host, endpoint.port, error, lowestPort) &&
           findAddress(host, endpoint.address, error);
}

} // namespace KoltaApps
