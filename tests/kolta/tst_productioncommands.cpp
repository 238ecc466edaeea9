#include "program.h"
#include <support/installation.h>

namespace {

/// Runs from the beginning, so its GUIDs are known.
const char* const nightWatch =
    "<ProcessorOverview><MCP><KoltaProcessor><TavikResource>"
    "<GUID>{0A0A0A0A-0000-4000-8000-00000000000A}</GUID><DisplayName>Night watch</DisplayName>"
    "</TavikResource></KoltaProcessor><ProductionID>{0b0b0b0b-0000-4000-8000-00000000000b}</ProductionID>"
    "<FFP><KoltaProcessor><TavikResource><GUID>{0c0c0c0c-0000-4000-8000-00000000000c}</GUID>"
    "<DisplayName>Early</DisplayName></TavikResource></KoltaProcessor></FFP></MCP></ProcessorOverview>";

/// Per line the values of what it holds of these, "name=value", with fresh GUIDs left out.
QStringList essence(const QString& output, const QStringList& keys)
{
    QStringList lines;
    for (const QJsonObject& object : jsonLines(output)) {
        QStringList values;
        for (const QString& key : keys) {
            if (object.contains(key))
                values.append(key + QLatin1Char('=') + object.value(key).toVariant().toString());
        }
        lines.append(values.join(QLatin1Char(' ')));
    }
    return lines;
}

} // namespace

/// The commands on productions, one after another on one installation as well as alone.
class TestProductionCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void livesAWholeLife();
    void tellsServersApart();
    void watches();

private:
    QTemporaryDir m_folder; ///< the sample installation, slow to start and with something that runs
};

void TestProductionCommands::initTestCase()
{
    QVERIFY(copyInstallation(words(KOLTA_INSTALLATION_DIR), m_folder.path(), "actualconfiguration.xml",
                             nightWatch));
    QFile settings(m_folder.filePath(words("installation.ini")));
    QVERIFY(settings.open(QIODevice::ReadWrite));
    const QByteArray text = settings.readAll().replace("StepMs=0", "StepMs=20");
    QVERIFY(settings.resize(0) && settings.seek(0) && settings.write(text) == text.size());
}

void TestProductionCommands::livesAWholeLife()
{
    const QPair<const char*, QStringList> life[] = {
        {"status --json",
         {words("free=20 planned=0 processors=2 productions=1 hardware=0 ready=true state=1")}},
        // Waits until the server has come up.
        {"productions --json",
         {words("kind=MCP name=Night watch hardware=false"), words("kind=FFP name=Early hardware=false")}},
        {"produce mcp --class \"Basic hardware\" --json",
         {words("name=MCP 1 tuner=ZELM 7 West accepted=true")}},
        {"produce MCP --class \"Basic hardware\" --json",
         {words("name=MCP 2 tuner=ZELM 8 Turm accepted=true")}},
        {"produce mcp --class \"Basic hardware\"", {}},
        {"produce scp --class HF --demand-class none --json",
         {words("name=SCP 1 tuner=KW 1 Süd accepted=false problem=S1 refuses: There is no demand class none "
                "for DCP")}},
        {"status --json",
         {words("free=18 planned=0 processors=4 productions=3 hardware=2 ready=true state=5")}},
        {"produce scp --class HF --user visitor", {}},
        {"produce ffp --json", {}},
        {"produce ffp --mcp \"MCP 1\" --frequency 98.1e6 --bandwidth 2e5 --json",
         {words("name=FFP 1 accepted=true")}},
        {"move 0C0C0C0C-0000-4000-8000-00000000000C \"MCP 2\" --json",
         {words("ffp=Early from=Night watch to=MCP 2 accepted=true")}},
        {"move Early \"MCP 2\"", {}},
        {"move \"MCP 1\" \"MCP 2\"", {}},
        {"stop \"MCP 1\" {0B0B0B0B-0000-4000-8000-00000000000B} \"FFP 1\" --json",
         {words("name=MCP 1 stopped=true"), words("name=Night watch stopped=true"),
          words("name=FFP 1 stopped=true")}},
        {"productions --json",
         {words("kind=MCP name=MCP 2 tuner=ZELM 8 Turm hardware=true"),
          words("kind=FFP name=Early hardware=false")}},
        {"stop {0d0d0d0d-0000-4000-8000-00000000000d} --json",
         {words("name={0d0d0d0d-0000-4000-8000-00000000000d} stopped=false")}},
        {"stop 0d0d0d0d-0000-4000-8000-00000000000d", {}},
        {"power off \"Processing 1\" \"Processing 2\" --json",
         {words("kind=processing unit name=Processing 1 on=false"),
          words("kind=processing unit name=Processing 2 on=false")}},
        {"power system-off \"KW 2 West\" --json", {words("kind=tuner name=KW 2 West on=false")}},
        {"power on Nothing", {}},
        {"status --json",
         {words("free=19 planned=0 processors=0 productions=0 hardware=0 ready=true state=5")}},
        {"stop --all --json", {}},
        {"plan HF Nothing --json", {}},
        {"plan HF --json", {words("tuner=KW 1 Süd"), words("planned=true")}},
        {"produce scp --class HF --json", {words("name=SCP 1 tuner=KW 4 Nord accepted=true")}},
        {"plan HF HF HF --json",
         {words("tuner=KW 5 Süd"), words("tuner=KW 7 Turm"),
          words("problem=KW 5 Süd, which it would have got, is held by request 1 (HF)"),
          words("planned=false")}},
        {"select HF --json", {words("tuner=KW 5 Süd hardware=false")}},
        {"status --json",
         {words("free=17 planned=1 processors=2 productions=1 hardware=0 ready=true state=5")}},
        {"plan --clear", {}},
        {"stop --all --json", {words("name=SCP 1 stopped=true")}},
        {"status --json",
         {words("free=19 planned=0 processors=0 productions=0 hardware=0 ready=true state=5")}}};
    QByteArray lines;
    QStringList expected;
    for (const auto& [line, output] : life) {
        lines += QByteArray(line) + '\n';
        expected += output;
    }
    KoltaRun kolta({words("shell"), words("--keep-going"), words("--installation"), m_folder.path()}, lines);
    const QString keys =
        words("kind name ffp from to tuner accepted stopped on free planned processors productions "
              "hardware ready state problem");
    QCOMPARE(essence(kolta.output(), keys.split(QLatin1Char(' '))), expected);
    const QString refusals =
        kolta.errors().remove(QRegularExpression(words("kolta: line [^\n]*\n|\\{[-0-9a-f]*\\} ")));
    QCOMPARE(refusals, words("kolta: no tuner of class Basic hardware can be had: 4 not idle\n"
                             "kolta: S1 refuses: There is no demand class none for DCP\n"
                             "kolta: visitor lacks the right StartAndStopScp\n"
                             "kolta: 3 MCPs run, name one with --mcp\n"
                             "kolta: S1 refuses: The FFP runs in that MCP already\n"
                             "kolta: no FFP \"MCP 1\" runs\n"
                             "kolta: S1: Nothing to stop: no production or processor "
                             "{0d0d0d0d-0000-4000-8000-00000000000d}\n"
                             "kolta: S1: Nothing to stop: no production or processor "
                             "{0d0d0d0d-0000-4000-8000-00000000000d}\n"
                             "kolta: there is no tuner, processing or storage unit \"Nothing\"\n"
                             "kolta: there is no tuner class \"Nothing\"; known: HF, VHF/UHF, Basic, Basic "
                             "hardware, Wide, Direction finding\n"
                             "kolta: request 3 (HF): KW 5 Süd, which it would have got, is held by request 1 "
                             "(HF)\n"));
    QCOMPARE(kolta.exitCode(), 1);
}

