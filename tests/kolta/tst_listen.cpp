#include <simulation/faultids.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>
#include <support/program.h>
#include <support/test.h>
#include <xmlmessaging/server.h>

using KoltaSimulation::SimulatedServer;

namespace {

KoltaSimulation::Installation sampleInstallation;

/// A server that says what it is told.
struct Station
{
    Station() : server(sampleInstallation)
    {
        if (!server.listen())
            qFatal("cannot listen on loopback");
    }
    /// Behind which nothing that the station says is missed.
    bool isHeardBy(Program& kolta, const QStringList& options = QStringList()) const
    {
        kolta.begin(QStringLiteral(KOLTA_PROGRAM), QStringList{"listen"_s, server.hostAndPort()} + options);
        return kolta.complains("listening to ");
    }
    /// How many links hear of it.
    int sayNews()
    {
        return server.broadcast(QStringLiteral("News"), XmlCommon::CDataTree(QLatin1String("Headline")));
    }
    SimulatedServer server;
};

} // namespace

/// "kolta listen": the one command that stays.
class TestListen : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void printsUntilInterrupted_data();
    void printsUntilInterrupted();
    void countsBroadcasts();
    void outlivesALostLink();
    void endsWithItsReader();
    void sendsBroadcastOnce();
};

void TestListen::initTestCase()
{
    QString error;
    QVERIFY2(sampleInstallation.load(QStringLiteral(KOLTA_INSTALLATION_DIR), error), qPrintable(error));
}

void TestListen::printsUntilInterrupted_data()
{
    const Rows<QString, QByteArray, QByteArray> row("options broadcast fault");
    row("text", "", " Broadcast News <Data> Headline\n",
        " Fault: <No description because of unknown Fault ID: 301> (S1)\n");
    row("texts of faults", "--faults", " Broadcast News <Data> Headline\n",
        " Fault: Internal error in the administration (S1)\n");
    row("JSON", "--json", "{\"component\":\"News\",\"data\":\"<Headline/>\"}",
        "\"fault\":\"<No description because of unknown Fault ID: 301> (S1)\"");
}

void TestListen::printsUntilInterrupted()
{
    QFETCH(QString, options);
    QFETCH(QByteArray, broadcast);
    QFETCH(QByteArray, fault);
    Station station;
    Program kolta;
    QVERIFY(station.isHeardBy(kolta, words(options)));
    QCOMPARE(station.sayNews(), 1);
    QVERIFY(kolta.says(broadcast));
    const XmlCommon::CFaultTree tree(KoltaSimulation::eFaultAdministration, 1, {QStringLiteral("S1")});
    QCOMPARE(station.server.broadcastFault(QStringLiteral("News"), tree), 1);
    QVERIFY(kolta.says(fault));
    kolta.signal(SIGINT);
    QCOMPARE(kolta.result(), 0);
}

void TestListen::countsBroadcasts()
{
    Station station;
    Program kolta;
    QVERIFY(station.isHeardBy(kolta, words("--json --count 3")));
    for (int i = 0; i < 10; ++i)
        station.sayNews();
    QCOMPARE(kolta.result(), 0);
    QCOMPARE(kolta.said().count('\n'), 3);
}

void TestListen::outlivesALostLink()
{
    Station station;
    Program kolta;
    QVERIFY(station.isHeardBy(kolta));
    int news = 0;
    const auto hearsAgain = [&] {
        ++news;
        QVERIFY(kolta.complains(" is up again\n", news));
        QCOMPARE(station.sayNews(), 1); // from that word on nothing is missed
        QVERIFY(kolta.says(" Broadcast News", news));
    };
    for (int cut = 1; cut <= 2; ++cut) {
        station.server.cutLinks();
        hearsAgain();
    }
    station.server.vanish();
    QVERIFY(kolta.complains(": Connection refused; waiting "));
    QVERIFY(station.server.comeBack());
    hearsAgain();
    kolta.signal(SIGINT);
    QCOMPARE(kolta.result(), 0);
    QCOMPARE(kolta.complaints().count(" is up again\n"), news);
}

void TestListen::endsWithItsReader()
{
    for (const char* const reader : {"true", "head -n 1"}) { // gone at once, or after the first line
        Station station;
        const QString script =
            QStringLiteral("{ \"$0\" listen \"$1\"; echo \"exit $?\" >&2; } | ") + QLatin1String(reader);
        Program shell("sh"_s, {"-c"_s, script, QStringLiteral(KOLTA_PROGRAM), station.server.hostAndPort()});
        QVERIFY(shell.complains("listening to "));
        if (qstrcmp(reader, "true") != 0)
            station.sayNews();
        QVERIFY(shell.complains("exit 1\n"));
        QCOMPARE(shell.complaints().count('\n'), 2);
        QVERIFY(shell.ends());
    }
}

/// "kolta send" waits for no reply to a broadcast; leaving must neither lose it nor send it again.
void TestListen::sendsBroadcastOnce()
{
    XmlCommunication::CServer server;
    int broadcasts = 0;
    connect(&server, &XmlCommunication::CServer::LinkOpened, this, [&](XmlCommunication::CServerLink* link) {
        connect(link, &XmlCommunication::CServerLink::MessageReceived, this,
                [link, &broadcasts](const XmlCommon::ptrCXmlMessage& received) {
                    if (received->getServiceType() == XmlCommon::CXmlMessage::eSERVICE_BROADCAST)
                        ++broadcasts;
                    else
                        link->send(XmlCommunication::makeReply(*received, false));
                });
    });
    QVERIFY(server.listen(QHostAddress(QHostAddress::LocalHost), 0));
    Program kolta(QStringLiteral(KOLTA_PROGRAM), {"send"_s, "127.0.0.1:%1"_s.arg(server.port()), "-"_s});
    kolta.feed("<Message id='1' service='5'><Fragment component='News'/></Message>");
    QCOMPARE(kolta.result(), 0);
    QTRY_VERIFY(server.links().isEmpty());
    QCOMPARE(broadcasts, 1);
    disconnect(&server, nullptr, this, nullptr);
}

KOLTA_TEST(TestListen);
#include "tst_listen.moc"
