#include "player.h"

#include "ownerplayer.h"
#include "treedump.h"
#include "writerplayer.h"

#include <koltacommon/shorttimevalues.h>
#include <startup/errorhandler.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>

#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace Chaos {

namespace {

constexpr int kStatusMs = 40;
constexpr int kLongestPauseMs = 25; ///< between two changes

/// Warnings and worse, on standard error.
class TraceToStandardError : public Startup::ITraceSink
{
public:
    void trace(const Startup::TraceRecord& record) override
    {
        constexpr quint32 shown = Startup::eTraceFatal | Startup::eTraceError | Startup::eTraceWarning;
        if (record.channel & shown)
            std::fprintf(stderr, "%s\n", qPrintable(record.text));
    }
};

/// Breaks all lines to that port, as a network does: nothing is said to the program.
void cutLinesTo(quint16 port)
{
    const QStringList descriptors = QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files);
    for (const QString& descriptor : descriptors) {
        sockaddr_in peer = {};
        socklen_t size = sizeof peer;
        const int line = descriptor.toInt();
        if (::getpeername(line, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
            peer.sin_family == AF_INET && ntohs(peer.sin_port) == port)
            ::shutdown(line, SHUT_RDWR);
    }
}

} // namespace

QString pathOf(const char* name, int number)
{
    const QString path = kRoot + QLatin1Char('/') + QLatin1String(name);
    return number < 0 ? path : path + QString::number(number);
}

QStringList Part::toArguments() const
{
    return {QStringLiteral("--play"), role, url, QString::number(seed), QString::number(id), folder};
}

Part Part::fromArguments(const QStringList& arguments)
{
    return {arguments.value(1), arguments.value(2), arguments.value(3).toULongLong(),
            arguments.value(4).toInt(), arguments.value(5)};
}

Player::Player(const Part& part)
    : m_part(part)
    , m_random(part.seed)
    , m_journal(QStringLiteral("%1/%2.journal").arg(part.folder).arg(part.id))
    , m_orders(STDIN_FILENO, QSocketNotifier::Read)
{
    m_journal.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered);
    QString error;
    m_options.mqtt.address = *distribution::BrokerAddress::FromUrl(part.url, error);
    m_options.beatMs = kBeatMs;
    m_options.graceMs = kGraceMs;
    m_options.deathGraceMs = kDeathGraceMs;
    m_options.wishTimeoutMs = kWishTimeoutMs;
    m_options.logBytes = 20000; // so that some gaps are filled by replays and others by states
    m_options.compared = QStringList{pathOf("whole")};
    m_options.takeOver = part.role == QLatin1String("successor");
    m_options.host = QStringLiteral("player%1").arg(part.id);
    m_link = std::make_unique<distribution::TreeLink>(m_tree, m_options);
    m_tree.AddListener(&m_change);
    m_tree.AddListener(this); // behind the link, which is to hear of a change before the reaction to it
    connect(&m_orders, &QSocketNotifier::activated, this, [this] { obey(); });
    connect(&m_acting, &QTimer::timeout, this, [this] {
        act();
        m_acting.start(static_cast<int>(roll(kLongestPauseMs)));
    });
    connect(&m_telling, &QTimer::timeout, this, [this] { tellStatus(); });
}

Player::~Player()
{
    m_link.reset();
    m_tree.RemoveListener(this);
    m_tree.RemoveListener(&m_change);
}

void Player::say(const QString& line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    if (::write(STDOUT_FILENO, bytes.constData(), static_cast<std::size_t>(bytes.size())) < 0)
        ::_exit(1);
}

void Player::note(const QString& line)
{
    m_journal.write(line.toUtf8() + '\n');
}

/// The end of the input is the end of the run.
void Player::obey()
{
    char bytes[256];
    const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
    if (count <= 0)
        ::_exit(0);
    m_order.append(bytes, static_cast<int>(count));
    for (int end = m_order.indexOf('\n'); end >= 0; end = m_order.indexOf('\n')) {
        const QByteArray order = m_order.left(end);
        m_order.remove(0, end + 1);
        if (order == "stop") {
            m_isStopped = true;
            m_acting.stop();
            m_telling.start(kStatusMs);
        } else if (order == "dump") {
            dump();
        } else if (order == "cut") {
            cutLinesTo(m_options.mqtt.address.port);
        } else if (order == "flood") {
            flood();
        }
    }
}

void Player::dump()
{
    QFile file(QStringLiteral("%1/%2.dump").arg(m_part.folder).arg(m_part.id));
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write(dumpOf(m_tree, kRoot));
    file.close();
    noteContent();
    say(QStringLiteral("dumped"));
}

void Player::tellStatus()
{
    if (std::exchange(m_change.hasHappened, false))
        m_digest = QCryptographicHash::hash(dumpOf(m_tree, kRoot), QCryptographicHash::Md5).toHex();
    const QString text = QStringLiteral("status %1 %2").arg(status(), QString::fromLatin1(m_digest));
    if (text == m_told)
        return;
    m_told = text;
    say(text);
}

int play(const Part& part)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    TraceToStandardError sink;
    auto& handler = Startup::ErrorHandler::Instance();
    handler.setLoggingEnabled(false);
    handler.addSink(&sink);
    Kolta::registerShortTimeValues();
    std::unique_ptr<Player> player;
    if (part.role == QLatin1String("owner") || part.role == QLatin1String("successor"))
        player = std::make_unique<OwnerPlayer>(part);
    else
        player = std::make_unique<WriterPlayer>(part);
    const int result = QCoreApplication::exec();
    player.reset();
    handler.removeSink(&sink);
    return result;
}

} // namespace Chaos
