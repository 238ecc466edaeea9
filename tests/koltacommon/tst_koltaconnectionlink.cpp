#include "connectionclient.h"

#include <koltacommon/koltaconnectionsviewer.h>
#include <support/signalrecorder.h>
#include <support/test.h>

#include <xmlmessaging/logger.h>

#include <tuple>

#include <sys/resource.h>

using namespace ConnectionClient;
using XmlCommon::CXmlMessage;

/// The life of a connection's link: opened, lost, opened again, closed; and who is told of it.
class tst_KoltaConnectionLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        // Every transport thread that a test started must end.
        QTRY_COMPARE(Kolta::KoltaConnectionsViewer::Instance().connections().size(), 0);
    }

    /// Runs first: a thread that has ended leaves its stack to the next one.
    void endsWhenThereIsNoThread()
    {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        QSKIP("sanitizers need all the address space");
#else
        ScriptedPeer peer;
        Client client(peer.host());
        rlimit before{};
        QCOMPARE(getrlimit(RLIMIT_AS, &before), 0);
        QFile pages("/proc/self/statm"_s);
        QVERIFY(pages.open(QIODevice::ReadOnly));
        rlimit tight = before; // no room for a stack
        tight.rlim_cur = pages.readAll().split(' ').first().toULongLong() * 4096 + (1 << 20);
        QCOMPARE(setrlimit(RLIMIT_AS, &tight), 0);
        client.connection->open();
        QCOMPARE(setrlimit(RLIMIT_AS, &before), 0);
        QTRY_COMPARE(client.said, words("SocketResource closed"));
#endif
    }

    void reconnectsAndResends_data()
    {
        const Rows<int, QString> row("cutAt trace"); // byte of the reply; -1: reset, -2: garbage
        row("closed", 0, "closed"_s);
        row("reset", -1, QString());
        for (const int bytes : {1, 5, 40})
            row(qPrintable("cut at byte %1"_s.arg(bytes)), bytes, "stream ends inside a message at byte ");
        row("garbage", -2, "no chunk at byte "_s);
    }

    void reconnectsAndResends()
    {
        QFETCH(int, cutAt);
        QFETCH(QString, trace);
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        peer.log.clear();
        peer.rule = [&](const CXmlMessage& message) {
            if (peer.linksOpened > 1 || message.getFragment(0).getComponentName() != "b"_s)
                peer.answer(message);
            else if (cutAt >= 0)
                peer.answerCutAt(message, cutAt);
            else if (cutAt == -1)
                peer.link->abort();
            else
                peer.link->sendRaw("garbage");
        };
        Startup::TraceRecorder recorder;
        for (const char* component : {"a", "b", "c"})
            client.execute(component);
        QTRY_VERIFY(client.said.count("opened"_s) == 2 && client.connection->isIdle());
        // The filter's object has been answered before and yet goes out as the command that it is.
        QCOMPARE(peer.log, words("1:a:1 1:b:1 2:b:1 2:c:1 2:RequestTree:2 2:EventFilter:2"));
        QCOMPARE(client.answered, words("a b c"));
        QCOMPARE(client.said,
                 words(cutAt == -2 ? "opened Unknown opened" : "opened RemoteHostClosed opened"));
        QCOMPARE(recorder.count(trace), 1);
    }

    void failsForGood_data()
    {
        const Rows<QString> row("said");
        for (const char* const said : {"ConnectionRefused closed", "opened RemoteHostClosed closed",
                                       "opened RemoteHostClosed ConnectionRefused closed"})
            row(said, said);
    }

    void failsForGood()
    {
        QFETCH(QString, said);
        const bool refuse = said.contains("Refused"_s);
        ScriptedPeer peer;
        Client client(peer.host());
        if (refuse && said.startsWith("opened"_s))
            QVERIFY(client.openAndSettle());
        if (refuse) {
            // Stops listening; a link that is open stays for a moment.
            const QPointer<XmlCommunication::CServerLink> link = peer.link;
            peer.server.close();
            if (link)
                link->abort();
        }
        peer.rule = [&](const CXmlMessage&) { peer.link->close(); };
        client.execute("a");
        client.connection->open();
        QTRY_VERIFY(client.said.contains("closed"_s));
        QCOMPARE(client.said.join(QLatin1Char(' ')), said);
        QCOMPARE(client.answered, words(said.startsWith("opened R"_s) ? "a2+" : "a2"));
        QVERIFY(!client.connection->isOpen() && !client.connection->hasRequestsPending());
        // Stays closed for requests, also when opened again.
        client.execute("b");
        QVERIFY(!client.connection->hasRequestsPending() && !client.connection->isIdle());
    }

    void closes()
    {
        for (const bool discard : {true, false}) {
            ScriptedPeer peer;
            Client client(peer.host());
            client.connection->close(discard); // nothing to close yet
            QVERIFY(client.openAndSettle());
            for (const char* component : {"a", "b", "c"})
                client.execute(component);
            client.connection->close(discard);
            client.execute("refused");
            QTRY_COMPARE(client.said, words("opened closed"));
            QCOMPARE(client.answered, words(discard ? "a1+ b1 c1 refused0" : "refused0 a b c"));
        }
    }

    void closesAndWaits()
    {
        for (const bool sendPending : {false, true}) {
            ScriptedPeer peer;
            Client client(peer.host());
            QVERIFY(client.connection->closeAndWaitForFinished(0, sendPending));
            QVERIFY(client.openAndSettle());
            peer.log.clear();
            peer.rule = [](const CXmlMessage&) {};
            for (const char* component : {"a", "b", "c"})
                client.execute(component);
            QVERIFY(client.connection->closeAndWaitForFinished(5000, sendPending));
            QTRY_COMPARE(client.said, words("opened closed"));
            QTRY_COMPARE(peer.linksClosed, 1);
            // The one in flight is sent once more.
            QCOMPARE(peer.log, sendPending ? words("1:a:1 1:a:1 1:b:1 1:c:1") : words("1:a:1"));
            QCOMPARE(client.answered, words(sendPending ? "a1+ b1+ c1+" : "a1+ b1 c1"));
        }
    }

    void deliversWhileItIsStillConnecting()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        client.execute("a");
        client.connection->open();
        QVERIFY(client.connection->closeAndWaitForFinished(5000, true));
        QTRY_COMPARE(peer.log, words("1:RequestTree:2 1:a:1"));
        QCOMPARE(client.answered, words("a1+"));
    }

    /// A peer that does not read holds up what is still to be sent.
    void closingMayOutlastTheWait()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        peer.link->setReading(false);
        for (int i = 0; i < 100; ++i)
            client.connection->executeRequest(new GeneralRequest(makeRequest("a"_s, 1, 200000)));
        QVERIFY(!client.connection->closeAndWaitForFinished(1, true));
        QTRY_COMPARE(client.said, words("opened closed"));
    }

    /// The link is listed from open() until its object is gone, and logged under the name that it was given.
    void isListedAndLogged()
    {
        const QTemporaryDir folder;
        auto& logger = XmlCommunication::logger::Logger::instance();
        logger.setDirectory(folder.path());
        auto& list = Kolta::KoltaConnectionsViewer::Instance();
        SignalRecorder recorder(list);
        ScriptedPeer peer;
        const QString address = "_127.0.0.1_port%1"_s.arg(peer.server.port());
        const std::tuple<QString, bool, QString> names[] = {{"desk"_s, true, "desk"_s + address},
                                                            {"desk"_s, false, "desk"_s},
                                                            {QString(), true, "K"_s + address},
                                                            {QString(), false, "K"_s}};
        for (const auto& [description, appendAddress, name] : names) {
            Client client(peer.host());
            client.connection->setLogDescription(description, appendAddress);
            QVERIFY(client.openAndSettle());
            QVERIFY2(QFile::exists(logger.fileName(name)), qPrintable(name));
            QCOMPARE(list.connections().size(), 1);
            const Kolta::KoltaConnectionEntry entry = list.connections().first();
            QCOMPARE(entry.host + QString::number(entry.port),
                     "127.0.0.1"_s + QString::number(peer.server.port()));
            const QString told =
                "linkChanged %2 connectionAdded %1 linkChanged %2 linkChanged %2 connectionRemoved %1"_s
                    .arg(entry.linkId)
                    .arg(list.links().first().id);
            delete client.connection;
            QTRY_VERIFY(list.connections().isEmpty());
            QVERIFY(list.links().isEmpty());
            QCOMPARE(recorder.taken(), told);
        }
        logger.setDirectory(QString());
    }

    /// What takes the subscription's place is sent from the next link on.
    void subscriptionsCountFromTheNextLinkOn()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        client.connection->setEventFilterRequests({ptrKoltaRequest(new Recorded("one"_s, client.answered)),
                                                   ptrKoltaRequest(new Recorded("two"_s, client.answered))});
        for (const char* const sent : {"2:RequestTree:2 2:one:1 2:two:1", "3:RequestTree:2"}) {
            QVERIFY(client.connection->isIdle());
            peer.log.clear();
            peer.link->abort();
            QTRY_COMPARE(peer.log, words(sent));
            QTRY_VERIFY(client.connection->isIdle());
            client.connection->DisableFilter();
        }
        QCOMPARE(client.answered, words("one two"));
    }

    void doesNotPileUpStartUps()
    {
        constexpr int requests = 30;
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        peer.log.clear();
        peer.rule = [&](const CXmlMessage& message) {
            peer.answer(message);
            if (peer.linksOpened <= requests)
                peer.link->close();
        };
        for (int i = 0; i < requests; ++i)
            client.execute("a");
        QTRY_VERIFY(peer.linksOpened > requests && client.connection->isIdle());
        QCOMPARE(client.answered.size(), requests);
        QVERIFY2(peer.log.filter("RequestTree"_s).size() <= 3, qPrintable(peer.log.join(QLatin1Char(' '))));
    }
};

KOLTA_TEST(tst_KoltaConnectionLink);
#include "tst_koltaconnectionlink.moc"
