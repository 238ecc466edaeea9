#include "scriptedpeer.h"

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>

#include <startup/errorhandler.h>
#include <xmlmessaging/converters.h>

#include <QFile>
#include <QPointer>
#include <QtTest>

#include <stdexcept>

#include <sys/resource.h>

using Kolta::GeneralRequest;
using Kolta::KoltaConnection;
using Kolta::ptrKoltaRequest;
using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;

namespace {

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

using OnReply = std::function<ptrKoltaRequest()>;

/// Writes its component's name into a list when it is answered; when it is abandoned, followed by the
/// reason's number and "+" if it was sent.
class Recorded : public GeneralRequest
{
public:
    Recorded(const QString& component, QStringList& list, const OnReply& onReply = OnReply())
        : GeneralRequest(makeRequest(component)), name(component), answered(list), action(onReply)
    {
    }
    XmlCommon::ptrCXmlMessage& getMessage() override
    {
        if (throwOnGet-- == 1)
            throw std::runtime_error("no message");
        return GeneralRequest::getMessage();
    }
    ptrKoltaRequest processReply(ptrCXmlMessage reply) override
    {
        answered.append(reply->getFragment(0).getComponentName());
        return action ? action() : ptrKoltaRequest();
    }
    bool handleFault() override { return takesFaults; }
    void abandoned(Kolta::Abandonment why, bool wasSent) override
    {
        answered.append(name + QString::number(int(why)) + text(wasSent ? "+" : ""));
        if (action)
            action();
    }

    bool takesFaults = false;
    int throwOnGet = 0; ///< the n-th call throws

private:
    const QString name;
    QStringList& answered;
    OnReply action;
};

QStringList words(const char* list)
{
    return text(list).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// A connection to a peer, with everything that it says.
struct Client
{
    explicit Client(const QString& host)
        : connection(new KoltaConnection(text("K"), text("1.0"), host, false))
    {
        KoltaConnection* const c = connection;
        QObject::connect(c, &KoltaConnection::Broadcast, c, [this] { say(text("broadcast")); });
        QObject::connect(c, &KoltaConnection::ConnectionClosed, c, [this] { say(text("closed")); });
        QObject::connect(c, &KoltaConnection::ConnectionError, c, [this](const QString& word) { say(word); });
        QObject::connect(c, &KoltaConnection::ConnectionOpened, c, [this] { say(text("opened")); });
        QObject::connect(c, &KoltaConnection::Fault, c, [this] { say(text("fault")); });
    }
    ~Client() { delete connection.data(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    Recorded* execute(const char* component, const OnReply& onReply = OnReply())
    {
        auto* const request = new Recorded(text(component), answered, onReply);
        connection->executeRequest(request);
        return request;
    }
    bool openAndSettle()
    {
        connection->open();
        return QTest::qWaitFor([this] { return said.contains(text("opened")) && connection->isIdle(); });
    }

    void say(const QString& what)
    {
        said.append(what);
        if (what == deleteAt)
            delete connection.data();
    }

    QPointer<KoltaConnection> connection;
    QString deleteAt; ///< what the connection says when it is deleted
    QStringList said;
    QStringList answered;
};

} // namespace

class tst_KoltaConnection : public QObject
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
        QFile pages(text("/proc/self/statm"));
        QVERIFY(pages.open(QIODevice::ReadOnly));
        rlimit tight = before; // no room for a stack
        tight.rlim_cur = pages.readAll().split(' ').first().toULongLong() * 4096 + (1 << 20);
        QCOMPARE(setrlimit(RLIMIT_AS, &tight), 0);
        client.connection->open();
        QCOMPARE(setrlimit(RLIMIT_AS, &before), 0);
        QTRY_COMPARE(client.said, words("SocketResource closed"));
#endif
    }

    void splitsHostAndPort()
    {
        const char* const table[][2] = {
            {"10.0.0.1:1234", "10.0.0.1,1234"}, {"::1:1234", "::1,1234"},         {"10.0.0.1", ",0"},
            {"10.0.0.1:abc", "10.0.0.1,0"},     {"10.0.0.1:70000", "10.0.0.1,0"}, {":1234", ",1234"}};
        for (const auto& [given, parts] : table) {
            const KoltaConnection connection(text("a%2"), text("1.0"), text(given), false);
            QCOMPARE(connection.getInfo(), QString(text("KoltaConnection(a%2,") + text(parts) + text(")")));
        }
    }

    void describesMessagesAndErrors()
    {
        const ptrCXmlMessage message = makeRequest(text("Tuner"), 4);
        message->setMessageID(7);
        message->addFragment(XmlCommon::CMsgFragment(text("Other")));
        message->getFragment(1).setDataTree(XmlCommon::CDataTree(QLatin1String("State")));
        message->getFragment(1).setFaultTree(XmlCommon::CFaultTree(12, 1));
        const QString fault = text("<No description because of unknown Fault ID: 12>");
        const QString line1 = text("CommandReply ID: 7 Tuner <Request> Ask\n");
        QCOMPARE(KoltaConnection::getShortInfo(message),
                 QString(line1 + text("CommandReply ID: 7 Other <Data> State <Fault> ") + fault));
        QCOMPARE(KoltaConnection::getFaultText(message), fault);
        QVERIFY(KoltaConnection::getFaultText(message->getFragment(0)).isNull());
        QVERIFY(!KoltaConnection::hasFault(ptrCXmlMessage()));
        QCOMPARE(KoltaConnection::getSocketError(QAbstractSocket::ProxyProtocolError), text("ProxyProtocol"));
    }

    void startsUpBehindTheQueue()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        client.execute("a");
        client.connection->executeRequest(new GeneralRequest); // no fragment
        client.connection->executeRequest(ptrKoltaRequest());
        client.execute("b");
        QVERIFY(client.openAndSettle());
        QCOMPARE(peer.log, words("1:a:1 1:b:1 1:RequestTree:2 1:EventFilter:2"));
        QCOMPARE(client.answered, words("a b"));
        QCOMPARE(client.said, words("opened"));
        for (const ptrCXmlMessage& message : qAsConst(peer.messages))
            QCOMPARE(message->getAvailableTime(), 6000000u);
        const XmlCommon::CRequestTree tree = peer.messages.at(2)->getFragment(0).getRequestTree();
        QVERIFY(!XmlCommunication::CRequestTreeConverter(tree).getRequestTreeSuppression());
    }

