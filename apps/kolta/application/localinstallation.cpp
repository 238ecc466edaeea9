#include "localinstallation.h"

#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <simulation/installation.h>
#include <startup/childprocess.h>
#include <startup/errorhandler.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QRandomGenerator>
#include <QTimer>

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

namespace KoltaCli {

using distribution::LocalBroker;

namespace {

constexpr int kEndLimitMs = 5000;
constexpr int kRestartMs = 500;
/// A server that does not stay up for long is started after pauses that grow from the one above to this.
constexpr int kLongestRestartMs = 30000;
constexpr qint64 kStaysUpMs = 60000;

/// The servers' own lines are told as they come: of what goes well there is too much for that, such as a line
/// for every order.
QProcessEnvironment environmentOfServers()
{
    const QString mask = QStringLiteral("KOLTA_TRACE_MASK");
    constexpr quint32 problems = Startup::eTraceFatal | Startup::eTraceError | Startup::eTraceWarning;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!environment.contains(mask))
        environment.insert(mask, QString::number(Startup::ErrorHandler::Instance().mask() & problems));
    return environment;
}

QByteArray freshPassword()
{
    QByteArray password;
    for (int i = 0; i < 4; ++i)
        password += QByteArray::number(QRandomGenerator::system()->generate64(), 36);
    return password;
}

/// Readable for this user alone from the beginning, like the folder, which is made when it is not there.
bool writeSecret(const QString& path, const QByteArray& content, QString& error)
{
    const QFileInfo info(path);
    const QByteArray folder = QFile::encodeName(info.path());
    QDir().mkpath(QFileInfo(info.path()).path());
    QFile::remove(path);
    const auto fail = [&error, &path] {
        error = QStringLiteral("%1: %2").arg(path, qt_error_string(errno));
        return false;
    };
    if ((::mkdir(folder.constData(), S_IRWXU) != 0 && errno != EEXIST) ||
        ::chmod(folder.constData(), S_IRWXU) != 0)
        return fail();
    const int made = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                            S_IRUSR | S_IWUSR);
    if (made < 0)
        return fail();
    QFile file;
    if (file.open(made, QIODevice::WriteOnly, QFile::AutoCloseHandle) &&
        file.write(content) == content.size() && file.flush())
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
    for (Server& server : m_servers) {
        if (server.process)
            server.process->terminate();
    }
    for (Server& server : m_servers) {
        if (!server.process)
            continue;
        if (!server.process->waitForFinished(kEndLimitMs))
            server.process->kill();
        server.process->waitForFinished(kEndLimitMs);
    }
    m_broker.reset();
    if (m_accessFile.isEmpty())
        return;
    QFile::remove(m_accessFile);
    // Its folders were made for it, and go unless somebody else keeps something there.
    const QDir folder = QFileInfo(m_accessFile).dir();
    if (folder.rmdir(folder.path()))
        folder.rmdir(QFileInfo(folder.path()).path());
}

bool LocalInstallation::start(int milliseconds, const std::function<bool()>& isUnwanted, QString& error)
{
    if (!m_folder.isValid()) {
        error = QStringLiteral("no folder for certificates: %1").arg(m_folder.errorString());
        return false;
    }
    if (!makeBroker(error))
        return false;
    m_servers.resize(static_cast<std::size_t>(m_settings.servers));
    int number = 0;
    for (Server& server : m_servers) {
        server.number = ++number;
        server.name = KoltaSimulation::Installation::usualName(number);
    }
    m_isStarting = true;
    for (Server& server : m_servers)
        startServer(server);
    const auto areUp = [this] {
        return std::all_of(m_servers.begin(), m_servers.end(),
                           [](const Server& server) { return server.isPublished; });
    };
    const auto hasFailed = [this] {
        return std::any_of(m_servers.begin(), m_servers.end(),
                           [](const Server& server) { return !server.problem.isEmpty(); });
    };
    waitUntil([&] { return isUnwanted() || hasFailed() || areUp(); }, milliseconds);
    m_isStarting = false;
    if (!isUnwanted() && !hasFailed() && areUp())
        return true;
    error = isUnwanted() ? QStringLiteral("interrupted") : whyNotUp(milliseconds);
    return false;
}

