#include "connectionclient.h"

#include <koltacommon/koltaconnectionsviewer.h>
#include <support/test.h>

#include <xmlmessaging/converters.h>

using namespace ConnectionClient;
using XmlCommon::CXmlMessage;

/// The queue of a connection, and what is made of what comes back.
class tst_KoltaConnection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        // Every transport thread that a test started must end.
        QTRY_COMPARE(Kolta::KoltaConnectionsViewer::Instance().connections().size(), 0);
    }

    void splitsHostAndPort()
    {
        const char* const table[][2] = {{"10.0.0.1:1234", "10.0.0.1,1234"},
                                        {"::1:1234", "::1,1234"},
                                        {"[::1]:1234", "::1,1234"},
                                        {"10.0.0.1", ",0"},
                                        {"10.0.0.1:abc", "10.0.0.1,0"},
                                        {"10.0.0.1:70000", "10.0.0.1,0"},
                                        {":1234", ",1234"}};
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
        // A reply that answers nothing is told too, and handled all the same.
        peer.rule = [&](const CXmlMessage& message) {
            CXmlMessage reply = peer.replyTo(message);
            reply.clearFragments();
            peer.send(reply);
        };
        client.execute("unanswered");
        QTRY_VERIFY(client.connection->isIdle());
        QCOMPARE(client.answered, words("taking unanswered"));
        CXmlMessage broadcast = *makeRequest("x"_s, CXmlMessage::eSERVICE_BROADCAST);
        broadcast.getFragment(0).setFaultTree(XmlCommon::CFaultTree(8, 1));
        peer.send(broadcast);
        QTRY_COMPARE(client.said, words("opened fault fault fault broadcast"));
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
            if (!waitFor([&] { return client.answered.contains("cut"_s); }))
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
