#include "program.h"
#include <support/rows.h>

#include <xmlmessaging/server.h>

#include <QHostInfo>
#include <QJsonArray>
#include <QTcpServer>
#include <QTemporaryDir>

namespace {

QString message(const char* name)
{
    return QStringLiteral(KOLTA_MESSAGES_DIR "/") + QLatin1String(name);
}

} // namespace

/// The commands that ask and end, as their user meets them.
class TestKolta : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void takesItsWords_data();
    void takesItsWords();
    void reachesEveryAddress_data();
    void reachesEveryAddress();
    void namesWhatIsWrongWithTheServer_data();
    void namesWhatIsWrongWithTheServer();
    void sends_data();
    void sends();
    void sendsBroadcastOnce();
    void pings_data();
    void pings();
    void tellsThatOutputIsLost();
    void demoGoesAsItMust();
    void listsDemandClasses();
};

void TestKolta::takesItsWords_data()
{
    QTest::addColumn<QString>("arguments"); ///< separated by blanks
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("text"); ///< on stdout when the exit code is 0, else on stderr
    for (const char* command :
         {"demo",        "describe", "send",   "listen", "ping",     "demand-classes", "classes",
          "select",      "plan",     "rights", "shell",  "status",   "watch",          "produce",
          "productions", "move",     "stop",   "power",  "profiles", "assignments",    "conversions"})
        QTest::addRow("%s --help", command) << QStringLiteral("%1 --help").arg(words(command)) << 0
                                            << QStringLiteral("Usage: kolta %1 [").arg(words(command));
    addRow("help", "--help", 0, "Exit codes: 0 done, 1 failed, 2 wrong usage");
    addRow("version", "--version", 0, "kolta ");
    addRow("no command", "", 2, "a command is missing");
    addRow("unknown command", "dance", 2, "there is no command \"dance\"");
    addRow("unknown option", "ping --fast 127.0.0.1:1", 2, "Unknown option 'fast'. Try");
    addRow("no address", "describe", 2, "HOST:PORT is missing");
    addRow("too many", "describe 127.0.0.1:1 x", 2, "unexpected argument \"x\"");
    addRow("no count", "ping -n 0 127.0.0.1:1", 2, "-n wants a whole number from 1 to");
    addRow("no such host", "describe nowhere.invalid:1", 1, "cannot find the host \"nowhere.invalid\"");
    addRow("no installation", "demo --installation /nowhere", 1, "/nowhere: no such folder");
    addRow("no application type", "demand-classes", 2, "--app-type wants one of scp, mcp");
    addRow("application type 0", "demand-classes --app-type 0", 2, "not \"0\". Try");
    addRow("no such tuner", "demand-classes --app-type ffp --tuner {0}", 1,
           "there is no tuner with the GUID \"{0}\"");
    addRow("no message", "send 127.0.0.1:1 /nowhere", 1, "cannot read /nowhere");
    addRow("no kind", "produce dsc --class HF", 2, "\"dsc\" is no kind of production");
    addRow("no class", "produce mcp", 2, "--class is missing");
    addRow("no MCP in an MCP", "produce mcp --class HF --mcp x", 2, "--mcp is for an FFP");
    addRow("no frequency", "produce scp --class HF --frequency 1MHz", 2, "wants a number of Hz");
    addRow("no bandwidth", "produce ffp --bandwidth -1", 2, "--bandwidth wants a number of Hz");
    addRow("nothing to stop", "stop", 2, "GUID or --all is missing");
    addRow("too much to stop", "stop --all x", 2, "--all leaves nothing to be named");
    addRow("no target", "move x", 2, "MCP is missing");
    addRow("no switch", "power dim x", 2, "\"dim\" is no switch: expected one of on, off, ");
    addRow("no such server", "status --server S9", 1, "no server \"S9\"; known: S1\n");
}

