#include "goodclient.h"
#include "processusage.h"

#include <simulation/hostilepeers.h>
#include <startup/cfgcenter.h>
#include <startup/errorhandler.h>

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <memory>
#include <vector>

namespace Soak {

namespace {

constexpr int kGoodClients = 200;
constexpr int kHostilePeers = 50;
constexpr int kSampleMs = 5000;
constexpr int kRestarts = 4;
/// What memory may differ by between the first and the last quarter without being growth.
constexpr qint64 kToleratedBytes = 8 * 1024 * 1024;

/// One simulated server in a process of its own, on a port that it keeps when it is started again.
class Server
{
public:
    explicit Server(QStringList options) : m_options(std::move(options)) {}
    ~Server()
    {
        if (isRunning())
            stop();
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    bool start()
    {
        QStringList arguments{QStringLiteral("--installation"),
                              QStringLiteral(KOLTA_INSTALLATION_DIR),
                              QStringLiteral("--activity"),
                              QStringLiteral("--period"),
                              QStringLiteral("50"),
                              QStringLiteral("--listen"),
                              QStringLiteral("127.0.0.1:%1").arg(m_port)};
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(QStringLiteral(KOLTASIM_PROGRAM), arguments + m_options);
        if (!m_process.waitForReadyRead(10000))
            return false;
        m_port = m_process.readLine().trimmed().split(':').last().toUShort();
        return m_port != 0;
    }
    void stop()
    {
        m_process.terminate();
        m_process.waitForFinished();
    }
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    quint16 port() const { return m_port; }
    QString hostAndPort() const { return QStringLiteral("127.0.0.1:%1").arg(m_port); }
    ProcessUsage usage() const { return ProcessUsage::of(m_process.processId()); }

private:
    const QStringList m_options;
    QProcess m_process;
    quint16 m_port = 0;
};

bool makeCertificates(const QTemporaryDir& folder)
{
    QProcess shell;
    shell.setWorkingDirectory(folder.path());
    const QString request =
        QStringLiteral("openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 ");
    shell.start(
        QStringLiteral("sh"),
        {QStringLiteral("-c"),
         request + QStringLiteral("-subj /CN=authority -keyout ca.key -out ca.pem && ") + request +
             QStringLiteral("-subj /CN=server -CA ca.pem -CAkey ca.key -addext subjectAltName=IP:127.0.0.1 "
                            "-addext basicConstraints=CA:FALSE -keyout key.pem -out server.pem && "
                            "cat key.pem >> server.pem")});
    return shell.waitForFinished() && shell.exitCode() == 0;
}

/// The largest of what was sampled in one part of the run.
struct Peak
{
    ProcessUsage usage;
    void take(const ProcessUsage& sample)
    {
        usage.descriptors = qMax(usage.descriptors, sample.descriptors);
        usage.threads = qMax(usage.threads, sample.threads);
        usage.bytes = qMax(usage.bytes, sample.bytes);
    }
};

class Run : public QObject
{
public:
    Run(int seconds, const QTemporaryDir& folder)
        : m_seconds(seconds)
        , m_plain({})
        , m_tls({QStringLiteral("--tls"), folder.filePath(QStringLiteral("server.pem"))})
    {
    }

    bool start(const QTemporaryDir& folder)
    {
        if (!m_plain.start() || !m_tls.start())
            return false;
        auto& configuration = Startup::CfgCenter::Instance();
        const QString group = QStringLiteral("XmlClient ") + m_tls.hostAndPort();
        configuration.SetValue(group, QStringLiteral("Tls"), QStringLiteral("required"));
        configuration.SetValue(group, QStringLiteral("TlsCaFile"), folder.filePath(QStringLiteral("ca.pem")));
        for (int i = 0; i < kGoodClients; ++i) {
            m_good.push_back(
                std::make_unique<GoodClient>((i % 2 ? m_tls : m_plain).hostAndPort(), i, nullptr));
            m_good.back()->start();
        }
        for (Server* server : {&m_plain, &m_tls}) {
            m_hostile.push_back(std::make_unique<KoltaSimulation::HostilePeers>(
                QHostAddress(QHostAddress::LocalHost), server->port()));
            for (int i = 0; i < kHostilePeers / 2; ++i)
                m_hostile.back()->add(
                    static_cast<KoltaSimulation::Hostility>(i % KoltaSimulation::kHostilityCount), 1,
                    4 * 1024 * 1024, true);
        }
        connect(&m_sampleTimer, &QTimer::timeout, this, [this] { sample(); });
        connect(&m_restartTimer, &QTimer::timeout, this, [this] { restart(); });
        m_clock.start();
        m_sampleTimer.start(kSampleMs);
        m_restartTimer.start(m_seconds * 1000 / (kRestarts + 1));
        QTimer::singleShot(m_seconds * 1000, qApp, &QCoreApplication::quit);
        return true;
    }

