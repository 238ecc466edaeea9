#include "../xmlmessaging/certificates.h"
#include "rawclient.h"

#include <simulation/hostilepeers.h>
#include <simulation/requesthandler.h>
#include <support/installation.h>
#include <support/testprogram.h>
#include <support/text.h>

#include <xmlmessaging/converters.h>

#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

namespace {

/// Where the server that `program` becomes listens.
QString startServer(QProcess& program, const QStringList& options)
{
    const QStringList installation{"--installation"_s, installationFolder()};
    program.start(QStringLiteral(KOLTASIM_PROGRAM), installation + options);
    if (!QTest::qWaitFor([&] { return program.canReadLine(); }, 10000))
        qFatal("no first line");
    const QString line = QString::fromUtf8(program.readLine()).trimmed();
    if (!line.startsWith("S1 listens on "_s))
        qFatal("unexpected first line");
    return line.section(QLatin1Char(' '), -1);
}

struct PythonRun
{
    int exitCode;
    QString output;
    QString errors;
};

/// The example client; options first, then the server and the command.
PythonRun runPython(const QStringList& arguments)
{
    QProcess client;
    client.start("python3"_s, QStringList{QStringLiteral(KOLTA_PYTHON_CLIENT)} + arguments);
    if (!client.waitForFinished())
        return {-1, QString(), client.errorString()};
    return {client.exitCode(), QString::fromUtf8(client.readAllStandardOutput()),
            QString::fromUtf8(client.readAllStandardError())};
}

} // namespace

/// The program as its user meets it.
class TestKoltaSim : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void servesUntilInterrupted_data();
    void servesUntilInterrupted();
    void keepsItsMemory_data();
    void keepsItsMemory();
    void protectsItsLinksAndKnowsItsUsers();
    void servesAClientInPython_data();
    void servesAClientInPython();
    void endsWithItsExitCode_data();
    void endsWithItsExitCode();
};

void TestKoltaSim::servesUntilInterrupted_data()
{
    QTest::addColumn<QString>("listen");
    QTest::addColumn<int>("signal");
    QTest::newRow("interrupted") << "127.0.0.1:0"_s << SIGINT;
    QTest::newRow("terminated, IPv6") << "[::1]:0"_s << SIGTERM;
}

void TestKoltaSim::servesUntilInterrupted()
{
    QFETCH(QString, listen);
    QFETCH(int, signal);
    QProcess program;
    const QString where = startServer(program, {"--listen"_s, listen, "--activity"_s, "--period"_s, "5"_s,
                                                "--misbehave"_s, "twice,component=Statistics"_s});
    RawClient client(QHostAddress(where.section(QLatin1Char(':'), 0, -2)),
                     where.section(QLatin1Char(':'), -1).toUShort());
    client.send(KoltaSimulation::makeStatisticsQuery());
    QTRY_COMPARE(client.messages.size(), 2);
    client.send(XmlCommunication::CEventFilterConverter::makeFragment("Resources"_s));
    QTRY_VERIFY(client.messages.size() > 5);
    QCOMPARE(client.messages.last()->getServiceType(), XmlCommon::CXmlMessage::eSERVICE_BROADCAST);

    ::kill(static_cast<pid_t>(program.processId()), signal);
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
    QCOMPARE(QString::fromUtf8(program.readAllStandardError()), QString());
}

void TestKoltaSim::keepsItsMemory_data()
{
    using KoltaSimulation::Hostility;
    constexpr qint64 kMiB = 1024 * 1024;
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("peers");
    QTest::addColumn<qint64>("bytes"); ///< of each
    QTest::addColumn<qint64>("limit"); ///< peak of the whole program
    QTest::newRow("deaf peers") << int(Hostility::DeafAsker) << 40 << 10 * kMiB << 64 * kMiB;
    QTest::newRow("half messages") << int(Hostility::HalfMessage) << 24 << 16 * kMiB << 128 * kMiB;
}

void TestKoltaSim::keepsItsMemory()
{
    QFETCH(int, kind);
    QFETCH(int, peers);
    QFETCH(qint64, bytes);
    QFETCH(qint64, limit);
    QProcess program;
    const QString where = startServer(program, {"--activity"_s, "--period"_s, "1"_s});
    const QHostAddress address(where.section(QLatin1Char(':'), 0, -2));
    const quint16 port = where.section(QLatin1Char(':'), -1).toUShort();
    KoltaSimulation::HostilePeers hostile(address, port);
    hostile.add(static_cast<KoltaSimulation::Hostility>(kind), peers, bytes);
    QVERIFY(hostile.settle(1000, 100000));
    const qint64 peak = KoltaSimulation::peakMemory(program.processId());
    QVERIFY2(peak > 0 && peak <= limit, qPrintable(QString::number(peak)));
    RawClient client(address, port); // and it still serves
    client.send(KoltaSimulation::makeStatisticsQuery());
    QTRY_COMPARE(client.messages.size(), 1);
    program.terminate();
    QVERIFY(program.waitForFinished());
}