QString LocalInstallation::whyNotUp(int milliseconds) const
{
    for (const Server& server : m_servers) {
        if (!server.problem.isEmpty())
            return server.problem;
    }
    const auto missing = std::find_if_not(m_servers.begin(), m_servers.end(),
                                          [](const Server& server) { return server.isPublished; });
    QString text =
        QStringLiteral("%1 did not come up within %2").arg(missing->name, secondsText(milliseconds));
    if (!missing->said.isEmpty())
        text += QStringLiteral(": ") + missing->said;
    return text;
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

void LocalInstallation::startServer(Server& server)
{
    server.isPublished = false;
    server.said.clear();
    server.up.start();
    server.process = std::make_unique<Startup::ChildProcess>();
    QProcess* const process = server.process.get();
    connect(process, &QProcess::readyReadStandardOutput, this, [this, &server] { readOutput(server); });
    connect(process, &QProcess::readyReadStandardError, this, [this, &server] { readErrors(server); });
    connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [this, &server] { onServerEnd(server); });
    connect(process, &QProcess::errorOccurred, this, [this, &server](QProcess::ProcessError what) {
        if (what == QProcess::FailedToStart)
            onServerEnd(server, QStringLiteral("cannot be started: %1: %2")
                                    .arg(server.process->program(), server.process->errorString()));
    });
    process->setProcessEnvironment(environmentOfServers());
    process->start(QCoreApplication::applicationDirPath() + QStringLiteral("/koltasim"),
                   {QStringLiteral("--number"), QString::number(server.number), QStringLiteral("--tuners"),
                    QString::number(m_settings.tuners), QStringLiteral("--publish"), m_broker->url()});
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

void LocalInstallation::readErrors(Server& server)
{
    server.process->setReadChannel(QProcess::StandardError);
    while (server.process->canReadLine()) {
        server.said = QString::fromUtf8(server.process->readLine()).trimmed();
        if (server.isPublished && !m_isEnding)
            Q_EMIT si_Told(QStringLiteral("%1: %2").arg(server.name, server.said));
    }
    server.process->setReadChannel(QProcess::StandardOutput);
}

void LocalInstallation::onServerEnd(Server& server)
{
    QString how = server.process->exitStatus() == QProcess::CrashExit
                      ? QStringLiteral("was killed")
                      : QStringLiteral("has ended with %1").arg(server.process->exitCode());
    // What a published one has said was told at once.
    if (!server.isPublished && !server.said.isEmpty())
        how += QStringLiteral(": ") + server.said;
    onServerEnd(server, how);
}

void LocalInstallation::onServerEnd(Server& server, const QString& how)
{
    if (m_isEnding)
        return;
    const QString text = QStringLiteral("%1 %2").arg(server.name, how);
    const bool isStarted = server.process->error() != QProcess::FailedToStart;
    if (m_isStarting && !(m_settings.restart && isStarted)) {
        server.problem = text;
        return;
    }
    if (!m_settings.restart) {
        Q_EMIT si_Told(text);
        return;
    }
    const bool stayedUp = server.pauseMs == 0 || server.up.elapsed() >= kStaysUpMs;
    server.pauseMs = stayedUp ? kRestartMs : std::min(2 * server.pauseMs, kLongestRestartMs);
    Q_EMIT si_Told(
        server.pauseMs == kRestartMs
            ? text
            : QStringLiteral("%1; it is started again in %2").arg(text, secondsText(server.pauseMs)));
    QTimer::singleShot(server.pauseMs, this, [this, &server] {
        startServer(server);
        if (server.process->waitForStarted())
            Q_EMIT si_Told(
                QStringLiteral("%1 was started again: %2").arg(server.name).arg(server.process->processId()));
    });
}

void LocalInstallation::onBrokerEnd()
{
    if (m_isEnding)
        return;
    const QString text = QStringLiteral("the broker has ended");
    if (m_isStarting && !m_settings.restart) {
        m_servers.front().problem = text;
        return;
    }
    Q_EMIT si_Told(text);
    if (!m_settings.restart)
        return;
    startBrokerAgain();
}

/// Until it starts: its port may be taken for a while.
void LocalInstallation::startBrokerAgain()
{
    QTimer::singleShot(kRestartMs, this, [this] {
        QString error;
        if (m_isEnding)
            return;
        const bool isStarted = m_broker->start(error);
        Q_EMIT si_Told(isStarted ? QStringLiteral("the broker was started again: %1").arg(m_broker->pid())
                                 : error);
        if (!isStarted)
            startBrokerAgain();
    });
}

} // namespace KoltaCli
