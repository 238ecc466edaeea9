#include "program.h"
#include <support/rows.h>

#include <simulation/faultids.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>
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
    QStringList listen(const QStringList& options = QStringList()) const
    {
        return QStringList{QStringLiteral("listen"), server.hostAndPort()} + options;
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
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("broadcast");
    QTest::addColumn<QString>("fault");
    addRow("text", QStringList(), " Broadcast News <Data> Headline\n",
           " Fault: <No description because of unknown Fault ID: 301> (S1)\n");
    addRow("texts of faults", QStringList{QStringLiteral("--faults")}, " Broadcast News <Data> Headline\n",
           " Fault: Internal error in the administration (S1)\n");
    addRow("JSON", QStringList{QStringLiteral("--json")}, "{\"component\":\"News\",\"data\":\"<Headline/>\"}",
           "\"fault\":\"<No description because of unknown Fault ID: 301> (S1)\"");
}

void TestListen::printsUntilInterrupted()
{
    QFETCH(QStringList, options);
    QFETCH(QString, broadcast);
    QFETCH(QString, fault);
    Station station;
    KoltaProcess kolta(station.listen(options));
    QVERIFY(kolta.complains(QStringLiteral("listening to ")));
    // From that word on nothing is missed.
    QCOMPARE(station.sayNews(), 1);
    QVERIFY2(kolta.prints(broadcast), qPrintable(kolta.output()));
    const XmlCommon::CFaultTree tree(KoltaSimulation::eFaultAdministration, 1, {QStringLiteral("S1")});
    QCOMPARE(station.server.broadcastFault(QStringLiteral("News"), tree), 1);
    QVERIFY2(kolta.prints(fault), qPrintable(kolta.output()));
    kolta.interrupt();
    QVERIFY(kolta.ends());
    QCOMPARE(kolta.exitStatus(), QProcess::NormalExit);
    QCOMPARE(kolta.exitCode(), 0);
}

void TestListen::countsBroadcasts()
{
    Station station;
    KoltaProcess kolta(
        station.listen({QStringLiteral("--json"), QStringLiteral("--count"), QStringLiteral("3")}));
    QVERIFY(kolta.complains(QStringLiteral("listening to ")));
    for (int i = 0; i < 10; ++i)
        station.sayNews();
    QVERIFY(kolta.ends());
    QCOMPARE(kolta.exitCode(), 0);
    QCOMPARE(kolta.output().count(QLatin1Char('\n')), 3);
}

void TestListen::outlivesALostLink()
{
    Station station;
    KoltaProcess kolta(station.listen());
    QVERIFY(kolta.complains(QStringLiteral("listening to ")));
    int news = 0;
    const auto hearsAgain = [&] {
        ++news;
        QVERIFY2(kolta.complains(QStringLiteral(" is up again\n"), news), qPrintable(kolta.errors()));
        QCOMPARE(station.sayNews(), 1); // from that word on nothing is missed
        QVERIFY(kolta.prints(QStringLiteral(" Broadcast News"), news));
    };
    for (int cut = 1; cut <= 2; ++cut) {
        station.server.cutLinks();
        hearsAgain();
    }
    station.server.vanish();
    QVERIFY(kolta.complains(QStringLiteral(": Connection refused; waiting ")));
    QVERIFY(station.server.comeBack());
    hearsAgain();
    kolta.interrupt();
    QVERIFY(kolta.ends());
    QCOMPARE(kolta.exitCode(), 0);
    QCOMPARE(kolta.errors().count(QStringLiteral(" is up again\n")), news);
}

void TestListen::endsWithItsReader()
{
    for (const char* const reader : {"true", "head -n 1"}) { // gone at once, or after the first line
        Station station;
        const QString script =
            QStringLiteral("{ \"$0\" listen \"$1\"; echo \"exit $?\" >&2; } | ") + QLatin1String(reader);
        QProcess shell;
        shell.start(QStringLiteral("sh"), {QStringLiteral("-c"), script, QStringLiteral(KOLTA_PROGRAM),
                                           station.server.hostAndPort()});
        QByteArray errors;
        const auto said = [&](const char* words) {
            errors += shell.readAllStandardError();
            return errors.contains(words);
        };
        QTRY_VERIFY(said("listening to "));
        if (qstrcmp(reader, "true") != 0)
            station.sayNews();
        QTRY_VERIFY2(said("exit 1\n"), errors.constData());
        QCOMPARE(errors.count('\n'), 2);
        QTRY_COMPARE(shell.state(), QProcess::NotRunning);
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
    KoltaRun kolta({words("send"), QStringLiteral("127.0.0.1:%1").arg(server.port()), words("-")},
                   "<Message id='1' service='5'><Fragment component='News'/></Message>");
    QCOMPARE(kolta.exitCode(), 0);
    QTRY_VERIFY(server.links().isEmpty());
    QCOMPARE(broadcasts, 1);
    disconnect(&server, nullptr, this, nullptr);
}

QTEST_GUILESS_MAIN(TestListen)
#include "tst_listen.moc"
