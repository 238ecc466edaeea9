#include "linkfixture.h"
#include <support/test.h>

#include <QTcpServer>
#include <QTcpSocket>

using namespace XmlCommon;
using namespace XmlCommunication;
using namespace GLOBAL_XML_TYPES;

class TestConnectionThread : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// It takes long, and a process that ends meanwhile dies of it.
    void plainLinksDoNotLoadTls()
    {
        LinkFixture f;
        QVERIFY(f.connected());
        QFile libraries("/proc/self/maps"_s);
        QVERIFY(libraries.open(QIODevice::ReadOnly));
        QVERIFY(!libraries.readAll().contains("/libssl.so"));
    }

    void requestsQueuedBeforeTheLinkIsUp()
    {
        LinkFixture f;
        QList<ptrCXmlMessage> requests;
        for (int i = 0; i < 50; ++i) {
            requests.append(f.request(QString::number(i)));
            f.thread->sendMessage(requests.last(), 0);
        }
        f.thread->start();
        QTRY_COMPARE(f.messages.size(), 50);
        for (int i = 0; i < 50; ++i) {
            QCOMPARE(f.messages[i].data(), requests[i].data()); // the reply fills the sender's own object
            QCOMPARE(requests[i]->getFragment(0).getDataTree().root().text(), QString::number(i));
        }
    }

    void wrongAndDuplicateReplies()
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

    void floodOfBroadcastsStaysBoundedAndInOrder()
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
        CConnectionThread thread("127.0.0.1"_s, server.port());
        int received = 0;
        bool ordered = true;
        qint64 unsent = 0;
        connect(&thread, &CConnectionThread::SignalNewJob, [&](const ptrCXmlMessage& message) {
            const quint64 number = message->getFragment(0).getDataTree().root().attributeToUInt("number");
            ordered = ordered && number == quint64(received);
            if (++received == 1) {
                // While this slot holds the owner's thread the link must stop to read, so most cannot leave
                // the server.
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
        QTRY_COMPARE(received, kCount);
        QVERIFY(ordered);
        QVERIFY2(unsent > qint64(kCount) * kSize / 2, qPrintable(QString::number(unsent)));
        thread.exit(0);
    }

    void ownerKeepsItsTurnDuringAFlood()
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

    void clientsMalformedBytesEndItsLinkOnly()
    {
        LinkFixture f;
        QVERIFY(f.connected());
        QTcpSocket client;
        client.connectToHost(QHostAddress::LocalHost, f.server.port());
        QTRY_COMPARE(f.server.links().size(), 2);
        QSignalSpy closed(f.server.links().last(), &CServerLink::Closed);
        client.write("\n#1\nx\n##\n");
        QTRY_COMPARE(closed.size(), 1);
        QVERIFY(closed[0][0].toString().contains("line 1, column 1: "_s));
        QCOMPARE(f.traces.count("content before the root element"_s), 1);
        QTRY_COMPARE(client.state(), QAbstractSocket::UnconnectedState);
        f.thread->sendMessage(f.request(), 0);
        QTRY_COMPARE(f.messages.size(), 1);
    }

    void serverSlotsMayDeleteTheLink()
    {
        LinkFixture f([](CServerLink* link, const CXmlMessage&) { delete link; });
        QVERIFY(f.connected());
        f.thread->sendMessage(f.request(), 0);
        f.thread->sendMessage(f.request(), 0);
        QTRY_COMPARE(f.errors, QList<QAbstractSocket::SocketError>{QAbstractSocket::RemoteHostClosedError});
        QVERIFY(f.server.links().isEmpty());
        QCOMPARE(f.requests, 1);
    }
};

KOLTA_TEST(TestConnectionThread);
#include "tst_connectionthread.moc"
