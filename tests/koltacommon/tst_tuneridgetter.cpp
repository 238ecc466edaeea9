#include <koltacommon/tuneridgetter.h>
#include <koltacommon/tuneridscript.h>

#include <resourcemodel/resources.h>
#include <startup/cfgcenter.h>

#include <QElapsedTimer>
#include <QtTest>

using namespace Kolta;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClassOverview;

namespace {

Tuner sampleTuner()
{
    Tuner tuner;
    tuner.SetSerialNumber(QStringLiteral("serial"));
    tuner.SetConfiguration(QStringLiteral("<c/>"));
    tuner.EditTavikResource().SetAddress(QStringLiteral("address"));
    tuner.EditTavikResource().SetGUID(QStringLiteral("guid"));
    tuner.EditTavikResource().SetDisplayName(QStringLiteral("name"));
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
        QVERIFY(Startup::CfgCenter::Instance().Open(m_folder.filePath(QStringLiteral("kolta.ini"))));
        setTimeLimit(100);
    }

    void theOverviewChooses()
    {
        TunerClassOverview overview;
        QStringList errors;
        QString ids = TunerIdGetter::resolveId(overview, sampleTuner(), &errors);
        for (const int choice : {0, 1, 2, 3, 4, -1}) {
            overview.EditTunerIdDefinition().SetChoice(choice);
            overview.EditTunerIdDefinition().SetScript(QStringLiteral("TunerID='script'"));
            ids += QLatin1Char(' ') + TunerIdGetter(overview).resolveId(sampleTuner(), nullptr);
        }
        QCOMPARE(ids, QStringLiteral("address address serial guid name  "));
        QVERIFY(errors.isEmpty());
    }

    void scripts_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("result"); // or the error
        const auto row = [](const char* name, const char* script, const QString& result) {
            QTest::newRow(name) << QString::fromLatin1(script) << result;
        };
        row("properties", "TunerID = [ConfigurationXml, Address, Guid, DisplayName, SerialNumber].join()",
            QStringLiteral("<c/>,address,guid,name,serial"));
        row("the whole tuner", "TunerID = TunerXml", sampleTuner().GetXmlString());
        row("exception", "\n\nthrow 'no'", QStringLiteral("ScriptException at line 3: no"));
        row("syntax", "var 1", QStringLiteral("ScriptException at line 1: SyntaxError: Parse error"));
        const QString invalid = QStringLiteral("Invalid TunerID property set by user script.");
        row("nothing set", "", invalid);
        row("no text", "TunerID = 5", invalid);
        row("property that throws",
            "Object.defineProperty(this, 'TunerID', {get: function() { throw 'no' }})", invalid);
        row("empty", "TunerID = ''", QStringLiteral("User script provided an empty tuner ID."));
        row("nothing but the language",
            "TunerID = [typeof print, typeof gc, typeof version, typeof qt, typeof importExtension,"
            "           typeof Function.prototype.connect, typeof (function() {}).disconnect].join()",
            QStringList(QVector<QString>(7, QStringLiteral("undefined")).toList()).join(QLatin1Char(',')));
        const QString late =
            QStringLiteral("ScriptException at line 0: The script did not end within 100 ms.");
        row("loop", "TunerID = 'x';\nwhile (true) {}", late);
        row("loop that catches", "while (1) { try { while (1) {} } catch (e) {} finally { continue } }",
            late);
        row("loop of a native function", "[2, 1].sort(function() { for (;;) {} })", late);
        row("endless recursion", "function f() { f() } f()",
            QStringLiteral("ScriptException at line 1: RangeError: Maximum call stack size exceeded."));
        row("deep expression",
            "var s = '(?:', e = ')'; for (var i = 0; i < 15; ++i) { s += s; e += e }"
            "TunerID = String(new RegExp(s + 'a' + e).test('a'))",
            QStringLiteral("true"));
        // These end by themselves, but later; nobody can stop them.
        row("one long operation", "new Array(3e7).join('ab')", late);
        row("calls alone", "function f(n) { if (n > 0) { f(n - 1); f(n - 1) } }\nf(28)", late);
    }
    void scripts()
    {
        QFETCH(QString, script);
        QFETCH(QString, result);
        const bool isLate = result.contains(QStringLiteral("did not end"));
        setTimeLimit(isLate ? 100 : 20000);
        QTimer event;
        event.setSingleShot(true);
        event.start(0);
        QElapsedTimer timer;
        timer.start();
        QStringList errors;
        const QString id = evaluateTunerIdScript(sampleTuner(), script, &errors);
        QVERIFY(event.isActive()); // nothing was processed meanwhile
        QVERIFY(!isLate || timer.elapsed() < 2000);
        QCOMPARE(errors.isEmpty() ? id : errors.join(QLatin1Char('|')), result);
        QCOMPARE(id.isEmpty(), !errors.isEmpty());
        if (!isLate)
            QCOMPARE(evaluateTunerIdScript(sampleTuner(), script, nullptr), id);
    }

    void invalidTuner()
    {
        QStringList errors;
        QVERIFY(evaluateTunerIdScript(Tuner(), QStringLiteral("TunerID = 'x'"), &errors).isEmpty());
        QCOMPARE(errors, QStringList{QStringLiteral(
                             "Invalid tuner object. Invalid object: Tuner/TavikResource is missing")});
    }

    void scriptsThatStayAreFew()
    {
        setTimeLimit(1);
        QStringList errors;
        for (int i = 0; i < 5; ++i) {
            const QString endless =
                QStringLiteral("function f(n) { if (n > 0) { f(n - 1); f(n - 1) } } f(28)");
            QVERIFY(evaluateTunerIdScript(sampleTuner(), endless, &errors).isEmpty());
        }
        QCOMPARE(
            errors.last(),
            QStringLiteral("ScriptException at line 0: Too many scripts are running beyond their time."));
        // They end, and their threads go. (How many others there are depends on what the engine's library and
        // earlier scripts have started.)
        const int withFourLeft = threads();
        QTRY_VERIFY_WITH_TIMEOUT(threads() <= withFourLeft - 4, 70000);
        setTimeLimit(20000);
        QCOMPARE(evaluateTunerIdScript(sampleTuner(), QStringLiteral("TunerID = Guid"), nullptr),
                 QStringLiteral("guid"));
    }

private:
    static int threads()
    {
        return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    }
    static void setTimeLimit(int milliseconds)
    {
        Startup::CfgCenter::Instance().SetValue(QStringLiteral("TunerIdScript"),
                                                QStringLiteral("TimeLimitMs"), milliseconds);
    }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestTunerIdGetter)
#include "tst_tuneridgetter.moc"
