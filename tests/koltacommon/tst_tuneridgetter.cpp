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
        const auto late = [](int line) {
            return QStringLiteral("ScriptException at line %1: The script did not end within 100 ms.")
                .arg(line);
        };
        row("loop", "TunerID = 'x';\nwhile (true) {}", late(2));
        row("loop that catches", "while (1) { try { while (1) {} } catch (e) {} finally { continue } }",
            late(1));
        row("loop of a native function", "[2, 1].sort(function() { for (;;) {} })", late(1));
        row("endless recursion", "function f() { f() } f()",
            QStringLiteral("ScriptException at line 1: RangeError: Maximum call stack size exceeded."));
        row("deep expression",
            "var s = '(?:', e = ')'; for (var i = 0; i < 15; ++i) { s += s; e += e }"
            "TunerID = String(new RegExp(s + 'a' + e).test('a'))",
            QStringLiteral("true"));
        // These end by themselves, but later; nobody can stop them.
        row("one long operation", "new Array(3e7).join('ab')", late(1));
        row("calls alone", "function f(n) { if (n > 0) { f(n - 1); f(n - 1) } }\nf(22)", late(1));
    }
    void scripts()
    {
        QFETCH(QString, script);
        QFETCH(QString, result);
        const bool isLate = result.contains(QStringLiteral("did not end"));
        setTimeLimit(isLate ? 100 : 20000);
        int eventsMeanwhile = 0;
        QTimer::singleShot(0, this, [&eventsMeanwhile] { ++eventsMeanwhile; });
        QElapsedTimer timer;
        timer.start();
        QStringList errors;
        const QString id = evaluateTunerIdScript(sampleTuner(), script, &errors);
        QCOMPARE(eventsMeanwhile, 0);
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
        // As many as may be left behind, whether or not earlier ones have ended.
        QStringList errors;
        setTimeLimit(1);
        for (int i = 0; i < 5; ++i) {
            evaluateTunerIdScript(sampleTuner(),
                                  QStringLiteral("function f(n) { if (n > 0) { f(n - 1); f(n - 1) } } f(60)"),
                                  &errors);
        }
        QCOMPARE(
            errors.last(),
            QStringLiteral("ScriptException at line 0: Too many scripts are running beyond their time."));
    }

private:
    static void setTimeLimit(int milliseconds)
    {
        Startup::CfgCenter::Instance().SetValue(QStringLiteral("TunerIdScript"),
                                                QStringLiteral("TimeLimitMs"), milliseconds);
    }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestTunerIdGetter)
#include "tst_tuneridgetter.moc"
