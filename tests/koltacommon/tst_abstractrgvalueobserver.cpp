#include <koltacommon/abstractrgvalueobserver.h>
#include <support/test.h>

#include <resourcemodel/resources.h>

using namespace Kolta;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using values::StringValue;

namespace {

const QString path = "/S1/ADMINISTRATION/Resources"_s;
const QString bad = "<ResourceOverview>"_s;

/// An overview with that many tuners.
ResourceOverview overviewOf(int tuners)
{
    Tuner tuner;
    tuner.EditTavikResource();
    ResourceOverview overview;
    overview.SetTuner(QVector<Tuner>(tuners, tuner));
    return overview;
}

QString text(int tuners)
{
    return overviewOf(tuners).GetXmlString();
}

/// Logs hooks and signals in the order in which they come; the log outlives the observer.
class Probe : public AbstractRGValueObserver<ResourceOverview>
{
public:
    Probe(const QString& at, QStringList& log) : AbstractRGValueObserver(at, nullptr), m_log(log)
    {
        const auto logs = [&log](const char* what) {
            return [&log, what] { log << QString::fromLatin1(what); };
        };
        connect(this, &IValueChangeNotifier::si_ValueChanged, logs("changed"));
        connect(this, &IValueChangeNotifier::si_ValueDeleted, logs("deleted"));
        connect(this, &IValueChangeNotifier::si_VC_USER_Received, logs("user"));
        connect(this, &IValueChangeNotifier::si_ParsingError,
                [&log](const QString& error) { log << error.left(17); });
    }

    void onValueChange(const ResourceOverview& before, const ResourceOverview& after) override
    {
        QStringList& log = m_log; // the hook may delete this
        log << "%1>%2"_s.arg(before.GetTuner().size()).arg(after.GetTuner().size());
        const Tuner* const data = before.GetTuner().constData();
        call();
        const bool kept = data == before.GetTuner().constData();
        log << (kept ? "kept %1"_s.arg(after.GetTuner().size()) : "lost"_s);
    }
    void onValueChangeError(const QString&) override { call("hook error"); }
    void onVtDelete() override { call("hook delete"); }
    void onVtUser() override { call("hook user"); }

    using AbstractRGValueObserver::currentValue;

    std::function<void()> hook; ///< runs once, in the next hook

private:
    void call(const char* what = nullptr)
    {
        if (what)
            m_log << QString::fromLatin1(what);
        if (const auto function = std::exchange(hook, nullptr))
            function();
    }

    QStringList& m_log;
};

/// What a change of the mirror logs.
QString change(int from, int to)
{
    return "%1>%2|kept %2|changed"_s.arg(from).arg(to);
}

const QString parseError = "hook error|Error in parsing "_s;

} // namespace

class TestAbstractRGValueObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_value = values::Tree::Instance().Emplace<StringValue>(path, text(1));
        m_probe = std::make_unique<Probe>(path, m_log); // silent: its hooks cannot run yet
        QCOMPARE(takeLog(), QString());
        QCOMPARE(m_probe->getCurrentValue().GetTuner().size(), 1);
    }
    void cleanup()
    {
        m_probe.reset();
        values::Tree::Instance().Clear();
        QVERIFY(!values::Tree::Instance().Find(path)); // nobody is left to keep a tombstone for
    }

    void textsAreProcessedOnce()
    {
        m_value->SetValue(text(2));
        QCOMPARE(takeLog(), change(1, 2));
        m_value->Announce();
        m_probe->UpdateAll();
        m_value->SetValue(QString()); // ignored by default
        QCOMPARE(takeLog(), QString());
        QCOMPARE(m_probe->getCurrentValueAsString(), text(2));

        m_value->SetValue(bad);
        m_value->Announce();
        QCOMPARE(takeLog(), parseError);
        QCOMPARE(m_probe->getCurrentValueAsString(), bad);
        m_value->SetValue(text(2));
        QCOMPARE(takeLog(), change(2, 2));

        m_probe->setIgnoreEmptyStringUpdates(false);
        m_value->SetValue(QString());
        QCOMPARE(takeLog(), parseError);
        m_value->Announce(eChangeContent);
        m_probe->Update(nullptr, eChangeValue);
        m_value->Announce(eChangeUser);
        QCOMPARE(takeLog(), "hook user|user"_s);
    }

    void bindingFollowsThePath()
    {
        auto& tree = values::Tree::Instance();
        tree.Emplace<values::SelectionValue>("/S1/selection"_s);
        auto* const second = tree.Emplace<StringValue>("/S2/x"_s, text(2));
        QCOMPARE(m_probe->getParentNodePath(), "/S1/ADMINISTRATION"_s);
        for (const char* const nothing : {"/nowhere", "/S1/selection", "/S1", "name"}) {
            QVERIFY(!m_probe->init(QLatin1String(nothing)));
            m_probe->UpdateAll();
        }
        QCOMPARE(m_probe->getParentNodePath(), "name"_s);
        m_value->SetValue(text(5));
        m_probe->Update(m_value, eChangeValue);
        QCOMPARE(takeLog(), QString());
        QVERIFY(m_probe->init(second->GetPath()));
        QCOMPARE(takeLog(), change(1, 2));

        // The value goes while the observer stays, and with it the path that it is asked to bind to.
        tree.Remove(second->GetPath());
        QVERIFY(!m_probe->init(second->GetPath()));
        QVERIFY(m_probe->init(path));
        m_value->Detach(m_probe.get());
        tree.Remove(path);
        m_probe->UpdateAll();
        QCOMPARE(takeLog(), "hook delete|deleted|"_s + change(2, 5));
    }

    void hooksMayDeleteTheObserver()
    {
        const auto notify = [this](const char* expectedLog, const std::function<void()>& cause) {
            cleanup();
            init();
            m_probe->hook = [this] { m_probe.reset(); };
            cause();
            QCOMPARE(takeLog(), QLatin1String(expectedLog));
        };
        notify("1>2|kept 2", [this] { m_value->SetValue(text(2)); });
        notify("hook error", [this] { m_value->SetValue(bad); });
        notify("hook user", [this] { m_value->Announce(eChangeUser); });
        notify("hook delete", [] { values::Tree::Instance().Remove(path); });
    }

    void nestedChangeLeavesTheOuterItsCopies()
    {
        m_probe->hook = [this] { m_value->SetValue(text(7)); };
        m_value->SetValue(text(4));
        QCOMPARE(takeLog(), "1>4|"_s + change(4, 7) + "|kept 4|changed"_s);
        QCOMPARE(m_probe->getCurrentValue().GetTuner().size(), 7);
    }

    void offlineMirror()
    {
        QVERIFY(m_probe->initForOffline(overviewOf(3)));
        QCOMPARE(m_probe->getCurrentValueAsString(), text(3));
        QVERIFY(m_probe->getVtPath().isEmpty() && !m_value->HasObservers());

        Startup::TraceRecorder traces;
        ResourceOverview corrupt;
        corrupt.EditTuner().resize(1); // a tuner without identity
        m_probe->currentValue = corrupt;
        for (const ResourceOverview& value : {overviewOf(3), corrupt}) {
            QVERIFY(!m_probe->initForOffline(value));
            QVERIFY(m_probe->getCurrentValue() == ResourceOverview());
            QVERIFY(m_probe->getCurrentValueAsString().isEmpty());
        }
        QCOMPARE(traces.count("ReportException "_s), 2);
        QVERIFY(m_probe->initForOffline(overviewOf(2)));
        QCOMPARE(takeLog(), QString());
    }

private:
    QString takeLog() { return std::exchange(m_log, QStringList()).join(QLatin1Char('|')); }

    QStringList m_log;
    StringValue* m_value = nullptr;
    std::unique_ptr<Probe> m_probe;
};

KOLTA_TEST(TestAbstractRGValueObserver);
#include "tst_abstractrgvalueobserver.moc"