void TestKolta::takesItsWords()
{
    QFETCH(QString, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, text);
    KoltaRun kolta(arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));
    QCOMPARE(kolta.exitCode(), exitCode);
    const QString& expected = exitCode == 0 ? kolta.output() : kolta.errors();
    QVERIFY2(expected.contains(text), qPrintable(expected));
    QVERIFY((exitCode == 0 ? kolta.errors() : kolta.output()).isEmpty());
}

void TestKolta::reachesEveryAddress_data()
{
    QTest::addColumn<QString>("listen");
    QTest::addColumn<QString>("ask"); ///< the host
    addRow("IPv4", "127.0.0.1:0", "127.0.0.1");
    addRow("name", "127.0.0.1:0", "localhost");
    addRow("IPv6", "[::1]:0", "::1");
    addRow("IPv6 in brackets", "::1:0", "[::1]");
}

void TestKolta::reachesEveryAddress()
{
    QFETCH(QString, listen);
    QFETCH(QString, ask);
    // A bare system may know no names, and a kernel no IPv6.
    if (ask == QLatin1String("localhost") && QHostInfo::fromName(ask).addresses().isEmpty())
        QSKIP("this machine does not know the name localhost");
    if (ask.contains(QLatin1String("::")) && !QTcpServer().listen(QHostAddress::LocalHostIPv6))
        QSKIP("this machine has no IPv6 loopback");
    Server server({}, listen);
    const QString address = ask + QLatin1Char(':') + server.port();
    KoltaRun text({QStringLiteral("describe"), address});
    QCOMPARE(text.errors(), QString());
    QCOMPARE(text.exitCode(), 0);
    QVERIFY2(text.output().contains(
                 QRegularExpression(QStringLiteral("^name +KoltaSim$"), QRegularExpression::MultilineOption)),
             qPrintable(text.output()));
    KoltaRun json({QStringLiteral("describe"), QStringLiteral("--json"), address});
    QCOMPARE(jsonLines(json.output()).value(0).value(words("interface")).toString(), words("3.1"));
}

void TestKolta::namesWhatIsWrongWithTheServer_data()
{
    QTest::addColumn<QString>("misbehaviour");
    QTest::addColumn<QString>("error");
    addRow("refuses", "refuse", "cannot connect to %1: Connection refused");
    addRow("never answers", "silent", "%1 takes connections, but has not answered within 1 s");
    addRow("never reads", "stop-reading", "%1 takes connections, but has not answered within 1 s");
    addRow("answers somebody else", "wrong-id", "%1 takes connections, but has not answered within 1 s");
    addRow("stops answering", "silent,after=2", "no reply from %1 within 1 s");
    addRow("closes", "close-at-once", "The remote host closed the connection");
    addRow("resets for ever", "reset", "the link to %1 failed: The remote host closed the connection");
    addRow("garbage", "garbage", "the link to %1 failed: no chunk at byte 0");
    addRow("broken XML", "broken-xml", "the link to %1 failed: line 1, column ");
    addRow("oversize", "oversize,component=Application", "the link to %1 failed: message too large");
}

void TestKolta::namesWhatIsWrongWithTheServer()
{
    QFETCH(QString, misbehaviour);
    QFETCH(QString, error);
    Server server({QStringLiteral("--misbehave"), misbehaviour});
    // What is no matter of time is told however slow the machine is.
    const bool runsOut = error.contains(QLatin1String("within 1 s"));
    KoltaRun kolta({QStringLiteral("describe"), server.address, QStringLiteral("--timeout"),
                    runsOut ? QStringLiteral("1") : QStringLiteral("15")});
    QCOMPARE(kolta.exitCode(), 1);
    QCOMPARE(kolta.output(), QString());
    const QString expected = error.contains(QLatin1Char('%')) ? error.arg(server.address) : error;
    QVERIFY2(kolta.errors().contains(expected), qPrintable(kolta.errors()));
    QCOMPARE(kolta.errors().count(QLatin1Char('\n')), 1);
}

