#include <distribution/brokeraddress.h>

#include <distribution/texts.h>
#include <distribution/topics.h>

#include <QUrl>

namespace distribution {

namespace {

constexpr quint16 kPlainPort = 1883;
constexpr quint16 kTlsPort = 8883;

/// The URL as it may be shown: without user and password, also when it is malformed.
QString withoutCredentials(const QString& url)
{
    const int start = url.indexOf(QLatin1String("//"));
    const int end = url.lastIndexOf(QLatin1Char('@'));
    if (end < 0)
        return url;
    return start >= 0 && start < end ? url.left(start + 2) + url.mid(end + 1) : url.mid(end + 1);
}

} // namespace

std::optional<BrokerAddress> BrokerAddress::FromUrl(const QString& url, QString& error)
{
    const auto wrong = [&](const QString& expected) {
        error = Texts::tr("found \"%1\", expected %2").arg(withoutCredentials(url), expected);
        return std::nullopt;
    };
    const QUrl parsed(url, QUrl::StrictMode);
    const bool isTls = parsed.scheme() == QLatin1String("mqtts");
    if (!parsed.isValid() || (!isTls && parsed.scheme() != QLatin1String("mqtt")) ||
        parsed.host().isEmpty() || parsed.hasQuery() || parsed.hasFragment() || parsed.port() == 0)
        return wrong(QStringLiteral("mqtt[s]://[USER@]HOST[:PORT][/PREFIX]"));
    BrokerAddress address;
    address.tls = isTls;
    address.host = parsed.host();
    address.port = static_cast<quint16>(parsed.port(isTls ? kTlsPort : kPlainPort));
    address.user = parsed.userName(QUrl::FullyDecoded).toUtf8();
    address.password = parsed.password(QUrl::FullyDecoded).toUtf8();
    QString prefix = parsed.path(QUrl::FullyDecoded).mid(1);
    if (prefix.endsWith(QLatin1Char('/')))
        prefix.chop(1);
    if (!prefix.isEmpty() && !IsTopicPrefix(prefix))
        return wrong(Texts::tr("a prefix of topic levels without \"+\", \"#\" and \"$\""));
    if (!prefix.isEmpty())
        address.prefix = prefix.toUtf8();
    return address;
}

std::optional<BrokerAddress> BrokerAddress::FromCommandLine(const QString& url, QString& error)
{
    auto address = FromUrl(url, error);
    if (!address || address->password.isEmpty())
        return address;
    error =
        Texts::tr("a password does not belong on a command line; put it into a file, and name that in the "
                  "configuration as PasswordFile of the group Distribution");
    return std::nullopt;
}

QString BrokerAddress::ToText() const
{
    return withoutCredentials(ToUrl());
}

QString BrokerAddress::ToUrl() const
{
    QUrl url;
    url.setScheme(tls ? QStringLiteral("mqtts") : QStringLiteral("mqtt"));
    url.setUserName(QString::fromUtf8(user), QUrl::DecodedMode);
    url.setHost(host);
    url.setPort(port);
    if (prefix != BrokerAddress().prefix)
        url.setPath(QLatin1Char('/') + QString::fromUtf8(prefix));
    return url.toString();
}

} // namespace distribution
