#pragma once

#include <QHostAddress>
#include <QString>

namespace KoltaApps {

/// Where a server listens, or is to listen.
struct Endpoint
{
    QHostAddress address;
    quint16 port = 0;

    /// "address:port", with brackets around an IPv6 address.
    QString toString() const;
};

/// The port that lets the system pick one, for those who listen.
constexpr quint16 kAnyPort = 0;
constexpr quint16 kHighestPort = 65535;

/// Splits HOST:PORT at its last colon. HOST is an address or a name, an IPv6 address with or without
/// brackets, which are taken off; PORT is a decimal number from `lowestPort` to kHighestPort. On failure the
/// result is false and `error` says what was expected.
bool splitHostAndPort(const QString& text, QString& host, quint16& port, QString& error,
                      quint16 lowestPort = 1);

/// The address of a host: `host` itself when it is one, else the first IPv4 address of that name, else its
/// first address at all. Looking up a name blocks. On failure the result is false and `error` names the
/// reason.
bool findAddress(const QString& host, QHostAddress& address, QString& error);

/// Both at once: what HOST:PORT means. On failure the result is false and `error` says why.
bool findEndpoint(const QString& text, Endpoint& endpoint, QString& error, quint16 lowestPort = 1);

} // namespace KoltaApps