void TestKolta::sends_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("input"); ///< a message on standard input
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("output"); ///< a part of it
    QTest::addColumn<QString>("error");  ///< a part of it
    const QStringList input{words("-")};
    const QByteArray none;
    addRow("file", QStringList{message("describe.xml")}, none, 0, "<Name>KoltaSim</Name>", "");
    addRow("JSON", QStringList{words("--json"), message("statistics.xml")}, none, 0,
           "{\"fragments\":[{\"component\":\"Statistics\"", "");
    addRow("fault", QStringList{message("no-such-resource.xml")}, none, 1, "<Fault id=\"201\"",
           "unknown Fault ID: 201>");
    addRow("fault with text", QStringList{words("--faults"), message("no-such-resource.xml")}, none, 1,
           "<Fault id=\"201\"", "kolta: No such resource (");
    addRow("standard input", input,
           QByteArray("<Message id='1' service='2'><Fragment component='Nobody'/></Message>\n"), 1,
           "component=\"Nobody\"", "unknown Fault ID: 102>");
    addRow("reply", input, QByteArray("<Message id='1' service='3'><Fragment component='A'/></Message>"), 1,
           "", "standard input: service 3, expected 1 (query), 2 (command) or 5 (broadcast)");
    addRow("no fragment", input, QByteArray("<Message id='1' service='1'/>"), 1, "",
           "standard input: no Fragment, expected at least one");
    addRow("no XML", input, QByteArray("<Message id='1'"), 1, "", "standard input: ");
    addRow("nothing", input, none, 1, "", "expected a root element");
    addRow("folder", QStringList{words("/")}, none, 1, "", "cannot read /: ");
    addRow("too long", input, QByteArray(16 * 1024 * 1024 + 1, ' '), 1, "",
           "standard input holds more than the 16777216 bytes");
}

void TestKolta::sends()
{
    QFETCH(QStringList, options);
    QFETCH(QByteArray, input);
    QFETCH(int, exitCode);
    QFETCH(QString, output);
    QFETCH(QString, error);
    Server server;
    KoltaRun kolta(QStringList{words("send"), server.address} + options, input);
    QVERIFY2(kolta.output().contains(output), qPrintable(kolta.output()));
    QVERIFY2(kolta.errors().contains(error), qPrintable(kolta.errors()));
    QCOMPARE(kolta.errors().isEmpty(), error.isEmpty());
    QCOMPARE(kolta.output().isEmpty(), output.isEmpty());
    QCOMPARE(kolta.exitCode(), exitCode);
}

