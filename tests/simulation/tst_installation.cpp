#include <support/files.h>
#include <support/simulated.h>

#include <simulation/installation.h>
#include <simulation/misbehaviour.h>
#include <simulation/resourcegenerator.h>
#include <support/test.h>

using namespace KoltaSimulation;

class TestInstallation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusesFaultyFiles_data()
    {
        // The sample file `file` with the first `from` replaced; the complaint begins with the file's name.
        const Rows<QString, QByteArray, QByteArray, QString> row("file from to message");
        const char* const ini = "installation.ini";
        const char* const sfr = "faults.sfr";
        const char* const xml = "resources.xml";
        row("no ini", ini, "", "", ": No such file");
        row("no name", ini, "Name=S1", "Name=", ": [Server] Name is missing, expected Name=TEXT");
        row("bad base path", ini, "/ConnectManager/AdminTree/S1", "S1",
            ": [Server] BasePath is \"S1\", expected a path");
        row("unlisted state", ini, "Selected=5", "Selected=9",
            ": [WorkingState] Selected is \"9\", expected");
        row("unlisted closing state", ini, "ShuttingDown=7", "ShuttingDown=x",
            ": [WorkingState] ShuttingDown is");
        row("pace that is none", ini, "StepMs=0", "StepMs=-1",
            ": [Startup] StepMs is \"-1\", expected a number");
        row("no faults", sfr, "", "", ": No such file");
        row("fault without a bar", sfr, "102|Unknown", "102 Unknown",
            ", line 3, column 1: found \"102 Unknown component\", expected");
        row("fault without a number", sfr, "101|", "x1|",
            ", line 2, column 1: found \"x1|Request not understood\", expected");
        row("fault twice", sfr, "103|", "102|",
            ", line 4, column 1: fault 102 stands here again, expected it once");
        row("fault that is needed", sfr, "201|", "299|", "no fault 201 up to here, expected a line 201|TEXT");
        row("faults not UTF-8", sfr, "S\xC3\xBC", "S\xFC", ", line 24, column 39: not UTF-8");
        row("no resources", xml, "", "", ": No such file");
        row("XML not closed", xml, "</TavikResource>", "", ", line 23, column ");
        row("other root", xml, "<ResourceOverview>", "<Resources><!--", "");
        row("number that is none", xml, "<ResourceID>1001<", "<ResourceID>many<", "ResourceID");
        row("no tuner", xml, "<Tuner>", "<!--", "");
        row("GUID that is none", xml, "{06e82a01-", "{06e8-", ": Tuner 1: \"{06e8-");
        row("GUID taken", xml, "{7972a36d-51b3-4a6c-a005-0ed31a6e72b9}",
            "{06e82a01-2b5c-4cd1-a7ca-430e92ac3d42}",
            ": Tuner 2: \"{06e82a01-2b5c-4cd1-a7ca-430e92ac3d42}\" is already taken");
        row("profile file", "profiles.xml", "status=\"1\"", "status=\"x\"", ", line ");
        row("further overview", "tunertypes.xml", "</TypeName>", "", ", line ");
        row("overview of another class", "tunerclasses.xml", "<CostPenalty>0<", "<CostPenalty>much<",
            "TunerClassOverview/TunerClass[1]/CostPenalty");
    }

    void refusesFaultyFiles()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, from);
        QFETCH(QByteArray, to);
        QFETCH(QString, message);
        QTemporaryDir folder;
        QByteArray faulty = readFile(installationFolder() + "/"_s + file);
        const int at = faulty.indexOf(from);
        QVERIFY(at >= 0);
        faulty.replace(at, from.size(), to);
        QVERIFY(copyInstallation(installationFolder(), folder.path(), qPrintable(file), faulty));
        if (from.isEmpty())
            QVERIFY(QFile::remove(folder.filePath(file)));
        Installation installation = sampleInstallation();
        QString error;
        QVERIFY(!installation.load(folder.path(), error));
        QVERIFY2(error.startsWith(folder.filePath(file)), qPrintable(error));
        QVERIFY2(error.contains(message) && error.contains("xpected"_s), qPrintable(error));
        // What was loaded before stays.
        QCOMPARE(installation.serverName(), "S1"_s);
        QVERIFY(!installation.resources().GetTuner().isEmpty());
    }

    void generatesTheSameAgain()
    {
        const Installation server = makeInstallation(sampleInstallation(), 7, 1000);
        const auto& resources = server.resources();
        QVERIFY(resources == makeResources(1000, 7));
        QVERIFY(resources != makeResources(1000, 8));
        QSet<QString> guids;
        for (const auto& tuner : resources.GetTuner())
            guids.insert(tuner.GetTavikResource().GetGUID());
        for (const auto& unit : resources.GetProcessingUnit())
            guids.insert(unit.GetTavikResource().GetGUID());
        for (const auto& unit : resources.GetStorageUnit())
            guids.insert(unit.GetTavikResource().GetGUID());
        QCOMPARE(guids.size(), 1000 + 25 + 10);
        const int bytes = resources.GetXmlString().toUtf8().size() / 1000;
        QVERIFY2(bytes > 700 && bytes < 900, qPrintable(QString::number(bytes)));
        // Who is in no class is never chosen.
        const QString classes = server.furtherOverviews().value("TunerClasses"_s);
        for (const auto& tuner : resources.GetTuner())
            QCOMPARE(classes.count("<TunerID>%1<"_s.arg(tuner.GetTavikResource().GetAddress())), 1);
    }

    void readsRules_data()
    {
        const Rows<QString, QString> row("text error"); // a part of the error; empty when the text is right
        row("kind", "cut", "");
        row("all", "cut=12,component=Resources,after=3,times=2,chance=0.5", "");
        row("no kind", "", "unknown misbehaviour \"\"");
        row("unknown", "explode", "expected one of refuse, close-at-once");
        row("text for a number", "delay=soon", "expects a number");
        row("negative", "cut=-1", "expects a number");
        row("argument for none", "twice=2", "takes no argument");
        row("pieces of nothing", "split=0", "expects a number");
        row("chance over 1", "twice,chance=1.5", "found \"chance=1.5\"");
        row("chance nan", "twice,chance=nan", "found \"chance=nan\"");
        row("option", "twice,often=1", "found \"often=1\"");
    }

    void readsRules()
    {
        QFETCH(QString, text);
        QFETCH(QString, error);
        MisbehaviourRule rule;
        QString message;
        QCOMPARE(MisbehaviourRule::fromText(text, rule, message), error.isEmpty());
        QVERIFY2(message.contains(error), qPrintable(message));
        QCOMPARE(rule.kind, error.isEmpty() ? Misbehaviour::Cut : Misbehaviour::None);
    }

    void decidesBySeed()
    {
        const MisbehaviourRule rule = misbehaviour("twice,component=A,after=2,times=20,chance=0.5"_s);
        const auto decisions = [&rule](quint32 seed) {
            MisbehaviourPlan plan(seed);
            plan.add(rule);
            QString text;
            for (int i = 0; i < 200; ++i) {
                // Other components pass without counting.
                const auto other = plan.decideRequest("B"_s);
                const auto own = plan.decideRequest("A"_s);
                text += other.kind == Misbehaviour::None ? QString() : "?"_s;
                text += own.kind == Misbehaviour::Twice ? QLatin1Char('x') : QLatin1Char('.');
            }
            return text;
        };
        const QString first = decisions(1);
        QCOMPARE(decisions(1), first);
        QVERIFY(decisions(2) != first);
        QVERIFY(first.startsWith(".."_s));
        QCOMPARE(first.count(QLatin1Char('x')), 20);
        QVERIFY(!first.contains(QLatin1Char('?')));
    }
};

KOLTA_TEST(TestInstallation);
#include "tst_installation.moc"