    void reconnectsAndResends_data()
    {
        QTest::addColumn<int>("cutAt"); ///< byte of the reply; -1: reset, -2: garbage
        QTest::addColumn<QString>("trace");
        QTest::newRow("closed") << 0 << text("closed");
        QTest::newRow("reset") << -1 << QString();
        for (const int bytes : {1, 5, 40})
            QTest::addRow("cut at byte %d", bytes) << bytes << text("stream ends inside a message at byte ");
        QTest::newRow("garbage") << -2 << text("no chunk at byte ");
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
            if (peer.linksOpened > 1 || message.getFragment(0).getComponentName() != text("b"))
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
        QTRY_VERIFY(client.said.count(text("opened")) == 2 && client.connection->isIdle());
        // The filter's object has been answered before and yet goes out as the command that it is.
        QCOMPARE(peer.log, words("1:a:1 1:b:1 2:b:1 2:c:1 2:RequestTree:2 2:EventFilter:2"));
        QCOMPARE(client.answered, words("a b c"));
        QCOMPARE(client.said,
                 words(cutAt == -2 ? "opened Unknown opened" : "opened RemoteHostClosed opened"));
        QCOMPARE(recorder.count(trace), 1);
    }

    void failsForGood_data()
    {
        QTest::addColumn<QString>("said");
        for (const char* const said : {"ConnectionRefused closed", "opened RemoteHostClosed closed",
                                       "opened RemoteHostClosed ConnectionRefused closed"})
            QTest::newRow(said) << text(said);
    }
    void failsForGood()
    {
        QFETCH(QString, said);
        const bool refuse = said.contains(text("Refused"));
        ScriptedPeer peer;
        Client client(peer.host());
        if (refuse && said.startsWith(text("opened")))
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
        QTRY_VERIFY(client.said.contains(text("closed")));
        QCOMPARE(client.said.join(QLatin1Char(' ')), said);
        QCOMPARE(client.answered, words(said.startsWith(text("opened R")) ? "a2+" : "a2"));
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

    void warnsOfLongQueues()
    {
        Startup::TraceRecorder recorder;
        Client client(text("127.0.0.1:1"));
        for (int n = 1; n <= 2001; ++n) {
            client.execute("a");
            QCOMPARE(recorder.records().size(), n / 1000);
        }
        const Startup::TraceRecord second = recorder.records().at(1);
        QCOMPARE(second.text, text("!!! Warning: 2000 requests in connection queue (K) !!!"));
        QCOMPARE(second.source, text("devicecontrol/kolta/koltacommon/koltaconnection"));
        QCOMPARE(second.line, 288);
        QCOMPARE(second.channel, quint32(Startup::eTrace));
    }

    /// Whatever a reply looks like, the request goes out a second time as it did the first time.
    void sendsAnsweredRequestsAsTheyWere()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        peer.rule = [&](const CXmlMessage& message) {
            CXmlMessage odd = peer.replyTo(message);
            odd.addFragment(XmlCommon::CMsgFragment(text("surplus")));
            if (peer.messages.size() == 2)
                odd.setServiceType(CXmlMessage::eSERVICE_COMMAND_REPLY);
            peer.send(odd);
        };
        const ptrKoltaRequest request(new Recorded(text("a"), client.answered));
        for (int i = 0; i < 3; ++i)
            client.connection->executeRequest(request);
        QVERIFY(client.openAndSettle());
        QCOMPARE(client.answered, words("a a a"));
        QCOMPARE(peer.log.mid(0, 3), words("1:a:1 1:a:1 1:a:1"));
        QCOMPARE(peer.messages.at(2)->getNumberOfFragments(), 1);
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
        QTRY_VERIFY_WITH_TIMEOUT(peer.linksOpened > requests && client.connection->isIdle(), 20000);
        QCOMPARE(client.answered.size(), requests);
        QVERIFY2(peer.log.filter(text("RequestTree")).size() <= 3,
                 qPrintable(peer.log.join(QLatin1Char(' '))));
    }

