#include "peerthread.h"
#include "rununtil.h"
#include "scriptedpeer.h"

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>

#include <startup/errorhandler.h>

#include <QDir>
#include <QSemaphore>
#include <QTimer>
#include <QtTest>

#include <malloc.h>

using Kolta::KoltaConnection;
using Kolta::ptrKoltaRequest;
using XmlCommon::CXmlMessage;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int usualCount = 20000; // and the heap is not the C library's: only that it works is tested
#else
constexpr int usualCount = 100000;
#endif
constexpr qint64 KiB = 1024;
constexpr qint64 MiB = 1024 * KiB;

qint64 heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<qint64>(info.uordblks + info.hblkhd);
}

/// Threads of this process.
int threadCount()
{
    return static_cast<int>(
        QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

/// A series of requests: each, when answered, is followed by the next.
struct Series
{
    int toSend = 0;
    int answered = 0;
    int warmUp = 0;
    qint64 heapAfterWarmUp = 0;
    qint64 heapAtLastRequest = 0; ///< while as many requests wait as after the warm-up

    ptrKoltaRequest next();
};

class InSeries : public Kolta::GeneralRequest
{
public:
    explicit InSeries(Series& of) : GeneralRequest(makeRequest(QStringLiteral("Tuner"))), series(of) {}
    ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage) override
    {
        if (++series.answered == series.warmUp)
            series.heapAfterWarmUp = heapInUse();
        return series.next();
    }

private:
    Series& series;
};

ptrKoltaRequest Series::next()
{
    if (toSend == 1)
        heapAtLastRequest = heapInUse();
    return toSend-- > 0 ? ptrKoltaRequest(new InSeries(*this)) : ptrKoltaRequest();
}

CXmlMessage numberedBroadcast(int number)
{
    CXmlMessage broadcast(CXmlMessage::eSERVICE_BROADCAST);
    broadcast.addFragment(XmlCommon::CMsgFragment(QString::number(number)));
    return broadcast;
}

std::unique_ptr<KoltaConnection> connectionTo(const QString& host)
{
    return std::make_unique<KoltaConnection>(QStringLiteral("K"), QStringLiteral("1.0"), host, false);
}

/// Counts the broadcasts of a connection, whose components are numbers from 0, for as long as they come in
/// order.
struct InOrder
{
    explicit InOrder(KoltaConnection& connection)
    {
        QObject::connect(&connection, &KoltaConnection::Broadcast, &connection,
                         [this](const XmlCommon::ptrCXmlMessage& message) {
                             if (message->getFragment(0).getComponentName() == QString::number(count) &&
                                 ++count == pauseAt)
                                 pause();
                         });
    }
    int count = 0;
    int pauseAt = -1;
    std::function<void()> pause;
};

/// Lets a thread wait until a link has told its end, without letting it read what the link has for it.
struct EndOfLink : Startup::ITraceSink
{
    EndOfLink() { Startup::ErrorHandler::Instance().addSink(this); }
    ~EndOfLink() override { Startup::ErrorHandler::Instance().removeSink(this); }
    void trace(const Startup::TraceRecord& record) override
    {
        if (record.source == QStringLiteral("platform/xmlmessaging/linkworker"))
            told.release();
    }
    QSemaphore told;
};

} // namespace

