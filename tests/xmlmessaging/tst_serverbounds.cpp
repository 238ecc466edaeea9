#include <support/test.h>
#include <xmlmessaging/framing.h>
#include <xmlmessaging/server.h>

#include <startup/cfgcenter.h>

#include <QTcpServer>
#include <QTcpSocket>

#include <sys/resource.h>
#include <unistd.h>

using namespace XmlCommunication;
using namespace std::chrono_literals;

namespace {

/// A peer that reads only when it is told to.
struct Peer : QTcpSocket
{
    explicit Peer(const CServer& server)
    {
        setReadBufferSize(1);
        connectToHost(server.address(), server.port());
        if (!waitForConnected(kPatienceMs))
            qFatal("no connection on loopback");
    }
    void ask(int times = 1)
    {
        QByteArray bytes;
        for (int i = 0; i < times; ++i)
            appendFrame(bytes, QByteArrayLiteral(
                                   "<Message id=\"1\" service=\"1\"><Fragment component=\"A\"/></Message>"));
        write(bytes);
        flush();
    }
    void sendHalf(int bytes)
    {
        write("\n#" + QByteArray::number(bytes * 2) + '\n' + QByteArray(bytes, ' '));
        flush();
    }
    void drain()
    {
        setReadBufferSize(0);
        connect(this, &QTcpSocket::readyRead, this, [this] { got += readAll().size(); });
        got += readAll().size();
    }
    bool isClosed() const { return state() == UnconnectedState; }

    qint64 got = 0;
};

} // namespace

/// What peers may cost a server, with real sockets.
class TestServerBounds : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_server.reset(); }
    void deafAskerIsNoLongerRead();
    void deafSubscribersEndBeforeTheOneThatReads();
    void halfMessagesEndBeforeWholeOnes();
    void latePeersEndUnlessTheServerDoesNotRead();
    void tooManyLinksAreRefusedInOneLine();
    void acceptingPausesWithoutDescriptors();
    void limitsComeFromTheConfiguration();

private:
    void limit(const std::function<void(ServerLimits&)>& change)
    {
        ServerLimits limits = m_server->serverLimits();
        change(limits);
        m_server->setServerLimits(limits);
    }
    int told(const char* part) const { return m_traces.count(QLatin1String(part)); }

    Startup::TraceRecorder m_traces;
    std::unique_ptr<CServer> m_server;
    QByteArray m_reply;  ///< what every request is answered with
    QStringList m_ended; ///< reasons
    int m_requests = 0;
    qint64 m_mostUnsent = 0;
};

void TestServerBounds::init()
{
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    m_traces.clear();
    m_ended.clear();
    m_requests = 0;
    m_mostUnsent = 0;
    m_reply = QByteArray(10000, 'r');
    m_server = std::make_unique<CServer>();
    connect(m_server.get(), &CServer::LinkOpened, this, [this](CServerLink* link) {
        connect(link, &CServerLink::MessageReceived, this, [this, link] {
            ++m_requests;
            link->sendRaw(m_reply);
            m_mostUnsent = qMax(m_mostUnsent, link->bytesToWrite());
        });
        connect(link, &CServerLink::Closed, this, [this](const QString& reason) { m_ended += reason; });
    });
    QVERIFY(m_server->listen());
}

void TestServerBounds::deafAskerIsNoLongerRead()
{
    limit([](ServerLimits& limits) { limits.maxUnsentBytes = 100000; });
    Peer deaf(*m_server);
    deaf.ask(5000); // 50 MB of replies
    QTRY_VERIFY(m_mostUnsent > 100000);
    Peer other(*m_server);
    other.ask();
    other.drain();
    QTRY_COMPARE(other.got, qint64(m_reply.size()));
    QVERIFY2(m_mostUnsent <= 100000 + m_reply.size(), qPrintable(QString::number(m_mostUnsent)));
    QVERIFY(m_requests < 5000);

    // It was slow, not lost: nothing is missing once it reads.
    deaf.drain();
    QTRY_COMPARE(deaf.got, 5000 * qint64(m_reply.size()));

    limit([](ServerLimits& limits) { limits.stallTime = 200ms; });
    Peer gone(*m_server);
    gone.ask(5000);
    QTRY_COMPARE(m_ended.size(), 1);
    QVERIFY2(m_ended.first().contains("none could be sent for 0.2 s"_s), qPrintable(m_ended.first()));
    QCOMPARE(m_server->links().size(), 2);
}

void TestServerBounds::deafSubscribersEndBeforeTheOneThatReads()
{
    limit([](ServerLimits& limits) { limits.maxUnsentBytesOfAll = 3000000; });
    Peer deaf1(*m_server);
    Peer deaf2(*m_server);
    Peer reader(*m_server);
    reader.drain();
    QTRY_COMPARE(m_server->links().size(), 3);
    const QByteArray event(100000, 'e');
    qint64 sent = 0;
    while (m_ended.size() < 2 && sent < 100000000) {
        qint64 unsent = 0;
        for (CServerLink* link : m_server->links())
            link->sendRaw(event);
        for (const CServerLink* link : m_server->links())
            unsent += link->bytesToWrite();
        sent += event.size();
        QVERIFY(unsent <= 3000000);
        QTRY_COMPARE(reader.got, sent);
    }
    QTRY_COMPARE(m_server->links().size(), 1);
    QCOMPARE(reader.got, sent);
    QCOMPARE(told("bytes wait for this peer"), 1); // the second within the minute is counted only
}

