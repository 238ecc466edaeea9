#include "localinstallation.h"

#include <kolta/cli/eventwait.h>

#include <simulation/installation.h>
#include <simulation/resourcegenerator.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTimer>

#include <sys/prctl.h>

#include <algorithm>
#include <csignal>

namespace KoltaCli {

using distribution::LocalBroker;

namespace {

constexpr int kEndLimitMs = 5000;
constexpr int kRestartMs = 500;

/// Ends when this process does, however that comes about.
class Child : public QProcess
{
protected:
    void setupChildProcess() override { ::prctl(PR_SET_PDEATHSIG, SIGTERM); }
};

QByteArray freshPassword()
{
    QByteArray password;
    for (int i = 0; i < 4; ++i)
        password += QByteArray::number(QRandomGenerator::system()->generate64(), 36);
    return password;
}

/// Readable for this user alone from the beginning.
bool writeSecret(const QString& path, const QByteArray& content, QString& error)
{
    QFile::remove(path);
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::NewOnly) &&
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) && file.write(content) == content.size())
        return true;
    error = QStringLiteral("%1: %2").arg(path, file.errorString());
    return false;
}

bool runOpenssl(const QStringList& arguments, QString& error)
{
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"), arguments);
    if (openssl.waitForFinished() && openssl.exitStatus() == QProcess::NormalExit && openssl.exitCode() == 0)
        return true;
    error = QStringLiteral("openssl makes no certificate (Debian package openssl)");
    return false;
}

} // namespace

LocalInstallation::LocalInstallation(const Settings& settings) : m_settings(settings) {}

LocalInstallation::~LocalInstallation()
{
    m_isEnding = true;
    for (Server& server : m_servers)
        server.process->terminate();
    for (Server& server : m_servers) {
        if (!server.process->waitForFinished(kEndLimitMs))
            server.process->kill();
        server.process->waitForFinished(kEndLimitMs);
    }
    m_broker.reset();
    if (!m_accessFile.isEmpty())
        QFile::remove(m_accessFile);
}

bool LocalInstallation::start(int milliseconds, QString& error)
{
    if (!makeBroker(error))
        return false;
    for (int number = 1; number <= m_settings.servers; ++number) {
        if (!makeServer(QStringLiteral("S%1").arg(number), error))
            return false;
    }
    for (Server& server : m_servers)
        startServer(server);
    const auto isPublished = [](const Server& server) { return server.isPublished; };
    if (waitUntil([&] { return std::all_of(m_servers.begin(), m_servers.end(), isPublished); }, milliseconds))
        return true;
    const auto missing = std::find_if_not(m_servers.begin(), m_servers.end(), isPublished);
    error = QStringLiteral("%1 did not come up: %2")
                .arg(missing->name, QString::fromUtf8(missing->process->readAllStandardError()).simplified());
    return false;
}

bool LocalInstallation::makeBroker(QString& error)
{
    QVector<QByteArray> names;
    m_brokerSettings.users.append({"user", freshPassword()});
    for (int number = 1; number <= m_settings.servers; ++number) {
        names.append('S' + QByteArray::number(number));
        m_brokerSettings.users.append({"server-" + names.last(), freshPassword()});
    }
    m_brokerSettings.accessList = LocalBroker::AccessList("kolta", names);
    if (m_settings.tls && !makeCertificates(m_brokerSettings, error))
        return false;
    m_broker = std::make_unique<LocalBroker>(m_brokerSettings);
    connect(m_broker.get(), &LocalBroker::si_Ended, this, &LocalInstallation::onBrokerEnd);
    if (!m_broker->start(error))
        return false;
    m_accessFile =
        distribution::AccessFilePath(*distribution::BrokerAddress::FromUrl(m_broker->url(), error));
    return writeAccess(error);
}

bool LocalInstallation::makeCertificates(LocalBroker::Settings& settings, QString& error) const
{
    const auto words = [](const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); };
    const QString authority = path(QStringLiteral("authority.crt")),
                  authorityKey = path(QStringLiteral("authority.key"));
    const QString request = path(QStringLiteral("broker.csr"));
    settings.certificateFile = path(QStringLiteral("broker.crt"));
    settings.keyFile = path(QStringLiteral("broker.key"));
    return runOpenssl(
               words("req -x509 -newkey rsa:2048 -nodes -days 3650 -subj /CN=kolta") +
                   QStringList{QStringLiteral("-keyout"), authorityKey, QStringLiteral("-out"), authority},
               error) &&
           runOpenssl(
               words("req -newkey rsa:2048 -nodes -subj /CN=broker -addext "
                     "subjectAltName=DNS:localhost,IP:127.0.0.1") +
                   QStringList{QStringLiteral("-keyout"), settings.keyFile, QStringLiteral("-out"), request},
               error) &&
           runOpenssl(words("x509 -req -CAcreateserial -copy_extensions copyall -days 3650 -in") +
                          QStringList{request, QStringLiteral("-CA"), authority, QStringLiteral("-CAkey"),
                                      authorityKey, QStringLiteral("-out"), settings.certificateFile},
                      error);
}

