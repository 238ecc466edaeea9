#include "terminal.h"

#include <support/test.h>

#include <common/actionlines.h>
#include <koltacommon/productionorder.h>
#include <koltacommon/shorttimeffpassignment.h>
#include <koltacommon/shorttimeprofile.h>
#include <xmlmessaging/server.h>

/// The shell with somebody at the other end, who types and waits.
class TestShell : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void runsLinesAsTheyCome();
    void runsTheLinesOfActions();
    void talksAtATerminal();
};

void TestShell::runsLinesAsTheyCome()
{
    for (const bool byHand : {false, true}) {
        Program kolta(QStringLiteral(KOLTA_PROGRAM), {"shell"_s});
        for (const char* line : {"select HF\n", "select \"Basic hard", "ware\"\n"})
            kolta.write(line);
        QVERIFY(kolta.says("ZELM 7 West"));
        if (byHand)
            kolta.terminate(); // heard while it waits for the next line
        else
            kolta.closeWriteChannel();
        QCOMPARE(kolta.result(), byHand ? 1 : 0);
    }
}

/// Each line that other programs show for an action does it.
void TestShell::runsTheLinesOfActions()
{
    using Own = Kolta::OwnershipJob::Action;
    using Terminate = Kolta::TerminationJob::Action;
    const KoltaApps::ActionLines lines("S1"_s);
    Kolta::ProductionOrder order;
    order.tunerClass = "Basic hardware"_s;
    order.frequency = 98.5e6;
    Kolta::ProductionOrder named;
    named.tunerClass = "HF"_s; // which the tuner replaces
    named.tunerGuid = "{7972a36d-51b3-4a6c-a005-0ed31a6e72b9}"_s;
    named.frequency = 5e6;
    Kolta::ShortTimeProfile profile;
    profile.name = "O'Hara, \"1\""_s;
    profile.type = Kolta::eShortTimeProfileBurst;
    profile.useBandwidth = profile.useShift = profile.useHopRate = profile.useModulation = true;
    profile.bandwidthMax = 25001;
    profile.shiftMin = profile.shiftMax = 850;
    profile.hopRate = 12.5;
    profile.modulation = Kolta::stringToModulationType("FSK2"_s);
    Kolta::ShortTimeFFPAssignment assignment;
    assignment.ffpGuid = "{0d0d0d0d-0000-4000-8000-00000000000d}"_s;
    assignment.profiles = QStringList{profile.name};
    assignment.minCoverage = 70;
    const QString record = "archive/disk-1/4711"_s;
    const QPair<QString, const char*> actions[] = {
        {lines.produce(order), "MCP 1"},
        {lines.explain(order), "refused: in use"},
        {lines.plan(order), "yes"},
        {lines.plan(named), "yes"},
        {lines.own("MCP 1"_s, Own::ForceTake) + " --user administrator"_s, "is owned by kolta"},
        {lines.own("MCP 1"_s, Own::Release), "nobody owns MCP 1"},
        {lines.own(QString(), Own::Take), "S1 is owned by kolta"},
        {lines.frontEnd("MCP 1"_s) + " --dry-run"_s, "would start "},
        {lines.setProfile(profile), "0 to 25001 Hz"},
        {lines.assign(assignment), "has assigned 1 profile"},
        {lines.removeProfiles({profile.name}), "1 profile removed"},
        {lines.startConversion(record, "wav"_s, "a b"_s), "4711: converting"},
        {lines.finishConversion(record, false, "-x.wav"_s), "4711: finished"},
        {lines.tidyConversions(0, QDateTime(), true) + " --user administrator"_s, "1 result erased"},
        {lines.power("off"_s, {"KW 1 S\u00fcd"_s}) + " --user administrator"_s, "off"},
        {lines.stop({"MCP 1"_s}), "MCP 1 has stopped"},
        {lines.stopAll(), "nothing runs"},
        {lines.terminate(Terminate::Reset) + " --user administrator"_s, "S1 has restarted"},
        {lines.terminate(Terminate::Quit) + " --user administrator"_s, "S1 has ended"}};
    QByteArray input;
    for (const auto& [line, shown] : actions)
        input +=
            line.mid(6).toUtf8() + (*shown ? "\nexpect \"" + QByteArray(shown) + "\"\n" : QByteArray("\n"));
    Program kolta(QStringLiteral(KOLTA_PROGRAM), {"shell"_s});
    kolta.feed(input);
    QCOMPARE(kolta.result(), 0);
}

void TestShell::talksAtATerminal()
{
    XmlCommunication::CServer silent; // takes connections and says nothing
    QVERIFY(silent.listen(QHostAddress(QHostAddress::LocalHost), 0));
    const QByteArray address = "127.0.0.1:" + QByteArray::number(silent.port());
    Terminal terminal({"shell"_s});
    QVERIFY(terminal.shows("S1 runs in this process.") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("sel\tHF\n"));
    QVERIFY(terminal.shows("KW 1 S") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("\x10\x01"
                          "classes\x0b\n")); // the line before, changed
    QVERIFY(terminal.shows("Direction finding") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("dem\t"));
    QVERIFY(terminal.shows("demand-classes  demo\r\n") && terminal.shows("kolta> dem"));
    QVERIFY(terminal.type("\x03")); // the line goes, nothing else
    QVERIFY(terminal.shows("^C") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("listen --c\t1 --t\t"));
    QVERIFY(terminal.shows("--count 1 --t") && terminal.shows("--timeout  --trace\r\n"));
    QVERIFY(terminal.type("\x15nonsense \xc3\xbc\n"));
    QVERIFY(terminal.shows("there is no command \"nonsense\"") && terminal.shows("kolta> "));
    for (const QByteArray command :
         {"describe --timeout 60 ", "listen --timeout 60 ", "ping --timeout 60 "}) {
        QVERIFY(terminal.type(command + address + '\n'));
        QTRY_COMPARE(silent.links().size(), 1);
        QVERIFY(terminal.type("\x03")); // the command goes, the shell stays
        QVERIFY(terminal.shows("kolta: interrupted") && terminal.shows("kolta> "));
        QTRY_VERIFY(silent.links().isEmpty());
    }
    QVERIFY(terminal.type("misbehave silent-production\n") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("produce mcp --class Wide --timeout 60\n"));
    QVERIFY(terminal.shows("kolta: waiting for the answer of S1"));
    QVERIFY(terminal.type("\x03") && terminal.shows("kolta: taking back what was asked for"));
    QVERIFY(terminal.type("\x03") && terminal.shows("kolta: left; it may have happened (production {"));
    QVERIFY(terminal.shows("kolta> ") && terminal.type("select Wide\n")); // what was left is still planned
    QVERIFY(terminal.shows("EB 2") && terminal.shows("kolta> "));
    QVERIFY(
        terminal.type("select \"Basic h\t\n")); // names that are known here, with the quotes that they need
    QVERIFY(terminal.shows("ZELM 7 West") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("misbehave\nproduce mcp --name \"My own\" --class D\t\n"));
    QVERIFY(terminal.shows("My own") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("stop My\t\n"));
    QVERIFY(terminal.shows("My own has stopped") && terminal.shows("kolta> "));
    QVERIFY(terminal.type("\x04"));
    QVERIFY(terminal.ends());
    QCOMPARE(terminal.result(), 0);
    QVERIFY(QDir::home().isEmpty());
}

KOLTA_TEST(TestShell);
#include "tst_shell.moc"
