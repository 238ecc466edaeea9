#include <support/scriptedpeer.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/koltaconnectionsviewer.h>
#include <support/rows.h>
#include <support/signalrecorder.h>
#include <support/testprogram.h>
#include <support/text.h>

#include <startup/errorhandler.h>
#include <xmlmessaging/converters.h>
#include <xmlmessaging/logger.h>

#include <QFile>
#include <QPointer>
#include <QTemporaryDir>
#include <QtTest>

#include <stdexcept>
#include <tuple>

#include <sys/resource.h>

using Kolta::GeneralRequest;
using Kolta::KoltaConnection;
using Kolta::ptrKoltaRequest;
using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;

namespace {

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
        answered.append(name + QString::number(int(why)) + QString::fromLatin1(wasSent ? "+" : ""));
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

/// A connection to a peer, with everything that it says.
struct Client
{
    explicit Client(const QString& host) : connection(new KoltaConnection("K"_s, "1.0"_s, host, false))
    {
        KoltaConnection* const c = connection;
        QObject::connect(c, &KoltaConnection::Broadcast, c, [this] { say("broadcast"_s); });
        QObject::connect(c, &KoltaConnection::ConnectionClosed, c, [this] { say("closed"_s); });
        QObject::connect(c, &KoltaConnection::ConnectionError, c, [this](const QString& word) { say(word); });
        QObject::connect(c, &KoltaConnection::ConnectionOpened, c, [this] { say("opened"_s); });
        QObject::connect(c, &KoltaConnection::Fault, c, [this] { say("fault"_s); });
    }
    ~Client() { delete connection.data(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    Recorded* execute(const char* component, const OnReply& onReply = OnReply())
    {
        auto* const request = new Recorded(QString::fromLatin1(component), answered, onReply);
        connection->executeRequest(request);
        return request;
    }
    bool openAndSettle()
    {
        connection->open();
        return QTest::qWaitFor([this] { return said.contains("opened"_s) && connection->isIdle(); });
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

    void splitsHostAndPort()
    {
        const char* const table[][2] = {
            {"10.0.0.1:1234", "10.0.0.1,1234"}, {"::1:1234", "::1,1234"},         {"10.0.0.1", ",0"},
            {"10.0.0.1:abc", "10.0.0.1,0"},     {"10.0.0.1:70000", "10.0.0.1,0"}, {":1234", ",1234"}};
        for (const auto& [given, parts] : table) {
            const KoltaConnection connection("a%2"_s, "1.0"_s, QString::fromLatin1(given), false);
            QCOMPARE(connection.getInfo(),
                     QString("KoltaConnection(a%2,"_s + QString::fromLatin1(parts) + ")"_s));
        }
    }

    void describesMessagesAndErrors()
    {
        const ptrCXmlMessage message = makeRequest("Tuner"_s, 4);
        message->setMessageID(7);
        message->addFragment(XmlCommon::CMsgFragment("Other"_s));
        message->getFragment(1).setDataTree(XmlCommon::CDataTree(QLatin1String("State")));
        message->getFragment(1).setFaultTree(XmlCommon::CFaultTree(12, 1));
        const QString fault = "<No description because of unknown Fault ID: 12>"_s;
        const QString line1 = "CommandReply ID: 7 Tuner <Request> Ask\n"_s;
        QCOMPARE(KoltaConnection::getShortInfo(message),
                 QString(line1 + "CommandReply ID: 7 Other <Data> State <Fault> "_s + fault));
        QCOMPARE(KoltaConnection::getFaultText(message), fault);
        QVERIFY(KoltaConnection::getFaultText(message->getFragment(0)).isNull());
        QVERIFY(!KoltaConnection::hasFault(ptrCXmlMessage()));
        QCOMPARE(KoltaConnection::getSocketError(QAbstractSocket::ProxyProtocolError), "ProxyProtocol"_s);
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
            delete client.connection;
            QTRY_VERIFY(list.connections().isEmpty());
            QCOMPARE(recorder.taken(), "connectionAdded %1 connectionRemoved %1"_s.arg(entry.linkId));
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

    void warnsOfLongQueues()
    {
        Startup::TraceRecorder recorder;
        Client client("127.0.0.1:1"_s);
        for (int n = 1; n <= 2001; ++n) {
            client.execute("a");
            QCOMPARE(recorder.records().size(), n / 1000);
        }
        const Startup::TraceRecord second = recorder.records().at(1);
        QCOMPARE(second.text, "!!! Warning: 2000 requests in connection queue (K) !!!"_s);
        QCOMPARE(second.source, "devicecontrol/kolta/koltacommon/koltaconnection"_s);
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
            odd.addFragment(XmlCommon::CMsgFragment("surplus"_s));
            if (peer.messages.size() == 2)
                odd.setServiceType(CXmlMessage::eSERVICE_COMMAND_REPLY);
            peer.send(odd);
        };
        const ptrKoltaRequest request(new Recorded("a"_s, client.answered));
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
        QVERIFY2(peer.log.filter("RequestTree"_s).size() <= 3, qPrintable(peer.log.join(QLatin1Char(' '))));
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
        CXmlMessage broadcast = *makeRequest("x"_s, CXmlMessage::eSERVICE_BROADCAST);
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
        peer.send(*makeRequest("x"_s, CXmlMessage::eSERVICE_BROADCAST));
        QTRY_COMPARE(recorder.count("caught exception from a receiver: unknown"_s), 1);
        client.execute("a", []() -> ptrKoltaRequest { throw std::runtime_error("bad reply"); });
        client.execute("b", []() -> ptrKoltaRequest { throw 5; });
        client.execute("unsendable")->throwOnGet = 1;
        client.execute("c");
        auto* const refused = new Recorded("refused"_s, client.answered);
        refused->throwOnGet = 1;
        client.connection->executeRequest(refused);
        QTRY_VERIFY(client.connection->isIdle());
        QCOMPARE(client.answered, words("refused0 a b unsendable0 c"));
        QCOMPARE(recorder.count("caught exception from KoltaRequest::processReply bad reply"_s), 1);
        QCOMPARE(recorder.count("exception caught in sendNextRequest"_s), 1);
        QCOMPARE(recorder.count("caught exception from KoltaRequest::executeRequest no message"_s), 1);
    }

    void survivesThrowingReceivers()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        QVERIFY(client.openAndSettle());
        connect(client.connection, &KoltaConnection::ConnectionError,
                [] { throw std::runtime_error("bad"); });
        connect(client.connection, &KoltaConnection::Fault, [] { throw 5; });
        CXmlMessage broadcast = *makeRequest("x"_s, CXmlMessage::eSERVICE_BROADCAST);
        broadcast.getFragment(0).setFaultTree(XmlCommon::CFaultTree(8, 1));
        peer.send(broadcast);
        QTRY_COMPARE(client.said, words("opened fault broadcast"));
        peer.link->close();
        QTRY_COMPARE(client.said.join(QLatin1Char(' ')), "opened fault broadcast RemoteHostClosed opened"_s);
    }

    /// The start-up exchange of the next link takes out of the queue what the last one has left there, and
    /// nothing else, even if it is the same request.
    void keepsAFilterThatIsARequestToo()
    {
        ScriptedPeer peer;
        Client client(peer.host());
        const ptrKoltaRequest filter(new Recorded("filter"_s, client.answered));
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
        const Rows<QString> row("where");
        for (const char* where :
             {"broadcast", "closed", "RemoteHostClosed", "opened", "fault", "reply", "abandoned"})
            row(where, where);
    }
    void mayBeDeletedAnywhere()
    {
        QFETCH(QString, where);
        ScriptedPeer peer;
        Client client(peer.host());
        client.deleteAt = where;
        peer.rule = [&](const CXmlMessage& message) {
            const QString component = message.getFragment(0).getComponentName();
            if (component == "fault"_s)
                peer.answerWithFault(message, 1);
            else if (component == "end"_s)
                peer.link->close();
            else
                peer.answer(message);
            peer.send(*makeRequest("x"_s, CXmlMessage::eSERVICE_BROADCAST));
        };
        if (where == "closed"_s || where == "abandoned"_s)
            peer.rule = [&](const CXmlMessage&) { peer.link->close(); };
        client.execute("reply", [&] {
            client.say(where == "abandoned"_s ? where : "reply"_s);
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
            if (peer.linksOpened == 1 && message.getFragment(0).getComponentName() == "cut"_s)
                peer.link->abort();
            else
                peer.answer(message);
        };
        // The link is lost and replaced while the first reply is still being handled.
        client.execute("outer", [&] {
            client.execute("cut");
            if (!QTest::qWaitFor([&] { return client.answered.contains("cut"_s); }))
                return ptrKoltaRequest();
            return ptrKoltaRequest(new Recorded("after"_s, client.answered));
        });
        QTRY_VERIFY(client.answered.contains("after"_s) && client.connection->isIdle());
        QCOMPARE(client.answered, words("outer cut after"));
        QCOMPARE(client.said, words("opened RemoteHostClosed opened"));
    }
};

KOLTA_TEST(tst_KoltaConnection);
#include "tst_koltaconnection.moc"
