#include "program.h"

#include <simulation/faultids.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>

#include <QJsonDocument>
#include <QJsonObject>

using KoltaSimulation::SimulatedServer;

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
    void endsWithItsReader_data();
    void endsWithItsReader();

private:
    static QStringList arguments(const SimulatedServer& server, const QStringList& options = QStringList())
    {
        return QStringList{QStringLiteral("listen"), server.hostAndPort()} + options;
    }
    KoltaSimulation::Installation m_installation;
};

void TestListen::initTestCase()
{
    QString error;
    QVERIFY2(m_installation.load(QStringLiteral(KOLTA_INSTALLATION_DIR), error), qPrintable(error));
}

void TestListen::printsUntilInterrupted_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QString>("broadcast");
    QTest::addColumn<QString>("fault");
    QTest::newRow("text") << QStringList() << " Broadcast News <Data> Headline\n"
                          << " Fault: <No description because of unknown Fault ID: 301> (S1)\n";
    QTest::newRow("texts of faults") << QStringList{QStringLiteral("--faults")}
                                     << " Broadcast News <Data> Headline\n"
                                     << " Fault: Internal error in the administration (S1)\n";
    QTest::newRow("JSON") << QStringList{QStringLiteral("--json")}
                          << "{\"component\":\"News\",\"data\":\"<Headline/>\"}"
                          << "\"fault\":\"<No description because of unknown Fault ID: 301> (S1)\"";
}

void TestListen::printsUntilInterrupted()
{
    QFETCH(QStringList, options);
    QFETCH(QString, broadcast);
    QFETCH(QString, fault);
    SimulatedServer server(m_installation);
    QVERIFY(server.listen());
    Kolta kolta(arguments(server, options));
    QTRY_VERIFY(kolta.errors().contains(QStringLiteral("listening to ")));
    // From that word on nothing is missed.
    QCOMPARE(server.broadcast(QStringLiteral("News"), XmlCommon::CDataTree(QLatin1String("Headline"))), 1);
    QTRY_VERIFY2(kolta.output().contains(broadcast), qPrintable(kolta.output()));
    const XmlCommon::CFaultTree tree(KoltaSimulation::eFaultAdministration, 1, {QStringLiteral("S1")});
    QCOMPARE(server.broadcastFault(QStringLiteral("News"), tree), 1);
    QTRY_VERIFY2(kolta.output().contains(fault), qPrintable(kolta.output()));
    kolta.interrupt();
    QVERIFY(kolta.ends());
    QCOMPARE(kolta.exitStatus(), QProcess::NormalExit);
    QCOMPARE(kolta.exitCode(), 0);
}

void TestListen::countsBroadcasts()
{
    SimulatedServer server(m_installation);
    QVERIFY(server.listen());
    Kolta kolta(
        arguments(server, {QStringLiteral("--json"), QStringLiteral("--count"), QStringLiteral("3")}));
    QTRY_VERIFY(kolta.errors().contains(QStringLiteral("listening to ")));
    for (int i = 0; i < 10; ++i)
        server.broadcast(QStringLiteral("News"), XmlCommon::CDataTree(QLatin1String("Headline")));
    QVERIFY(kolta.ends());
    QCOMPARE(kolta.exitCode(), 0);
    QCOMPARE(kolta.output().count(QLatin1Char('\n')), 3);
}

void TestListen::outlivesALostLink()
{
    SimulatedServer server(m_installation);
    QVERIFY(server.listen());
    Kolta kolta(arguments(server));
    QTRY_VERIFY(kolta.errors().contains(QStringLiteral("listening to ")));
    for (int cut = 1; cut <= 2; ++cut) {
        server.cutLinks();
        QTRY_COMPARE(kolta.errors().count(QStringLiteral(" is up again\n")), cut);
        QTRY_COMPARE(
            server.broadcast(QStringLiteral("News"), XmlCommon::CDataTree(QLatin1String("Headline"))), 1);
        QTRY_VERIFY(kolta.output().count(QStringLiteral(" Broadcast News")) >= cut);
    }
    server.vanish();
    QVERIFY(kolta.ends());
    QCOMPARE(kolta.exitCode(), 1);
    const QStringList errors = kolta.errors().trimmed().split(QLatin1Char('\n'));
    QVERIFY2(errors.at(errors.size() - 2).endsWith(QStringLiteral("failed: Connection refused")),
             qPrintable(kolta.errors()));
    QVERIFY(errors.last().endsWith(QStringLiteral(" has ended")));
}

void TestListen::endsWithItsReader_data()
{
    QTest::addColumn<QString>("reader");
    QTest::newRow("gone while nothing is said") << "true";
    QTest::newRow("gone after the first line") << "head -n 1";
}

void TestListen::endsWithItsReader()
{
    QFETCH(QString, reader);
    SimulatedServer server(m_installation);
    QVERIFY(server.listen());
    const QString script = QStringLiteral("{ \"$0\" listen \"$1\"; echo \"exit $?\" >&2; } | ") + reader;
    QProcess shell;
    shell.start(QStringLiteral("sh"),
                {QStringLiteral("-c"), script, QStringLiteral(KOLTA_PROGRAM), server.hostAndPort()});
    QByteArray errors;
    const auto said = [&](const char* words) {
        errors += shell.readAllStandardError();
        return errors.contains(words);
    };
    QTRY_VERIFY(said("listening to "));
    if (reader != QLatin1String("true"))
        server.broadcast(QStringLiteral("News"), XmlCommon::CDataTree(QLatin1String("Headline")));
    QTRY_VERIFY2(said("exit 1\n"), errors.constData());
    QCOMPARE(errors.count('\n'), 2);
    QTRY_COMPARE(shell.state(), QProcess::NotRunning);
}

QTEST_GUILESS_MAIN(TestListen)
#include "tst_listen.moc"