/// There is no reply to wait for, and leaving must neither lose the message nor send it again.
void TestKolta::sendsBroadcastOnce()
{
    XmlCommunication::CServer server;
    int broadcasts = 0;
    connect(&server, &XmlCommunication::CServer::LinkOpened, this,
            [this, &broadcasts](XmlCommunication::CServerLink* link) {
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

void TestKolta::pings_data()
{
    QTest::addColumn<QString>("misbehaviour");
    QTest::addColumn<int>("sent");
    QTest::addColumn<int>("received");
    QTest::addColumn<int>("faults");
    QTest::addColumn<int>("reconnects");
    addRow("all well", "twice", 5, 5, 0, 0);
    addRow("link lost on the way", "reset,component=Application,after=2,times=1", 5, 5, 0, 1);
    addRow("silence", "silent,component=Application,after=2", 3, 2, 0, 0);
}

void TestKolta::pings()
{
    QFETCH(QString, misbehaviour);
    Server server({words("--misbehave"), misbehaviour});
    KoltaRun kolta({words("ping"), words("--json"), words("-n"), words("5"), words("--timeout"), words("1"),
                    server.address});
    const QJsonObject figures = jsonLines(kolta.output()).value(0);
    for (const char* name : {"sent", "received", "faults", "reconnects"})
        QTEST(figures.value(words(name)).toInt(-1), name);
    const bool complete = figures.value(words("received")) == 5;
    QCOMPARE(kolta.exitCode(), complete ? 0 : 1);
    QCOMPARE(kolta.errors().isEmpty(), complete);
    QVERIFY(figures.value(words("min_us")).toDouble() > 0.0);
    QVERIFY(figures.value(words("min_us")).toDouble() <= figures.value(words("max_us")).toDouble());
}

void TestKolta::tellsThatOutputIsLost()
{
    if (!QFileInfo::exists(words("/dev/full")))
        QSKIP("needs /dev/full");
    Server server;
    QProcess kolta;
    kolta.setStandardOutputFile(words("/dev/full"));
    kolta.start(QStringLiteral(KOLTA_PROGRAM), {words("describe"), server.address});
    QVERIFY(kolta.waitForFinished());
    QCOMPARE(kolta.exitCode(), 1);
    QVERIFY(kolta.readAllStandardError().startsWith("kolta: cannot write to standard output: "));
}

void TestKolta::demoGoesAsItMust()
{
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.path()));
    KoltaRun kolta(
        {words("demo"), words("--json"), words("--installation"), QStringLiteral(KOLTA_INSTALLATION_DIR)});
    QCOMPARE(kolta.errors(), QString());
    QCOMPARE(kolta.exitCode(), 0);
    const QVector<QJsonObject> steps = jsonLines(kolta.output());
    QCOMPARE(steps.size(), 17);
    QJsonObject facts; // of the steps on productions and short-time data
    for (int i = 0; i < steps.size(); ++i) {
        QCOMPARE(steps[i].value(words("step")).toInt(), i + 1);
        QVERIFY(steps[i].value(words("ok")).toBool());
        for (const char* name : {"states", "tuner", "refusal", "to", "hardware", "stopped", "free",
                                 "profiles", "granted", "answer"}) {
            if (steps[i].contains(words(name)))
                facts[words(name)] = steps[i].value(words(name));
        }
    }
    QCOMPARE(facts, (QJsonObject{{words("states"),
                                  words("Disconnected, Starting, Checking, Loading configuration, Standby, "
                                        "Operational")},
                                 {words("tuner"), words("ZELM 7 West")},
                                 {words("refusal"), words("S1 refuses: Tuner ZELM 7 West is in use")},
                                 {words("to"), words("MCP 2")},
                                 {words("hardware"), 1},
                                 {words("stopped"), 2},
                                 {words("free"), 20},
                                 {words("profiles"), 24},
                                 {words("granted"), true},
                                 {words("answer"), words("There is no profile \"Nobody knows\"")}}));
    QCOMPARE(steps[6].value(words("received")).toArray(), (QJsonArray{2, 1, 1, 1, 1}));
    QVERIFY(steps[7].value(words("problem")).toString().endsWith(words("is held by request 1 (DX)")));
    QJsonObject summary = steps.last();
    for (const char* name : {"step", "title", "ok"})
        summary.remove(words(name));
    QCOMPARE(summary, (QJsonObject{{words("requests"), 7},
                                   {words("replies"), 7},
                                   {words("faults"), 1},
                                   {words("reconnects"), 2},
                                   {words("lost"), 0},
                                   {words("duplicated"), 0}}));
    QVERIFY2(QDir(home.path()).isEmpty(), "the demo has written into the user's folders");
}

void TestKolta::listsDemandClasses()
{
    const QPair<QString, QString> rows[] = {
        {words("mcp"), words("voice sw_5MHz sw* sw_20MHz hw_20MHz hw")},
        {words("3"), words("300k* 1M")},
        {words("MCP --tuner 06E82A01-2b5c-4cd1-a7ca-430e92ac3d42"), words("voice sw_5MHz")},
        {words("scp --installation " KOLTA_INSTALLATION_DIR "-noclasses"), words("scp*")}};
    for (const auto& row : rows) {
        const QStringList arguments =
            QString(words("demand-classes --json --app-type ") + row.first).split(QLatin1Char(' '));
        KoltaRun kolta(arguments);
        QStringList listed; // the default with a *
        for (const QJsonObject& entry : jsonLines(kolta.output()))
            listed.append(entry[words("name")].toString() +
                          (entry[words("default")].toBool() ? words("*") : QString()));
        QCOMPARE(listed.join(QLatin1Char(' ')), row.second);
    }
}

QTEST_GUILESS_MAIN(TestKolta)
#include "tst_kolta.moc"
