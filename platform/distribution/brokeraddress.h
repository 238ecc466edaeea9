#pragma once

#include <distribution/export.h>

#include <QByteArray>
#include <QString>

#include <optional>

namespace distribution {

/// Where a broker is and as whom one comes to it: `mqtt[s]://[user[:password]@]host[:port][/prefix]`.
struct KOLTA_DISTRIBUTION_EXPORT BrokerAddress
{
    bool tls = false; ///< mqtts
    QString host;     ///< name or address; IPv6 without brackets
    quint16 port = 0; ///< 1883, or 8883 with TLS, where the URL has none
    QByteArray user;  ///< UTF-8; empty: none
    QByteArray password;
    QByteArray prefix = QByteArrayLiteral("kolta"); ///< first levels of all topics

    /// Nothing, and what is wrong in one line that never names the password, for a text that is no such URL.
    static std::optional<BrokerAddress> FromUrl(const QString& url, QString& error);
    /// The same for a word of a command line, which everybody on the machine can read: a password is refused.
    static std::optional<BrokerAddress> FromCommandLine(const QString& url, QString& error);
    /// The URL without user and password, for people. What carriers tell of the broker begins with it.
    QString ToText() const;
    /// The URL without password, by which other programs come to the broker as the same user.
    QString ToUrl() const;
};

} // namespace distribution