    /// Ends the clients, prints the figures and says whether all was as it should be.
    bool finish();

private:
    void restart()
    {
        if (m_restarted == kRestarts)
            return; // the last quarter is measured
        Server& server = m_restarted++ % 2 ? m_tls : m_plain;
        server.stop();
        if (!server.start())
            m_failures.append(QStringLiteral("a server could not be started again"));
    }
    void sample()
    {
        // The first quarter is compared with the last one; restarts come between.
        const qint64 part = m_clock.elapsed() * 4 / (m_seconds * 1000);
        if (!m_plain.isRunning() || !m_tls.isRunning())
            m_failures.append(QStringLiteral("a server has ended"));
        if (part == 0 || part >= 3) {
            Peak* const peaks = part == 0 ? m_first : m_last;
            peaks[0].take(m_plain.usage());
            peaks[1].take(m_tls.usage());
            peaks[2].take(ProcessUsage::of(QCoreApplication::applicationPid()));
        }
    }
    void compare(const char* who, const Peak& first, const Peak& last);

    const int m_seconds;
    Server m_plain;
    Server m_tls;
    std::vector<std::unique_ptr<GoodClient>> m_good;
    std::vector<std::unique_ptr<KoltaSimulation::HostilePeers>> m_hostile;
    QTimer m_sampleTimer;
    QTimer m_restartTimer;
    QElapsedTimer m_clock;
    Peak m_first[3];
    Peak m_last[3];
    QStringList m_failures;
    int m_restarted = 0;
};

void Run::compare(const char* who, const Peak& first, const Peak& last)
{
    const ProcessUsage& a = first.usage;
    const ProcessUsage& b = last.usage;
    std::printf("%-14s descriptors %4d -> %4d   threads %3d -> %3d   memory %6.1f -> %6.1f MiB\n", who,
                a.descriptors, b.descriptors, a.threads, b.threads, static_cast<double>(a.bytes) / 1048576,
                static_cast<double>(b.bytes) / 1048576);
    // Hostile links may be open or not in the moment of a sample; a leak is one for each of thousands of
    // links.
    const bool grows = b.descriptors > a.descriptors + a.descriptors / 10 + kHostilePeers / 2 ||
                       b.threads > a.threads + 5 || b.bytes > a.bytes + a.bytes / 10 + kToleratedBytes;
    if (grows)
        m_failures.append(QStringLiteral("%1 grows").arg(QLatin1String(who)));
}

bool Run::finish()
{
    m_sampleTimer.stop();
    m_restartTimer.stop();
    quint64 replies = 0;
    quint64 wrong = 0;
    quint64 lost = 0;
    quint64 fewest = std::numeric_limits<quint64>::max();
    qint64 longest = 0;
    for (const auto& client : m_good) {
        replies += client->replies();
        wrong += client->wrongReplies();
        lost += client->lostLinks();
        fewest = qMin(fewest, client->replies());
        longest = qMax(longest, client->takeLongestWait());
    }
    int hostile = 0;
    for (const auto& peers : m_hostile)
        hostile += peers->endedLinks();
    std::printf(
        "%d good clients: %llu replies, the fewest of one %llu, %llu wrong or out of order, %llu links lost, "
        "longest wait %lld ms\n%d hostile peers: %d links ended; %d restarts\n",
        kGoodClients, replies, fewest, wrong, lost, longest, kHostilePeers, hostile, m_restarted);
    compare("plain server", m_first[0], m_last[0]);
    compare("TLS server", m_first[1], m_last[1]);
    compare("clients", m_first[2], m_last[2]);
    if (wrong > 0)
        m_failures.append(QStringLiteral("replies were wrong or out of order"));
    // Each asks several times a second; a client that was served a tenth of that was starved.
    if (fewest < static_cast<quint64>(m_seconds) / 4)
        m_failures.append(QStringLiteral("a good client was not served"));
    for (const QString& failure : qAsConst(m_failures))
        std::printf("FAILED: %s\n", qPrintable(failure));
    return m_failures.isEmpty();
}

} // namespace

} // namespace Soak

// kolta_soak [MINUTES]
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const double minutes = argc > 1 ? QString::fromLocal8Bit(argv[1]).toDouble() : 10;
    if (minutes <= 0) {
        std::fprintf(stderr, "kolta_soak: expected a number of minutes\n");
        return 2;
    }
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    const QTemporaryDir folder;
    Startup::CfgCenter::Instance().Open(folder.filePath(QStringLiteral("kolta.ini")));
    if (!Soak::makeCertificates(folder)) {
        std::fprintf(stderr, "kolta_soak: openssl makes no certificates\n");
        return 1;
    }
    Soak::Run run(static_cast<int>(minutes * 60), folder);
    if (!run.start(folder)) {
        std::fprintf(stderr, "kolta_soak: the servers do not start\n");
        return 1;
    }
    QCoreApplication::exec();
    return run.finish() ? 0 : 1;
}
