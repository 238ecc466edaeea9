#include "../xmlmessaging/certificates.h"
#include "rawclient.h"

#include <simulation/hostilepeers.h>
#include <simulation/requesthandler.h>
#include <support/installation.h>
#include <support/program.h>
#include <support/test.h>

#include <startup/hostandport.h>
#include <xmlmessaging/converters.h>

namespace {

/// Where the server that `program` becomes listens.
QString startServer(Program& program, const QStringList& options)
{
    const QStringList installation{"--installation"_s, installationFolder()};
    program.begin(QStringLiteral(KOLTASIM_PROGRAM), installation + options);
    const QString line = program.line();
    if (!line.startsWith("S1 listens on "_s))
        qFatal("the first line is \"%s\"", qPrintable(line));
    return line.section(QLatin1Char(' '), -1);
}

/// The example client; options first, then the server and the command. What it prints, behind its exit code.
QString runPython(const QStringList& arguments)
{
    Program client("python3"_s, QStringList{QStringLiteral(KOLTA_PYTHON_CLIENT)} + arguments);
    const int code = client.result(); // by then it has said all
    return QString::number(code) + QLatin1Char(' ') + QString::fromUtf8(client.said());
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
};

void TestKoltaSim::servesUntilInterrupted_data()
{
    const Rows<QString, int> row("listen signal");
    row("interrupted", "127.0.0.1:0", SIGINT);
    row("terminated, IPv6", "[::1]:0", SIGTERM);
}

void TestKoltaSim::servesUntilInterrupted()
{
    QFETCH(QString, listen);
    QFETCH(int, signal);
    Program program;
    const QString where = startServer(program, {"--listen"_s, listen, "--activity"_s, "--period"_s, "5"_s,
                                                "--misbehave"_s, "twice,component=Statistics"_s});
    QString host, port;
    QVERIFY(Startup::splitHostAndPort(where, host, port));
    RawClient client(QHostAddress(host), port.toUShort());
    client.send(KoltaSimulation::makeStatisticsQuery());
    QTRY_COMPARE(client.messages.size(), 2);
    client.send(XmlCommunication::CEventFilterConverter::makeFragment("Resources"_s));
    QTRY_VERIFY(client.messages.size() > 5);
    QCOMPARE(client.messages.last()->getServiceType(), XmlCommon::CXmlMessage::eSERVICE_BROADCAST);

    program.signal(signal);
    QCOMPARE(program.result(), 0);
    QCOMPARE(QString::fromUtf8(program.complaints()), QString());
}

void TestKoltaSim::keepsItsMemory_data()
{
    using KoltaSimulation::Hostility;
    constexpr qint64 kMiB = 1024 * 1024;
    const Rows<int, int, qint64, qint64> row("kind peers bytes limit"); // each one's, the peak of all
    row("deaf peers", int(Hostility::DeafAsker), 40, 10 * kMiB, 64 * kMiB);
    row("half messages", int(Hostility::HalfMessage), 24, 16 * kMiB, 128 * kMiB);
}

void TestKoltaSim::keepsItsMemory()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    QSKIP("sanitizers keep memory of their own, and what is freed");
#endif
    QFETCH(int, kind);
    QFETCH(int, peers);
    QFETCH(qint64, bytes);
    QFETCH(qint64, limit);
    Program program;
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
    QVERIFY(program.ends());
}

void TestKoltaSim::protectsItsLinksAndKnowsItsUsers()
{
    Certificates files;
    QVERIFY2(files.make(), qPrintable(files.error()));
    Program program;
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
    QCOMPARE(record("operator"), "0 Recording: done\n"_s);
    QVERIFY(record("visitor").startsWith("1 Recording: fault 110 visitor"_s));
    QCOMPARE(runPython({where, "describe"_s}), "1 "_s); // plain talk

    program.terminate();
    QVERIFY(program.ends());
    const QString log = QString::fromUtf8(program.complaints());
    for (const char* line :
         {" (operator) link opened", " (operator) Command 2: Recording/StartRecording: done",
          "info simulation/audit:10 visitor from 127.0.0.1:", "StartRecording: fault 110",
          "TLS: the peer sends plain text"})
        QVERIFY2(log.contains(QLatin1String(line)), qPrintable(QLatin1String(line) + " in\n"_s + log));
}

KOLTA_TEST(TestKoltaSim);
#include "tst_koltasim.moc"
