#include <distribution/localbroker.h>

#include <startup/childprocess.h>

#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

namespace distribution {

namespace {

constexpr int kStartLimitMs = 10000;
constexpr int kEndLimitMs = 5000;

/// A socket that ends with the scope.
class Socket
{
public:
    Socket() : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
    ~Socket() { ::close(m_socket); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    /// A port that nobody uses at this moment; 0 when there is none.
    quint16 findFreePort() const
    {
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        if (::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), size) != 0 ||
            ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            return 0;
        return ntohs(address.sin_port);
    }

private:
    static sockaddr_in loopback(quint16 port)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        return address;
    }
    int m_socket;
};

bool writeFile(const QString& path, const QByteArray& content, QString& error)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner) && file.write(content) == content.size() &&
        file.flush())
        return true;
    error = QStringLiteral("%1: %2").arg(path, file.errorString());
    return false;
}

/// Debian keeps daemons where a user's search path does not lead.
QString findProgram(const QString& name)
{
    const QString found = QStandardPaths::findExecutable(name);
    const QStringList further{QStringLiteral("/usr/sbin"), QStringLiteral("/usr/local/sbin")};
    return found.isEmpty() ? QStandardPaths::findExecutable(name, further) : found;
}

} // namespace

class LocalBroker::Process : public Startup::ChildProcess
{
public:
    using ChildProcess::ChildProcess;
    bool isWanted = true;
};

LocalBroker::LocalBroker(Settings settings, QObject* parent)
    : QObject(parent), m_settings(std::move(settings))
{
}

LocalBroker::~LocalBroker()
{
    end(true);
}

bool LocalBroker::IsInstalled()
{
    return !findProgram(QStringLiteral("mosquitto")).isEmpty();
}

bool LocalBroker::start(QString& error)
{
    const QString program = findProgram(QStringLiteral("mosquitto"));
    if (program.isEmpty()) {
        error = QStringLiteral("there is no program mosquitto (Debian package mosquitto)");
        return false;
    }
    end(false);
    const bool hadPort = m_port != 0;
    // Somebody else may take the port before the broker does.
    for (int attempt = 0; attempt < 5; ++attempt) {
        if (!hadPort)
            m_port = Socket().findFreePort();
        if (!writeFiles(error))
            return false;
        m_process = std::make_unique<Process>();
        m_process->setProcessChannelMode(QProcess::MergedChannels);
        m_process->start(program, {QStringLiteral("-c"), filePath("broker.conf")});
        if (waitUntilItListens(error)) {
            // It tells of every connection, for as long as it runs.
            connect(m_process.get(), &QProcess::readyRead, m_process.get(),
                    [process = m_process.get()] { process->readAll(); });
            connect(m_process.get(), QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
                    [this] {
                        if (m_process->isWanted)
                            Q_EMIT si_Ended();
                    });
            return true;
        }
        end(false);
    }
    return false;
}

bool LocalBroker::isRunning() const
{
    return m_process && m_process->state() == QProcess::Running;
}

qint64 LocalBroker::pid() const
{
    return m_process ? m_process->processId() : 0;
}

QString LocalBroker::url() const
{
    return QStringLiteral("%1://127.0.0.1:%2")
        .arg(m_settings.certificateFile.isEmpty() ? QStringLiteral("mqtt") : QStringLiteral("mqtts"))
        .arg(m_port);
}

void LocalBroker::kill()
{
    end(false);
}

void LocalBroker::stop()
{
    end(true);
}

void LocalBroker::end(bool gently)
{
    if (!m_process)
        return;
    m_process->isWanted = false;
    if (gently)
        m_process->terminate();
    if (!gently || !m_process->waitForFinished(kEndLimitMs))
        m_process->kill();
    m_process->waitForFinished(kEndLimitMs);
    m_process.reset();
}

QString LocalBroker::filePath(const char* name) const
{
    return m_folder.filePath(QLatin1String(name));
}

bool LocalBroker::writeFiles(QString& error)
{
    const auto line = [](const char* key, const QString& value) -> QByteArray {
        return QByteArray(key) + ' ' + QFile::encodeName(value) + '\n';
    };
    QByteArray settings = "listener " + QByteArray::number(m_port) + " 127.0.0.1\n" + NeededSettings();
    // As root it would become another user, who cannot read its files.
    if (const passwd* const user = ::getpwuid(::geteuid()))
        settings += "user " + QByteArray(user->pw_name) + '\n';
    if (m_settings.users.isEmpty())
        settings += "allow_anonymous true\n";
    else
        settings += "allow_anonymous false\n" + line("password_file", filePath("users"));
    if (!m_settings.accessList.isEmpty())
        settings += line("acl_file", filePath("acl"));
    if (!m_settings.certificateFile.isEmpty())
        settings += line("certfile", m_settings.certificateFile) + line("keyfile", m_settings.keyFile);
    settings += m_settings.furtherSettings;

    if (!m_folder.isValid()) {
        error = m_folder.errorString();
        return false;
    }
    QByteArray users;
    for (const User& user : qAsConst(m_settings.users))
        users += user.name + ':' + user.password + '\n';
    if (!writeFile(filePath("broker.conf"), settings, error) || !writeFile(filePath("users"), users, error) ||
        !writeFile(filePath("acl"), m_settings.accessList, error))
        return false;
    if (users.isEmpty())
        return true;
    // The broker takes passwords in hashed form only.
    QProcess hash;
    hash.start(findProgram(QStringLiteral("mosquitto_passwd")), {QStringLiteral("-U"), filePath("users")});
    if (hash.waitForFinished(kStartLimitMs) && hash.exitStatus() == QProcess::NormalExit &&
        hash.exitCode() == 0)
        return true;
    error = QStringLiteral("mosquitto_passwd could not hash the passwords (Debian package mosquitto)");
    return false;
}

/// It says so itself: who answers at the port may be somebody else, while the broker is about to end because
/// of that.
bool LocalBroker::waitUntilItListens(QString& error)
{
    QElapsedTimer elapsed;
    elapsed.start();
    QByteArray said;
    while (!elapsed.hasExpired(kStartLimitMs) && m_process->state() != QProcess::NotRunning) {
        m_process->waitForReadyRead(10);
        said += m_process->readAll();
        if (said.contains(" running\n"))
            return true;
    }
    said += m_process->readAll();
    said = said.trimmed();
    error = QStringLiteral("the broker did not start: %1")
                .arg(QString::fromLocal8Bit(said.mid(said.lastIndexOf('\n') + 1)));
    return false;
}

QByteArray LocalBroker::AccessList(const QByteArray& prefix, const QVector<QByteArray>& servers)
{
    const QByteArray top = prefix + "/1/";
    QByteArray list;
    for (const char* const readable : {"live", "beat", "log/#", "state/#"})
        list += "pattern read " + top + "b/+/" + readable + '\n';
    list += "pattern write " + top + "b/+/up/%u/#\n";
    list += "pattern write " + top + "c/%u/#\n";
    for (const QByteArray& server : servers) {
        const QByteArray branch = top + "b/" + server + '/';
        list += "\nuser server-" + server + '\n';
        list += "topic readwrite " + branch + "live\n";
        for (const char* const written : {"beat", "log/#", "state/#"})
            list += "topic write " + branch + written + '\n';
        list += "topic read " + branch + "up/#\n";
        list += "topic read " + top + "c/#\n";
    }
    return list;
}

QByteArray LocalBroker::NeededSettings()
{
    return "set_tcp_nodelay true\nmax_queued_messages 1000000\nmax_inflight_messages 1000\npersistence "
           "false\n";
}

} // namespace distribution