void TestServerBounds::halfMessagesEndBeforeWholeOnes()
{
    limit([](ServerLimits& limits) { limits.maxUnfinishedBytesOfAll = 4000000; });
    std::vector<std::unique_ptr<Peer>> hostile;
    for (int i = 0; i < 8; ++i) {
        hostile.push_back(std::make_unique<Peer>(*m_server));
        hostile.back()->sendHalf(800000);
    }
    QTRY_COMPARE(m_ended.size(), 3);
    Peer honest(*m_server);
    QByteArray bytes;
    appendFrame(bytes, "<Message id=\"1\" service=\"1\">" +
                           QByteArray("<Fragment component=\"A\"/>").repeated(100) +
                           QByteArray(3000000, ' ') + "</Message>");
    honest.write(bytes);
    honest.drain();
    QTRY_COMPARE(honest.got, qint64(m_reply.size()));
    QVERIFY2(m_ended.last().contains("of an unfinished message"_s), qPrintable(m_ended.last()));

    limit([](ServerLimits& limits) { limits.messageTime = 100ms; });
    QTRY_COMPARE(m_server->links().size(), 1); // what is left of the halves is too old
    honest.ask();
    QTRY_COMPARE(honest.got, 2 * qint64(m_reply.size()));
}

void TestServerBounds::latePeersEndUnlessTheServerDoesNotRead()
{
    Peer unread(*m_server);
    unread.sendHalf(10);
    QTRY_COMPARE(m_server->links().size(), 1);
    m_server->links().first()->setReading(false);
    Peer silent(*m_server);
    Peer asker(*m_server);
    asker.ask();
    asker.drain();
    QTRY_COMPARE(asker.got, qint64(m_reply.size()));
    limit([](ServerLimits& limits) { limits.firstMessageTime = limits.messageTime = 100ms; });
    QTRY_VERIFY(silent.isClosed());
    QCOMPARE(m_ended, QStringList{"no message within 0.1 s"_s});
    QVERIFY(!unread.isClosed() && !asker.isClosed());
    limit([](ServerLimits& limits) { limits.idleTime = 100ms; });
    QTRY_VERIFY(asker.isClosed());
    QVERIFY(!unread.isClosed());
}

void TestServerBounds::tooManyLinksAreRefusedInOneLine()
{
    limit([](ServerLimits& limits) { limits.maxLinksPerAddress = 3; });
    std::vector<std::unique_ptr<Peer>> peers;
    for (int i = 0; i < 10; ++i)
        peers.push_back(std::make_unique<Peer>(*m_server));
    QTRY_COMPARE(std::count_if(peers.begin(), peers.end(), [](const auto& peer) { return peer->isClosed(); }),
                 7);
    QCOMPARE(m_server->links().size(), 3);
    QCOMPARE(told("127.0.0.1: refused, 3 links from there are open"), 1);
    peers.clear();
    QTRY_VERIFY(m_server->links().isEmpty()); // a place that became free is free
    limit([](ServerLimits& limits) { limits.maxLinks = 1; });
    Peer first(*m_server);
    Peer second(*m_server);
    QTRY_VERIFY(second.isClosed());
    first.ask();
    first.drain();
    QTRY_COMPARE(first.got, qint64(m_reply.size()));
}

void TestServerBounds::acceptingPausesWithoutDescriptors()
{
    rlimit before{};
    QCOMPARE(getrlimit(RLIMIT_NOFILE, &before), 0);
    // Waiting in the listener's queue costs the server no descriptor yet.
    std::vector<std::unique_ptr<Peer>> peers;
    for (int i = 0; i < 10; ++i)
        peers.push_back(std::make_unique<Peer>(*m_server));
    const int next = dup(0);
    ::close(next);
    const rlimit few{static_cast<rlim_t>(next) + 3, before.rlim_max};
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &few), 0);
    // Each attempt waits for a pause: a machine may make it longer, none makes it shorter.
    QVector<qint64> attempts;
    QElapsedTimer timer;
    timer.start();
    const auto* const listener = m_server->findChild<QTcpServer*>();
    const auto watch =
        connect(listener, &QTcpServer::acceptError, this, [&] { attempts.append(timer.elapsed()); });
    QTRY_VERIFY(attempts.size() >= 3);
    disconnect(watch);
    QCOMPARE(m_server->links().size(), 3);
    QVERIFY2(attempts.at(2) - attempts.at(0) > 1800,
             qPrintable(QString::number(attempts.at(2) - attempts.at(0))));
    QCOMPARE(told("accepting pauses"), 1);
    QCOMPARE(setrlimit(RLIMIT_NOFILE, &before), 0);
    QTRY_COMPARE(m_server->links().size(), 10);
}

void TestServerBounds::limitsComeFromTheConfiguration()
{
    const QTemporaryDir folder;
    Startup::CfgCenter& configuration = Startup::CfgCenter::Instance();
    const QString before = configuration.FileName();
    QVERIFY(configuration.Open(folder.filePath("kolta.ini"_s)));
    configuration.SetValue("XmlServer"_s, "MaxLinks"_s, 7);
    configuration.SetValue("XmlServer"_s, "IdleSeconds"_s, 90);
    configuration.SetValue("XmlServer"_s, "StallSeconds"_s, "-1"_s);
    const ServerLimits limits = CServer().serverLimits();
    QCOMPARE(limits.maxLinks, 7);
    QCOMPARE(limits.idleTime.count(), 90000);
    QCOMPARE(limits.stallTime.count(), 60000);
    QCOMPARE(told("XmlServer/StallSeconds: found \"-1\", expected a number from 0"), 1);
    configuration.Open(before);
}

KOLTA_TEST(TestServerBounds);
#include "tst_serverbounds.moc"
