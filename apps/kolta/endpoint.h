#pragma once

#include <QHostAddress>
#include <QString>

namespace KoltaCli {

/// Where a server listens.
struct Endpoint
{
    QHostAddress address;
    quint16 port = 0;

    /// "address:port", with brackets around an IPv6 address.
    QString toString() const;
};

/// Reads HOST:PORT. HOST is an IPv4 address, an IPv6 address with or without brackets, or a name, which is looked up
/// (this may block). PORT is a decimal number from 1 to 65535, behind the last colon.
/// On failure the result is false and `error` says what was expected.
bool parseEndpoint(const QString& text, Endpoint& endpoint, QString& error);

} // namespace KoltaCli
