#include <koltacommon/tuneridgetter.h>
#include <koltacommon/tuneridscript.h>
#include <support/test.h>

#include <resourcemodel/resources.h>
#include <startup/cfgcenter.h>

using namespace Kolta;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClassOverview;

namespace {

Tuner sampleTuner()
{
    Tuner tuner;
    tuner.SetSerialNumber("serial"_s);
    tuner.SetConfiguration("<c/>"_s);
    tuner.EditTavikResource().SetAddress("address"_s);
    tuner.EditTavikResource().SetGUID("guid"_s);
    tuner.EditTavikResource().SetDisplayName("name"_s);
    return tuner;
}

} // namespace

class TestTunerIdGetter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_folder.isValid());
        QVERIFY(Startup::CfgCenter::Instance().Open(m_folder.filePath("kolta.ini"_s)));
        setTimeLimit(kPatienceMs);
    }

    void theOverviewChooses()
    {
        TunerClassOverview overview;
        QStringList errors;
        QString ids = TunerIdGetter::resolveId(overview, sampleTuner(), &errors);
        for (const int choice : {0, 1, 2, 3, 4, -1}) {
            overview.EditTunerIdDefinition().SetChoice(choice);
            overview.EditTunerIdDefinition().SetScript("TunerID='script'"_s);
            ids += QLatin1Char(' ') + TunerIdGetter(overview).resolveId(sampleTuner(), nullptr);
        }
        QCOMPARE(ids, "address address serial guid name  "_s);
        QVERIFY(errors.isEmpty());
    }

    void scripts_data()
    {
        const Rows<QString, QString> row("script result"); // or the error
        row("properties", "TunerID = [ConfigurationXml, Address, Guid, DisplayName, SerialNumber].join()",
            "<c/>,address,guid,name,serial"_s);
        row("the whole tuner", "TunerID = TunerXml", sampleTuner().GetXmlString());
        row("exception", "\n\nthrow 'no'", "ScriptException at line 3: no"_s);
        row("syntax", "var 1", "ScriptException at line 1: SyntaxError: Parse error"_s);
        const QString invalid = "Invalid TunerID property set by user script."_s;
        row("nothing set", "", invalid);
        row("no text", "TunerID = 5", invalid);
        row("property that throws",
            "Object.defineProperty(this, 'TunerID', {get: function() { throw 'no' }})", invalid);
        row("empty", "TunerID = ''", "User script provided an empty tuner ID."_s);
        row("nothing but the language",
            "TunerID = [typeof print, typeof gc, typeof version, typeof qt, typeof importExtension,"
            "           typeof Function.prototype.connect, typeof (function() {}).disconnect].join()",
            QStringList(QVector<QString>(7, "undefined"_s).toList()).join(QLatin1Char(',')));
        const QString late = "ScriptException at line 0: The script did not end within 100 ms."_s;
        row("loop", "TunerID = 'x';\nwhile (true) {}", late);
        row("loop that catches", "while (1) { try { while (1) {} } catch (e) {} finally { continue } }",
            late);
        row("loop of a native function", "[2, 1].sort(function() { for (;;) {} })", late);
        row("endless recursion", "function f() { f() } f()",
            "ScriptException at line 1: RangeError: Maximum call stack size exceeded."_s);
        row("deep expression",
            "var s = '(?:', e = ')'; for (var i = 0; i < 15; ++i) { s += s; e += e }"
            "TunerID = String(new RegExp(s + 'a' + e).test('a'))",
            "true"_s);
        // These end by themselves, but later; nobody can stop them.
        row("one long operation", "new Array(3e7).join('ab')", late);
        row("calls alone", "function f(n) { if (n > 0) { f(n - 1); f(n - 1) } }\nf(28)", late);
    }
    void scripts()
    {
        QFETCH(QString, script);
        QFETCH(QString, result);
        const bool isLate = result.contains("did not end"_s);
        setTimeLimit(isLate ? 100 : kPatienceMs);
        QTimer event;
        event.setSingleShot(true);
        event.start(0);
        QStringList errors;
        const QString id = evaluateTunerIdScript(sampleTuner(), script, &errors);
        QVERIFY(event.isActive()); // nothing was processed meanwhile
        QCOMPARE(errors.isEmpty() ? id : errors.join(QLatin1Char('|')), result);
        QCOMPARE(id.isEmpty(), !errors.isEmpty());
        if (!isLate)
            QCOMPARE(evaluateTunerIdScript(sampleTuner(), script, nullptr), id);
    }

    void invalidTuner()
    {
        QStringList errors;
        QVERIFY(evaluateTunerIdScript(Tuner(), "TunerID = 'x'"_s, &errors).isEmpty());
        QCOMPARE(errors,
                 QStringList{"Invalid tuner object. Invalid object: Tuner/TavikResource is missing"_s});
    }

    /// Nobody waits for a script that cannot be stopped: four still run when the fifth is asked for.
    void scriptsThatStayAreFew()
    {
        setTimeLimit(1);
        QStringList errors;
        const QString calls = "function f(n) { if (n > 0) { f(n - 1); f(n - 1) } } f(28)"_s;
        for (const QString& endless : {"new Array(3e7).join('ab')"_s, calls, calls, calls, calls})
            QVERIFY(evaluateTunerIdScript(sampleTuner(), endless, &errors).isEmpty());
        QCOMPARE(errors.last(),
                 "ScriptException at line 0: Too many scripts are running beyond their time."_s);
        // They end, and their threads go. (How many others there are depends on what the engine's library and
        // earlier scripts have started.)
        const int withFourLeft = threads();
        QTRY_VERIFY_WITH_TIMEOUT(threads() <= withFourLeft - 4, 3 * kPatienceMs);
        setTimeLimit(kPatienceMs);
        QCOMPARE(evaluateTunerIdScript(sampleTuner(), "TunerID = Guid"_s, nullptr), "guid"_s);
    }

private:
    static int threads()
    {
        return QDir("/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    }
    static void setTimeLimit(int milliseconds)
    {
        Startup::CfgCenter::Instance().SetValue("TunerIdScript"_s, "TimeLimitMs"_s, milliseconds);
    }

    QTemporaryDir m_folder;
};

KOLTA_TEST(TestTunerIdGetter);
#include "tst_tuneridgetter.moc"