void TestProductionCommands::tellsServersApart()
{
    const QByteArray lines = "produce mcp --class ZELM_10M\n"
                             "produce mcp --class ZELM_10M --server S2\nproduce mcp --class HF --server S1\n"
                             "produce ffp --server S2 --json\nmove \"FFP 1\" \"MCP 1\"\n"
                             "move \"FFP 1\" \"Night watch\"\nstop \"MCP 1\"\n"
                             "stop 0d0d0d0d-0000-4000-8000-00000000000d\n"
                             "stop --all --server S2\nstop --all --json --user administrator\n";
    KoltaRun kolta({words("shell"), words("--keep-going"), words("--installation"), m_folder.path(),
                    words("--installation"), words(KOLTA_INSTALLATION_DIR "-noclasses")},
                   lines);
    const QString output = kolta.output();
    QVERIFY2(output.contains(words("MCP 1  S2      ZELM 2")), qPrintable(output));
    QVERIFY2(output.contains(words("\nMCP 1 has stopped\n")), qPrintable(output));
    QCOMPARE(essence(output, {words("server"), words("name")}).filter(words("server")),
             (QStringList{words("server=S2 name=FFP 1"), words("server=S1 name=Night watch"),
                          words("server=S1 name=MCP 1")}));
    const QStringList refusals =
        kolta.errors().split(QRegularExpression(words("(kolta: line [^\n]*)?\n")), Qt::SkipEmptyParts);
    const QString several = words("kolta: there are several servers, name one with --server: S1, S2");
    const QString ambiguous = words("kolta: 2 processors are called \"MCP 1\", give its GUID or --server");
    QCOMPARE(refusals,
             (QStringList{several, ambiguous, words("kolta: FFP 1 runs on S2, but Night watch on S1"),
                          ambiguous, several}));
}

void TestProductionCommands::watches()
{
    KoltaRun startup({words("watch"), words("--json"), words("--count"), words("8"), words("--installation"),
                      m_folder.path()});
    QCOMPARE(startup.exitCode(), 0);
    QCOMPARE(essence(startup.output(), {words("kind"), words("text")}).filter(words("state")),
             (QStringList{words("kind=state text=state 2 Checking"),
                          words("kind=state text=state 3 Loading configuration"),
                          words("kind=state text=state 4 Standby"),
                          words("kind=state text=state 5 Operational")}));
    Kolta kolta({words("watch"), words("--activity"), words("--period"), words("1")});
    QTRY_VERIFY(kolta.output().contains(QRegularExpression(words("\\d S1 tuner .* is (busy|free)\n"))));
    kolta.interrupt();
    QVERIFY(kolta.ends());
    QCOMPARE(kolta.exitStatus(), QProcess::NormalExit);
    QCOMPARE(kolta.exitCode(), 0);
}

QTEST_GUILESS_MAIN(TestProductionCommands)
#include "tst_productioncommands.moc"