void TestKoltaSim::protectsItsLinksAndKnowsItsUsers()
{
    Certificates files;
    QVERIFY2(files.make(), qPrintable(files.error()));
    QProcess program;
    const QString where =
        startServer(program, {"--tls"_s, files.file("server"), "--tls-clients"_s, files.file("ca"),
                              "--users"_s, installationFolder() + "/users.xml"_s, "--log"_s});
    QTemporaryDir folder;
    QFile message(folder.filePath("record.xml"_s));
    QVERIFY(message.open(QIODevice::WriteOnly));
    message.write(
        "<Message id=\"1\" service=\"2\"><Fragment component=\"Recording\"><Request><StartRecording>"
        "<DataStream name=\"symbol\" producer=\"{8b1a9953-c461-4296-a827-abf8c47804d7}\"/>"
        "</StartRecording></Request></Fragment></Message>");
    message.close();
    const auto record = [&](const char* user) {
        return runPython({where, "--ca"_s, files.file("ca"), "--certificate"_s, files.file(user), "send"_s,
                          message.fileName()});
    };
    QCOMPARE(record("operator").output, "Recording: done\n"_s);
    const PythonRun refused = record("visitor");
    QCOMPARE(refused.exitCode, 1);
    QVERIFY2(refused.output.startsWith("Recording: fault 110 visitor"_s), qPrintable(refused.output));
    QCOMPARE(runPython({where, "describe"_s}).exitCode, 1); // plain talk

    program.terminate();
    QVERIFY(program.waitForFinished());
    const QString log = QString::fromUtf8(program.readAllStandardError());
    for (const char* line :
         {" (operator) link opened", " (operator) Command 2: Recording/StartRecording: done",
          "info simulation/audit:10 visitor from 127.0.0.1:", "StartRecording: fault 110",
          "TLS: the peer sends plain text"})
        QVERIFY2(log.contains(QLatin1String(line)), qPrintable(QLatin1String(line) + " in\n"_s + log));
}

void TestKoltaSim::servesAClientInPython_data()
{
    QTest::addColumn<QString>("misbehaviour");
    QTest::addColumn<QString>("arguments"); ///< separated by blanks
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("text"); ///< somewhere in the output or the errors
    const QString send = QStringLiteral("send " KOLTA_SHARE_DIR "/messages/");
    QTest::newRow("describe") << ""
                              << "describe" << 0 << "Name: KoltaSim\n";
    QTest::newRow("send") << "" << QString(send + "statistics.xml"_s) << 0 << "<Requests>2</Requests>";
    QTest::newRow("fault") << "" << QString(send + "no-such-resource.xml"_s) << 1 << "fault 201 {00000000-";
    QTest::newRow("listen") << ""
                            << "listen 2 Resources" << 0 << "Resources: <ResourcesChanged>";
    QTest::newRow("in pieces") << "split=1"
                               << "describe" << 0 << "Name: KoltaSim\n";
    QTest::newRow("twice, and another ID before") << "twice"
                                                  << "describe" << 0 << "Name: KoltaSim\n";
    for (int variant = 0; variant < KoltaSimulation::kBrokenFrameVariants; ++variant)
        QTest::addRow("broken frame %d", variant)
            << "broken-frame=%1"_s.arg(variant) << "describe" << 1 << "koltaclient: ";
    QTest::newRow("cut") << "cut=30"
                         << "describe" << 1 << "closed the link";
    QTest::newRow("broken XML") << "broken-xml"
                                << "describe" << 1 << "koltaclient: ";
    QTest::newRow("no UTF-8") << "non-utf8"
                              << "describe" << 1 << "utf-8";
    QTest::newRow("too deep") << "deep=100"
                              << "describe" << 1 << "64 levels";
    QTest::newRow("too large") << "oversize"
                               << "describe" << 1 << "more than 16777216 bytes";
    QTest::newRow("silent") << "silent"
                            << "--timeout 0.3 describe" << 1 << "timed out";
}

void TestKoltaSim::servesAClientInPython()
{
    QFETCH(QString, misbehaviour);
    QFETCH(QString, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, text);
    QStringList options{"--activity"_s, "--period"_s, "20"_s};
    if (!misbehaviour.isEmpty())
        options << "--misbehave"_s << misbehaviour + ",component=Application"_s;
    QProcess program;
    const QString where = startServer(program, options);
    const PythonRun run = runPython(QStringList{where} + arguments.split(QLatin1Char(' ')));
    QVERIFY2(run.output.contains(text) || run.errors.contains(text), qPrintable(run.output + run.errors));
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY2(run.errors.count(QLatin1Char('\n')) <= 1, qPrintable(run.errors));
    program.terminate();
    QVERIFY(program.waitForFinished());
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
    QTest::newRow("open to all") << "--installation %I --listen 0.0.0.0:0" << 1 << "without TLS";
    QTest::newRow("users without names") << "--users x" << 2 << "expected --tls-clients";
    QTest::newRow("no certificate") << "--installation %I --tls /nonexistent" << 1
                                    << "/nonexistent: No such file";
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
    arguments.replace("%I"_s, installationFolder());
    arguments.replace("%P"_s, QString::number(taken.serverPort()));
    QProcess program;
    program.start(QStringLiteral(KOLTASIM_PROGRAM), arguments.split(QLatin1Char(' ')));
    QVERIFY(program.waitForFinished());
    QCOMPARE(program.exitCode(), exitCode);
    const QString output = QString::fromUtf8(program.readAllStandardOutput());
    const QString errors = QString::fromUtf8(program.readAllStandardError());
    QVERIFY2((exitCode == 0 ? output : errors).contains(text), qPrintable(output + errors));
    QVERIFY((exitCode == 0 ? errors : output).isEmpty());
}

KOLTA_TEST(TestKoltaSim);
#include "tst_koltasim.moc"