    void routesFaults()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        peer.rule = [&](const CXmlMessage& message) { peer.answerWithFault(message, 7); };
        client.execute("silent");
        client.execute("taking")->takesFaults = true;
        QTRY_VERIFY(client.connection->isIdle());
        QCOMPARE(client.answered, words("taking"));
        CXmlMessage broadcast = *makeRequest(text("x"), CXmlMessage::eSERVICE_BROADCAST);
        broadcast.getFragment(0).setFaultTree(XmlCommon::CFaultTree(8, 1));
        peer.send(broadcast);
        QTRY_COMPARE(client.said, words("opened fault fault broadcast"));
    }

    void survivesThrowingRequests()
    {
        Startup::TraceRecorder recorder;
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        connect(client.connection, &KoltaConnection::Broadcast, [] { throw 5; });
        peer.send(*makeRequest(text("x"), CXmlMessage::eSERVICE_BROADCAST));
        QTRY_COMPARE(recorder.count(text("caught exception from a receiver: unknown")), 1);
        client.execute("a", []() -> ptrKoltaRequest { throw std::runtime_error("bad reply"); });
        client.execute("b", []() -> ptrKoltaRequest { throw 5; });
        client.execute("unsendable")->throwOnGet = 1;
        client.execute("c");
        auto* const refused = new Recorded(text("refused"), client.answered);
        refused->throwOnGet = 1;
        client.connection->executeRequest(refused);
        QTRY_VERIFY(client.connection->isIdle());
        QCOMPARE(client.answered, words("refused0 a b unsendable0 c"));
        QCOMPARE(recorder.count(text("caught exception from KoltaRequest::processReply bad reply")), 1);
        QCOMPARE(recorder.count(text("exception caught in sendNextRequest")), 1);
        QCOMPARE(recorder.count(text("caught exception from KoltaRequest::executeRequest no message")), 1);
    }

    void survivesThrowingReceivers()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        connect(client.connection, &KoltaConnection::ConnectionError,
                [] { throw std::runtime_error("bad"); });
        connect(client.connection, &KoltaConnection::Fault, [] { throw 5; });
        CXmlMessage broadcast = *makeRequest(text("x"), CXmlMessage::eSERVICE_BROADCAST);
        broadcast.getFragment(0).setFaultTree(XmlCommon::CFaultTree(8, 1));
        peer.send(broadcast);
        QTRY_COMPARE(client.said, words("opened fault broadcast"));
        peer.link->close();
        QTRY_COMPARE(client.said.join(QLatin1Char(' ')),
                     text("opened fault broadcast RemoteHostClosed opened"));
    }

    /// The start-up exchange of the next link takes out of the queue what the last one has left there, and
    /// nothing else, even if it is the same request.
    void keepsAFilterThatIsARequestToo()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        const ptrKoltaRequest filter(new Recorded(text("filter"), client.answered));
        client.connection->setEventFilterRequests({filter});
        QVERIFY(client.openAndSettle());
        peer.rule = [&](const CXmlMessage& message) {
            if (peer.linksOpened == 1)
                peer.link->close();
            else
                peer.answer(message);
        };
        client.answered.clear();
        client.execute("a");
        client.connection->executeRequest(filter);
        QTRY_VERIFY(peer.linksOpened == 2 && client.connection->isIdle());
        QCOMPARE(client.answered, words("a filter filter"));
    }

    void mayBeDeletedAnywhere_data()
    {
        QTest::addColumn<QString>("where");
        for (const char* where :
             {"broadcast", "closed", "RemoteHostClosed", "opened", "fault", "reply", "abandoned"})
            QTest::newRow(where) << text(where);
    }
    void mayBeDeletedAnywhere()
    {
        QFETCH(QString, where);
        ScriptedPeer peer;
        Client client(peer.host());
        client.deleteAt = where;
        peer.rule = [&](const CXmlMessage& message) {
            const QString component = message.getFragment(0).getComponentName();
            if (component == text("fault"))
                peer.answerWithFault(message, 1);
            else if (component == text("end"))
                peer.link->close();
            else
                peer.answer(message);
            peer.send(*makeRequest(text("x"), CXmlMessage::eSERVICE_BROADCAST));
        };
        if (where == text("closed") || where == text("abandoned"))
            peer.rule = [&](const CXmlMessage&) { peer.link->close(); };
        client.execute("reply", [&] {
            client.say(where == text("abandoned") ? where : text("reply"));
            return ptrKoltaRequest();
        });
        for (const char* component : {"fault", "end", "never"})
            client.execute(component);
        client.connection->open();
        QTRY_VERIFY(client.connection.isNull());
        QTRY_COMPARE(peer.linksClosed, peer.linksOpened);
    }

    void allowsNestedEventLoops()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        peer.rule = [&](const CXmlMessage& message) {
            if (peer.linksOpened == 1 && message.getFragment(0).getComponentName() == text("cut"))
                peer.link->abort();
            else
                peer.answer(message);
        };
        // The link is lost and replaced while the first reply is still being handled.
        client.execute("outer", [&] {
            client.execute("cut");
            if (!QTest::qWaitFor([&] { return client.answered.contains(text("cut")); }))
                return ptrKoltaRequest();
            return ptrKoltaRequest(new Recorded(text("after"), client.answered));
        });
        QTRY_VERIFY(client.answered.contains(text("after")) && client.connection->isIdle());
        QCOMPARE(client.answered, words("outer cut after"));
        QCOMPARE(client.said, words("opened RemoteHostClosed opened"));
    }
};

QTEST_GUILESS_MAIN(tst_KoltaConnection)
#include "tst_koltaconnection.moc"
