#include "linkfixture.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

using namespace XmlCommon;
using namespace XmlCommunication;
using namespace GLOBAL_XML_TYPES;

class TestConnectionThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void replyFillsOwnMessage();
    void requestsQueuedBeforeTheLinkIsUp();
    void wrongAndDuplicateReplies();
    void largeMessages();
    void floodOfBroadcastsStaysBoundedAndInOrder();
    void ownerKeepsItsTurnDuringAFlood();
    void malformedBytesEndTheLink_data();
    void malformedBytesEndTheLink();
    void clientsMalformedBytesEndItsLinkOnly();
    void nestedEventLoopInASlot();
    void serverSlotsMayDeleteTheLink();
};

void TestConnectionThread::replyFillsOwnMessage()
{
    LinkFixture f;
    QVERIFY(f.connected());
    QCOMPARE(f.states, (QList<QAbstractSocket::SocketState>{QAbstractSocket::HostLookupState,
                                                            QAbstractSocket::ConnectingState,
                                                            QAbstractSocket::ConnectedState}));
    const ptrCXmlMessage request = f.request(QStringLiteral("ä"));
    const quint32 id = request->getMessageID();
    f.thread->sendMessage(request, 0);
    request->setAvailableTime(1); // the caller's object stays the caller's
    QTRY_COMPARE(f.messages.size(), 1);
    QCOMPARE(f.messages[0].data(), request.data());
    QCOMPARE(f.types[0], eMESSAGE_REPLY);
    QCOMPARE(request->getServiceType(), CXmlMessage::eSERVICE_QUERY_REPLY);
    QCOMPARE(request->getMessageID(), id);
    QVERIFY(request->getFragment(0).hasRequestTree());
    QCOMPARE(request->getFragment(0).getDataTree().root().text(), QStringLiteral("ä"));
    QVERIFY(f.errors.isEmpty());
}

void TestConnectionThread::requestsQueuedBeforeTheLinkIsUp()
{
    LinkFixture f;
    QList<ptrCXmlMessage> requests;
    for (int i = 0; i < 50; ++i) {
        requests.append(f.request(QString::number(i)));
        f.thread->sendMessage(requests.last(), 0);
    }
    f.thread->start();
    QTRY_COMPARE(f.messages.size(), 50);
    for (int i = 0; i < 50; ++i)
        QCOMPARE(f.messages[i].data(), requests[i].data());
}

void TestConnectionThread::wrongAndDuplicateReplies()
{
    LinkFixture f([](CServerLink* link, const CXmlMessage& request) {
        CXmlMessage wrong = makeReply(request, true);
        wrong.setMessageID(request.getMessageID() + 1000);
        link->send(wrong);
        CXmlMessage event = LinkFixture::broadcast(1);
        event.setMessageID(request.getMessageID());
        link->send(event);
        LinkFixture::answer(link, request);
        LinkFixture::answer(link, request);
        link->send(CXmlMessage(static_cast<CXmlMessage::eSERVICE_TYPES>(6)));
    });
    QVERIFY(f.connected());
    const ptrCXmlMessage request = f.request();
    f.thread->sendMessage(request, 0);
    QTRY_COMPARE(f.messages.size(), 5);
    QCOMPARE(f.types, (QList<eMESSAGE_TYPES>{eMESSAGE_UNKNOWN, eMESSAGE_BROADCAST, eMESSAGE_REPLY,
                                             eMESSAGE_UNKNOWN, eMESSAGE_UNKNOWN}));
    for (int i = 0; i < 5; ++i)
        QCOMPARE(f.messages[i].data() == request.data(), i == 2);
    QVERIFY(f.errors.isEmpty());
}

void TestConnectionThread::largeMessages()
{
    LinkFixture f;
    QVERIFY(f.connected());
    const QString text(3000000, QLatin1Char('<'));
    f.thread->sendMessage(f.request(text), 0);
    f.thread->sendMessage(f.request(QStringLiteral("small")), 0);
    QTRY_COMPARE_WITH_TIMEOUT(f.messages.size(), 2, 20000);
    QCOMPARE(f.messages[0]->getFragment(0).getDataTree().root().text(), text);
    QCOMPARE(f.messages[1]->getFragment(0).getDataTree().root().text(), QStringLiteral("small"));
}

void TestConnectionThread::floodOfBroadcastsStaysBoundedAndInOrder()
{
    constexpr int kCount = 3000;
    constexpr int kSize = 20000;
    CServer server;
    ServerLimits unbounded;
    unbounded.maxUnsentBytesOfAll = 0;
    server.setServerLimits(unbounded);
    QVERIFY(server.listen());
    QPointer<CServerLink> link;
    connect(&server, &CServer::LinkOpened, [&](CServerLink* opened) { link = opened; });
    CConnectionThread thread(QStringLiteral("127.0.0.1"), server.port());
    int received = 0;
    bool ordered = true;
    qint64 unsent = 0;
    connect(&thread, &CConnectionThread::SignalNewJob, [&](const ptrCXmlMessage& message) {
        const quint64 number = message->getFragment(0).getDataTree().root().attributeToUInt("number");
        ordered = ordered && number == quint64(received);
        if (++received == 1) {
            // While this slot holds the owner's thread the link must stop to read, so most cannot leave the
            // server.
            for (int i = 1; i < kCount; ++i)
                link->send(LinkFixture::broadcast(quint32(i), kSize));
            auto* const socket = link->findChild<QTcpSocket*>();
            QElapsedTimer sinceProgress;
            for (sinceProgress.start(); sinceProgress.elapsed() < 300;) {
                if (socket->flush())
                    sinceProgress.start();
            }
            unsent = link->bytesToWrite();
        }
    });
    thread.start();
    QTRY_VERIFY(link);
    link->send(LinkFixture::broadcast(0));
    QTRY_COMPARE_WITH_TIMEOUT(received, kCount, 60000);
    QVERIFY(ordered);
    QVERIFY2(unsent > qint64(kCount) * kSize / 2, qPrintable(QString::number(unsent)));
    thread.exit(0);
}