bool LocalInstallation::writeAccess(QString& error) const
{
    QByteArray lines;
    if (m_settings.tls)
        lines += "ca=" + QFile::encodeName(path(QStringLiteral("authority.crt"))) + '\n';
    for (const LocalBroker::User& user : m_brokerSettings.users)
        lines += user.name + ':' + user.password + '\n';
    QDir().mkpath(QFileInfo(m_accessFile).path());
    return writeSecret(m_accessFile, lines, error);
}

/// The sample's files under another name, and with other tuners where these are wanted.
bool LocalInstallation::makeServer(const QString& name, QString& error)
{
    const QDir sample(KoltaSimulation::Installation::sampleFolder());
    Server server;
    server.name = name;
    server.folder = path(name);
    QDir().mkpath(server.folder);
    for (const QString& file : sample.entryList(QDir::Files))
        QFile::copy(sample.filePath(file), server.folder + QLatin1Char('/') + file);
    const auto rewrite = [&](const char* file, const std::function<QByteArray(QByteArray)>& change) {
        const QString target = server.folder + QLatin1Char('/') + QLatin1String(file);
        QFile source(sample.filePath(QLatin1String(file)));
        QFile::remove(target);
        QFile written(target);
        if (source.open(QIODevice::ReadOnly) && written.open(QIODevice::WriteOnly) &&
            written.write(change(source.readAll())) >= 0)
            return true;
        error = QStringLiteral("%1: %2").arg(target, written.errorString());
        return false;
    };
    const bool renamed = rewrite("installation.ini", [&](QByteArray text) {
        return text.replace("Name=S1\n", "Name=" + name.toUtf8() + '\n')
            .replace("/AdminTree/S1\n", "/AdminTree/" + name.toUtf8() + '\n');
    });
    const bool equipped =
        m_settings.tuners == 0 || rewrite("resources.xml", [&](const QByteArray&) {
            return KoltaSimulation::makeResources(m_settings.tuners, quint32(m_servers.size() + 1))
                .GetXmlString()
                .toUtf8();
        });
    m_servers.push_back(std::move(server));
    return renamed && equipped;
}

void LocalInstallation::startServer(Server& server)
{
    server.isPublished = false;
    server.process = std::make_unique<Child>();
    QProcess* const process = server.process.get();
    connect(process, &QProcess::readyReadStandardOutput, this, [this, &server] { readOutput(server); });
    connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this, &server] { onServerEnd(server); });
    connect(process, &QProcess::readyReadStandardError, this, [this, &server] {
        if (server.isPublished && !m_isEnding)
            Q_EMIT si_Told(server.name + QStringLiteral(": ") +
                           QString::fromUtf8(server.process->readAllStandardError()).trimmed());
    });
    process->start(
        QCoreApplication::applicationDirPath() + QStringLiteral("/koltasim"),
        {QStringLiteral("--installation"), server.folder, QStringLiteral("--publish"), m_broker->url()});
}

void LocalInstallation::readOutput(Server& server)
{
    while (server.process->canReadLine()) {
        const QString line = QString::fromUtf8(server.process->readLine()).trimmed();
        const QString listens = server.name + QStringLiteral(" listens on ");
        if (line.startsWith(listens))
            server.endpoint = line.mid(listens.size());
        server.isPublished = server.isPublished || line.startsWith(QLatin1String("published as "));
    }
}

void LocalInstallation::onServerEnd(Server& server)
{
    if (m_isEnding)
        return;
    const QString how = server.process->exitStatus() == QProcess::CrashExit
                            ? QStringLiteral("was killed")
                            : QStringLiteral("has ended with %1").arg(server.process->exitCode());
    Q_EMIT si_Told(QStringLiteral("%1 %2").arg(server.name, how));
    if (!m_settings.restart)
        return;
    QTimer::singleShot(kRestartMs, this, [this, &server] {
        startServer(server);
        server.process->waitForStarted();
        Q_EMIT si_Told(
            QStringLiteral("%1 was started again: %2").arg(server.name).arg(server.process->processId()));
    });
}

void LocalInstallation::onBrokerEnd()
{
    if (m_isEnding)
        return;
    Q_EMIT si_Told(QStringLiteral("the broker has ended"));
    if (!m_settings.restart)
        return;
    QTimer::singleShot(kRestartMs, this, [this] {
        QString error;
        Q_EMIT si_Told(m_broker->start(error)
                           ? QStringLiteral("the broker was started again: %1").arg(m_broker->pid())
                           : error);
    });
}

} // namespace KoltaCli
