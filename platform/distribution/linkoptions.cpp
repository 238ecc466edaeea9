#include <distribution/linkoptions.h>

#include <distribution/replay.h>
#include <distribution/texts.h>
#include <distribution/topics.h>

#include <startup/cfgcenter.h>
#include <startup/onelinetext.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QSysInfo>

#include <unistd.h>

namespace distribution {

namespace {

/// One of this user's that others cannot read: anybody could leave one in a common folder.
bool isTrusted(const QFileInfo& file)
{
    constexpr auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    return file.isFile() && !file.isSymLink() && file.ownerId() == ::geteuid() &&
           !(file.permissions() & others);
}

/// False when there is none.
bool takeAccess(MqttOptions& mqtt, const QString& server)
{
    const QString path = AccessFilePath(mqtt.address);
    QFile file(path);
    if (!isTrusted(QFileInfo(path)) || !file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray own = QByteArrayLiteral("server-") + server.toUtf8();
    const QByteArray authority = QByteArrayLiteral("ca=");
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        const int colon = line.indexOf(':');
        if (line.startsWith(authority)) {
            mqtt.caFile = QFile::decodeName(line.mid(authority.size()));
        } else if (colon > 0 && (mqtt.address.user.isEmpty() || line.left(colon) == own)) {
            mqtt.address.user = line.left(colon);
            mqtt.address.password = line.mid(colon + 1);
        }
    }
    return !mqtt.address.user.isEmpty();
}

class Group
{
public:
    QString text(const char* key, const QString& usual = QString()) const
    {
        return Startup::CfgCenter::Instance().Text(m_name, QLatin1String(key), usual);
    }
    template<class Number>
    void read(const char* key, Number& number) const
    {
        const QVariant value = Startup::CfgCenter::Instance().Value(m_name, QLatin1String(key));
        bool ok = false;
        const qlonglong read = value.toLongLong(&ok);
        if (ok && read > 0)
            number = static_cast<Number>(read);
    }
    void read(const char* key, bool& flag) const
    {
        flag = Startup::CfgCenter::Instance().Value(m_name, QLatin1String(key), flag).toBool();
    }

private:
    const QString m_name = QStringLiteral("Distribution");
};

/// How this program is admitted to the broker, as the configuration says. A broker whose users are written
/// down in an access file is another one than the configuration is about.
void takeConfiguredAccess(const Group& group, MqttOptions& mqtt)
{
    if (mqtt.address.user.isEmpty())
        mqtt.address.user = group.text("User").toUtf8();
    QString prefix = group.text("Prefix");
    if (prefix.endsWith(QLatin1Char('/')))
        prefix.chop(1);
    if (!prefix.isEmpty() && mqtt.address.prefix == BrokerAddress().prefix)
        mqtt.address.prefix = prefix.toUtf8();
    mqtt.passwordFile = group.text("PasswordFile");
    mqtt.caFile = group.text("CaFile");
    mqtt.certificateFile = group.text("CertFile");
    mqtt.keyFile = group.text("KeyFile");
}

/// What in the topics no broker would take, in one line; empty when there is nothing.
QString problemOfTopics(const LinkOptions& options)
{
    const QString prefix = QString::fromUtf8(options.mqtt.address.prefix);
    if (!IsTopicPrefix(prefix))
        return Texts::tr("the prefix \"%1\" cannot be used: expected topic levels without \"+\", \"#\" "
                         "and \"$\"")
            .arg(Startup::oneLineText(prefix));
    if (!IsUsableUser(options.User()))
        return Texts::tr("the user \"%1\" cannot be used: names with +, #, / or characters that nobody "
                         "sees are no part of a topic")
            .arg(Startup::oneLineText(QString::fromUtf8(options.mqtt.address.user)));
    return QString();
}

/// The address under which the recording's messages were published.
std::optional<BrokerAddress> playRecording(const QString& url, LinkOptions& options, QString& error)
{
    const auto recording = ReplayAddress::FromUrl(url, error);
    options.replay = recording ? Replay::Open(*recording, error) : nullptr;
    if (!options.replay)
        return std::nullopt;
    options.refusal = Texts::tr("this is a recording, in which nothing can be changed");
    BrokerAddress address;
    address.prefix = options.replay->head().prefix.toUtf8();
    return address;
}

} // namespace

std::optional<LinkOptions> LinkOptions::FromConfiguration(const QString& url, QString& error,
                                                          const QString& server)
{
    const Group group;
    const QString source = url.isEmpty() ? group.text("Url") : url;
    LinkOptions options;
    const bool isRecording = ReplayAddress::IsMeant(source);
    const auto address =
        isRecording ? playRecording(source, options, error) : BrokerAddress::FromUrl(source, error);
    if (!address) {
        if (!isRecording && !source.startsWith(QLatin1String("mqtt")))
            error += Texts::tr(" or %1").arg(QLatin1String(ReplayAddress::kExpected));
        return std::nullopt;
    }
    options.mqtt.address = *address;
    const bool mayHaveFile = address->user.isEmpty() && !options.replay;
    if (!options.replay && !(mayHaveFile && takeAccess(options.mqtt, server)))
        takeConfiguredAccess(group, options.mqtt);
    error = problemOfTopics(options);
    if (!error.isEmpty())
        return std::nullopt;
    group.read("KeepAliveS", options.mqtt.keepAliveS);
    group.read("MaxInboxBytes", options.mqtt.maximumInboxBytes);
    options.branches =
        group.text("Branches", QStringLiteral("*")).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (QString& branch : options.branches)
        branch = branch.trimmed();
    group.read("Collections", options.collections);
    group.read("BeatMs", options.beatMs);
    group.read("GraceMs", options.graceMs);
    group.read("DeathGraceMs", options.deathGraceMs);
    group.read("WishTimeoutMs", options.wishTimeoutMs);
    group.read("LogBytes", options.logBytes);
    group.read("MaxStateBytes", options.maxStateBytes);
    group.read("TakeOver", options.takeOver);
    options.host = QSysInfo::machineHostName();
    options.program = QCoreApplication::applicationName();
    return options;
}

std::string LinkOptions::User() const
{
    return mqtt.address.user.isEmpty() ? "anonymous" : mqtt.address.user.toStdString();
}

QString AccessFilePath(const BrokerAddress& address)
{
    return QStringLiteral("%1/kolta/brokers/%2-%3.access")
        .arg(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation), address.host)
        .arg(address.port);
}

} // namespace distribution