class tst_Endurance : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { threadsBefore = threadCount(); }
    void cleanup()
    {
        QTRY_COMPARE(Kolta::KoltaConnectionsViewer::Instance().connections().size(), 0);
        QTRY_COMPARE(threadCount(), threadsBefore);
    }

    /// KOLTA_TEST_REQUESTS sets how many requests there are.
    void keepsNothingOfWhatIsDone()
    {
        const int given = qEnvironmentVariableIntValue("KOLTA_TEST_REQUESTS");
        const int count = given > 0 ? given : usualCount;
        PeerThread peer(1);
        const auto connection = connectionTo(peer.host());
        Series series;
        series.toSend = count;
        series.warmUp = count / 10;
        for (int i = 0; i < 50; ++i)
            connection->executeRequest(series.next());
        connection->open();
        QVERIFY(runUntil([&] { return series.answered == count; }, 3600000));
        const qint64 growth = series.heapAtLastRequest - series.heapAfterWarmUp;
        qInfo("%d requests, heap in use grew by %lld bytes", count, static_cast<long long>(growth));
        QVERIFY2(growth < 128 * KiB, qPrintable(QString::number(growth)));
    }

    void servesManyServersAtOnce()
    {
        constexpr int servers = 100;
        PeerThread peers(servers);
        std::vector<std::unique_ptr<KoltaConnection>> connections;
        std::vector<Series> series(servers);
        int closed = 0;
        for (int i = 0; i < servers; ++i) {
            connections.push_back(connectionTo(peers.host(i)));
            KoltaConnection& connection = *connections.back();
            connect(&connection, &KoltaConnection::ConnectionClosed, this, [&closed] { ++closed; });
            series[std::size_t(i)].toSend = 100;
            for (int k = 0; k < 10; ++k)
                connection.executeRequest(series[std::size_t(i)].next());
            connection.open();
        }
        for (const Series& one : series)
            QVERIFY(runUntil([&] { return one.answered == 100; }, 60000));
        for (const auto& connection : connections)
            connection->close(false);
        QTRY_COMPARE(closed, servers);
    }

    /// An owner who is busy for a while must not have to store what a server floods it with meanwhile, and
    /// still gets all of it.
    void aFloodWaitsAtTheServer()
    {
        int sent = 0;
        qint64 bytes = 0;
        QSemaphore stalled;
        constexpr int broadcasts = 600;
        const QString padding(200000, QLatin1Char('x'));
        PeerThread peer(1, PeerThread::answer, [&](PeerThread::Link* link) {
            auto* const pump = new QTimer(link);
            const auto idleRounds = std::make_shared<int>(0);
            connect(pump, &QTimer::timeout, link, [&, link, pump, idleRounds] {
                if (link->bytesToWrite() > 0) {
                    if (++*idleRounds == 200)
                        stalled.release();
                    return;
                }
                *idleRounds = 0;
                XmlCommon::CDataTree tree(QLatin1String("Data"));
                tree.editRoot().setText(padding);
                CXmlMessage broadcast = numberedBroadcast(sent);
                broadcast.getFragment(0).setDataTree(tree);
                link->send(broadcast);
                bytes += padding.size();
                if (++sent == broadcasts)
                    pump->stop();
            });
            pump->start(1);
        });
        const auto connection = connectionTo(peer.host());
        InOrder heard(*connection);
        connection->open();
        QTRY_VERIFY(heard.count > 0);
        const qint64 before = heapInUse();
        QVERIFY(stalled.tryAcquire(1, 60000));
        const qint64 growth = heapInUse() - before;
        peer.call([&] {
            qInfo("stalled after %lld bytes, heap in use grew by %lld", static_cast<long long>(bytes),
                  static_cast<long long>(growth));
        });
        QVERIFY2(growth < 64 * MiB, qPrintable(QString::number(growth)));
        QVERIFY(runUntil([&] { return heard.count == broadcasts; }, 60000));
    }

    void aMessageWithoutEndIsCutOff()
    {
        std::atomic<qint64> bytes{0};
        PeerThread peer(1, PeerThread::answer, [&bytes](PeerThread::Link* link) {
            auto* const pump = new QTimer(link);
            connect(pump, &QTimer::timeout, link, [&bytes, link] {
                if (link->bytesToWrite() > 0)
                    return;
                link->sendRaw("\n#65536\n" + QByteArray(65536, 'x'));
                bytes += 65536;
            });
            pump->start(0);
        });
        const auto connection = connectionTo(peer.host());
        QStringList said;
        connect(connection.get(), &KoltaConnection::ConnectionError, this,
                [&](const QString& error) { said.append(error); });
        connect(connection.get(), &KoltaConnection::ConnectionClosed, this,
                [&] { said.append(QStringLiteral("closed")); });
        const qint64 before = heapInUse();
        connection->open();
        QVERIFY(runUntil([&] { return said.contains(QStringLiteral("closed")); }, 30000));
        QVERIFY(said.contains(QStringLiteral("Unknown")));
        QVERIFY2(bytes < 32 * MiB, qPrintable(QString::number(bytes)));
        QVERIFY(heapInUse() - before < 8 * MiB);
    }

    /// What a server sends right before it ends is heard to the last message, also by an owner who was busy
    /// meanwhile, and also in an event loop of the owner's own.
    void lastWordsAreHeard()
    {
        constexpr int words = 700;
        PeerThread peer(1, PeerThread::answer, [](PeerThread::Link* link) {
            for (int i = 0; i < words; ++i)
                link->send(numberedBroadcast(i));
            link->close();
        });
        const auto connection = connectionTo(peer.host());
        InOrder heard(*connection);
        bool heardAllInside = false;
        heard.pauseAt = 300;
        heard.pause = [&] { heardAllInside = runUntil([&] { return heard.count == words; }, 5000); };
        QSignalSpy closed(connection.get(), &KoltaConnection::ConnectionClosed);
        EndOfLink end;
        connection->open();
        QVERIFY(end.told.tryAcquire(1, 10000));
        QTRY_COMPARE(closed.count(), 1);
        QCOMPARE(heard.count, words);
        QVERIFY(heardAllInside);
    }

private:
    int threadsBefore = 0;
};

QTEST_GUILESS_MAIN(tst_Endurance)
#include "tst_endurance.moc"
