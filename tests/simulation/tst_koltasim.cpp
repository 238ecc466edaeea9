#include "rawclient.h"

#include <simulation/requesthandler.h>

#include <xmlmessaging/converters.h>

#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

/// The program as its user meets it.
class TestKoltaSim : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void servesUntilInterrupted_data();
    void servesUntilInterrupted();
    void endsWithItsExitCode_data();
    void endsWithItsExitCode();
};

void TestKoltaSim::servesUntilInterrupted_data()
{
    QTest::addColumn<QString>("listen");
    QTest::addColumn<int>("signal");
    QTest::newRow("interrupted") << QStringLiteral("127.0.0.1:0") << SIGINT;
    QTest::newRow("terminated, IPv6") << QStringLiteral("[::1]:0") << SIGTERM;
}

void TestKoltaSim::servesUntilInterrupted()
{
    QFETCH(QString, listen);
    QFETCH(int, signal);
    QProcess program;
    program.start(QStringLiteral(KOLTASIM_PROGRAM),
                  {QStringLiteral("--installation"), QStringLiteral(KOLTA_INSTALLATION_DIR),
                   QStringLiteral("--listen"), listen, QStringLiteral("--activity"),
                   QStringLiteral("--period"), QStringLiteral("5"), QStringLiteral("--misbehave"),
                   QStringLiteral("twice,component=Statistics")});
    QTRY_VERIFY_WITH_TIMEOUT(program.canReadLine(), 10000);
    const QString line = QString::fromUtf8(program.readLine()).trimmed();
    QVERIFY2(line.startsWith(QStringLiteral("S1 listens on ")), qPrintable(line));
    const QString where = line.section(QLatin1Char(' '), -1);
    RawClient client(QHostAddress(where.section(QLatin1Char(':'), 0, -2)),
                     where.section(QLatin1Char(':'), -1).toUShort());
    client.send(KoltaSimulation::makeStatisticsQuery());
    QTRY_COMPARE(client.messages.size(), 2);
    client.send(XmlCommunication::CEventFilterConverter::makeFragment(QStringLiteral("Resources")));
    QTRY_VERIFY(client.messages.size() > 5);
    QCOMPARE(client.messages.last()->getServiceType(), XmlCommon::CXmlMessage::eSERVICE_BROADCAST);

    ::kill(static_cast<pid_t>(program.processId()), signal);
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(QString::fromUtf8(program.readAllStandardError()), QString());
}

void TestKoltaSim::endsWithItsExitCode_data()
{
    QTest::addColumn<QString>("arguments"); ///< separated by blanks
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("text"); ///< on stdout when the exit code is 0, else on stderr
    QTest::newRow("help") << "--help" << 0 << "--misbehave";
    QTest::newRow("version") << "--version" << 0 << "koltasim ";
    QTest::newRow("unknown option") << "--fast" << 2 << "fast";
    QTest::newRow("argument") << "S1" << 2 << "found \"S1\", expected options only";
    QTest::newRow("no port") << "--listen 127.0.0.1" << 2 << "--listen: \"127.0.0.1\" is not HOST:PORT";
    QTest::newRow("port too high") << "--listen 127.0.0.1:65536" << 2
                                   << "--listen: \"65536\" is not a port: expected a number from 0";
    QTest::newRow("no period") << "--period 0" << 2 << "--period: expected";
    QTest::newRow("misbehaviour") << "--misbehave cut=x" << 2 << "--misbehave: \"cut\" expects a number";
    QTest::newRow("no installation") << "--installation /nonexistent" << 1 << "/nonexistent: no such folder";
    QTest::newRow("port taken") << "--installation %I --listen 127.0.0.1:%P" << 1
                                << "cannot listen on 127.0.0.1:";
}

void TestKoltaSim::endsWithItsExitCode()
{
    QFETCH(QString, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, text);
    QTcpServer taken;
    QVERIFY(taken.listen(QHostAddress::LocalHost));
    arguments.replace(QStringLiteral("%I"), QStringLiteral(KOLTA_INSTALLATION_DIR));
    arguments.replace(QStringLiteral("%P"), QString::number(taken.serverPort()));
    QProcess program;
    program.start(QStringLiteral(KOLTASIM_PROGRAM), arguments.split(QLatin1Char(' ')));
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitCode(), exitCode);
    const QString output = QString::fromUtf8(program.readAllStandardOutput());
    const QString errors = QString::fromUtf8(program.readAllStandardError());
    QVERIFY2((exitCode == 0 ? output : errors).contains(text), qPrintable(output + errors));
    QVERIFY((exitCode == 0 ? errors : output).isEmpty());
}

QTEST_GUILESS_MAIN(TestKoltaSim)
#include "tst_koltasim.moc"