void TestConnectionThread::ownerKeepsItsTurnDuringAFlood()
{
    LinkFixture f;
    QVERIFY(f.connected());
    int ticks = 0;
    int afterTicks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(0);
    connect(f.thread.data(), &CConnectionThread::SignalNewJob, [&] {
        afterTicks = ticks;
        f.link->send(LinkFixture::broadcast(1)); // one more for each: the inbox never runs dry
    });
    for (quint32 i = 0; i < 2000; ++i)
        f.link->send(LinkFixture::broadcast(i));
    QTRY_VERIFY(f.messages.size() > 4000);
    QVERIFY(afterTicks > 5);
}

void TestConnectionThread::malformedBytesEndTheLink_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("trace");
    QTest::newRow("no frame") << QByteArray("GET / HTTP/1.1\r\n\r\n") << QStringLiteral("no chunk at byte ");
    QTest::newRow("oversize") << QByteArray("\n#4294967295\n")
                              << QStringLiteral("message too large at byte ");
    QTest::newRow("no XML") << QByteArray("\n#5\nhello\n##\n")
                            << QStringLiteral("content before the root element");
    QTest::newRow("no message") << QByteArray("\n#4\n<a/>\n##\n")
                                << QStringLiteral("line 1, column 1: unknown root element");
    const QByteArray deep = QByteArray("<a>").repeated(100000);
    QTest::newRow("deep") << "\n#300000\n" + deep + "\n##\n" << QStringLiteral("nested too deep");
}

void TestConnectionThread::malformedBytesEndTheLink()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, trace);
    LinkFixture f;
    QVERIFY(f.connected());
    f.link->send(f.broadcast(1));
    f.link->sendRaw(bytes + "\n#5\nafter\n##\n");
    f.link->send(f.broadcast(2));
    QTRY_COMPARE(f.states.last(), QAbstractSocket::UnconnectedState);
    QTRY_VERIFY(f.server.links().isEmpty());
    QCOMPARE(f.messages.size(), 1);
    QCOMPARE(f.errors, QList<QAbstractSocket::SocketError>{QAbstractSocket::UnknownSocketError});
    QCOMPARE(f.traces.count(trace), 1);
    QCOMPARE(f.traces.count(QStringLiteral("127.0.0.1:%1: ").arg(f.server.port())), 1);
    QVERIFY(f.thread->isRunning());
    f.thread->sendMessage(f.request(), 0);
    f.thread->exit(0);
    QVERIFY(f.thread->waitForFinished(1000));
}

void TestConnectionThread::clientsMalformedBytesEndItsLinkOnly()
{
    LinkFixture f;
    QVERIFY(f.connected());
    QTcpSocket client;
    client.connectToHost(QHostAddress::LocalHost, f.server.port());
    QTRY_COMPARE(f.server.links().size(), 2);
    QSignalSpy closed(f.server.links().last(), &CServerLink::Closed);
    client.write("\n#1\nx\n##\n");
    QTRY_COMPARE(closed.size(), 1);
    QVERIFY(closed[0][0].toString().contains(QLatin1String("line 1, column 1: ")));
    QCOMPARE(f.traces.count(QStringLiteral("content before the root element")), 1);
    QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
    f.thread->sendMessage(f.request(), 0);
    QTRY_COMPARE(f.messages.size(), 1);
}

void TestConnectionThread::nestedEventLoopInASlot()
{
    LinkFixture f;
    QVERIFY(f.connected());
    QList<quint64> finished;
    QList<quint64> begun;
    connect(f.thread.data(), &CConnectionThread::SignalNewJob, [&](const ptrCXmlMessage& message) {
        const quint64 number = message->getFragment(0).getDataTree().root().attributeToUInt("number");
        begun.append(number);
        // Waits for all that follow, which arrived together with this one.
        if (number == 0)
            QVERIFY(QTest::qWaitFor([&] { return begun.size() == 300; }));
        finished.append(number);
    });
    for (quint32 i = 0; i < 300; ++i)
        f.link->send(f.broadcast(i));
    QTRY_COMPARE(finished.size(), 300);
    for (int i = 0; i < 300; ++i)
        QCOMPARE(begun[i], quint64(i));
    QCOMPARE(finished.last(), quint64(0));
}

void TestConnectionThread::serverSlotsMayDeleteTheLink()
{
    LinkFixture f([](CServerLink* link, const CXmlMessage&) { delete link; });
    QVERIFY(f.connected());
    f.thread->sendMessage(f.request(), 0);
    f.thread->sendMessage(f.request(), 0);
    QTRY_COMPARE(f.errors, QList<QAbstractSocket::SocketError>{QAbstractSocket::RemoteHostClosedError});
    QVERIFY(f.server.links().isEmpty());
    QCOMPARE(f.requests, 1);
}

QTEST_GUILESS_MAIN(TestConnectionThread)
#include "tst_connectionthread.moc"
