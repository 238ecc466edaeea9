#include <koltacommon/abstractrgvalueobserver.h>

#include <resourcemodel/resources.h>
#include <startup/errorhandler.h>

#include <QtTest>

#include <functional>

using namespace Kolta;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using values::StringValue;

namespace {

const QString path = QStringLiteral("/S1/ADMINISTRATION/Resources");
const QString bad = QStringLiteral("<ResourceOverview>");

/// An overview with that many tuners.
ResourceOverview overviewOf(int tuners)
{
    ResourceOverview overview;
    overview.SetNumberOfTuners(tuners);
    for (int i = 0; i < tuners; ++i) {
        Tuner tuner;
        tuner.EditTavikResource().SetGUID(QString::number(i));
        overview.EditTuner().append(tuner);
    }
    return overview;
}

QString text(int tuners)
{
    return overviewOf(tuners).GetXmlString();
}

StringValue* put(const QString& at, const QString& content)
{
    return values::Tree::Instance().Emplace<StringValue>(at, content);
}

/// Logs hooks and signals in the order in which they come; the log outlives the observer.
class Probe : public AbstractRGValueObserver<ResourceOverview>
{
public:
    explicit Probe(const QString& at = QString(), QStringList* log = nullptr)
        : AbstractRGValueObserver(at, nullptr), m_log(log ? log : &m_ownLog)
    {
        QStringList* const target = m_log;
        const auto logs = [target](const char* what) { return [=] { target->append(QLatin1String(what)); }; };
        connect(this, &IValueChangeNotifier::si_ValueChanged, logs("changed"));
        connect(this, &IValueChangeNotifier::si_ValueDeleted, logs("deleted"));
        connect(this, &IValueChangeNotifier::si_VC_USER_Received, logs("user"));
        connect(this, &IValueChangeNotifier::si_ParsingError,
                [target](const QString& error) { target->append(error.left(17)); });
    }

    void onValueChange(const ResourceOverview& before, const ResourceOverview& after) override
    {
        QStringList* const log = m_log; // the hook may delete this
        log->append(QStringLiteral("%1>%2").arg(before.GetTuner().size()).arg(after.GetTuner().size()));
        const Tuner* const data = before.GetTuner().constData();
        call();
        log->append(QStringLiteral("kept %1 %2")
                        .arg(data == before.GetTuner().constData())
                        .arg(after.GetTuner().size()));
    }
    void onValueChangeError(const QString&) override { call("hook error"); }
    void onVtDelete() override { call("hook delete"); }
    void onVtUser() override { call("hook user"); }

    QStringList takeLog() { return std::exchange(*m_log, QStringList()); }
    ResourceOverview& mirror() { return currentValue; }

    std::function<void()> hook; ///< runs once, in the next hook

private:
    void call(const char* what = nullptr)
    {
        if (what)
            m_log->append(QLatin1String(what));
        if (const auto function = std::exchange(hook, nullptr))
            function();
    }

    QStringList m_ownLog;
    QStringList* m_log;
};

QStringList change(int from, int to)
{
    return {QStringLiteral("%1>%2").arg(from).arg(to), QStringLiteral("kept 1 %1").arg(to),
            QStringLiteral("changed")};
}

const QStringList parseError{QStringLiteral("hook error"), QStringLiteral("Error in parsing ")};

} // namespace

class TestAbstractRGValueObserver : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { values::Tree::Instance().Clear(); }

    void textsAreProcessedOnce()
    {
        StringValue* const value = put(path, text(4));
        Probe probe(path); // silent: its hooks cannot run yet
        QCOMPARE(probe.getCurrentValue().GetTuner().size(), 4);
        value->SetValue(text(1));
        QCOMPARE(probe.takeLog(), change(4, 1));
        value->Announce();
        probe.UpdateAll();
        value->SetValue(QString()); // ignored by default
        QCOMPARE(probe.takeLog(), QStringList());
        QCOMPARE(probe.getCurrentValueAsString(), text(1));

        value->SetValue(bad);
        value->Announce();
        QCOMPARE(probe.takeLog(), parseError);
        QCOMPARE(probe.getCurrentValueAsString(), bad);
        QCOMPARE(probe.getCurrentValue().GetTuner().size(), 1);
        value->SetValue(text(1));
        QCOMPARE(probe.takeLog(), change(1, 1));

        probe.setIgnoreEmptyStringUpdates(false);
        value->SetValue(QString());
        QCOMPARE(probe.takeLog(), parseError);
        value->Announce(eChangeContent);
        probe.Update(nullptr, eChangeValue);
        QCOMPARE(probe.takeLog(), QStringList());
    }

    void bindingFollowsThePath()
    {
        values::Tree::Instance().Emplace<values::SelectionValue>(QStringLiteral("/S1/selection"));
        StringValue* const first = put(path, text(1));
        StringValue* const second = put(QStringLiteral("/S2/x"), text(2));
        Probe probe;
        QVERIFY(!probe.init(QStringLiteral("/nowhere")));
        probe.UpdateAll();
        QVERIFY(!probe.init(QStringLiteral("/S1/selection")));
        QCOMPARE(probe.takeLog(), QStringList());
        QVERIFY(probe.init(path));
        QCOMPARE(probe.getParentNodePath(), QStringLiteral("/S1/ADMINISTRATION"));
        QVERIFY(probe.init(QStringLiteral("/S2/x")));
        QCOMPARE(probe.takeLog(), change(0, 1) + change(1, 2));
        first->SetValue(text(5));
        QVERIFY(!first->HasObservers());
        probe.Update(first, eChangeValue);
        QCOMPARE(probe.takeLog(), QStringList());
        QVERIFY(!probe.init(QStringLiteral("name")));
        QCOMPARE(probe.getParentNodePath(), QStringLiteral("name"));
        QVERIFY(!second->HasObservers());
        QCOMPARE(probe.getCurrentValue().GetTuner().size(), 2);

        Probe other;
        other.init(QStringLiteral("name"));
        QVERIFY(probe == other);
        QVERIFY(probe.initForOffline(overviewOf(1)));
        QVERIFY(!(probe == other));
    }

    void deletionRevivalAndUserNotice()
    {
        put(path, text(1));
        Probe probe;
        probe.init(path);
        probe.takeLog();
        values::Tree::Instance().Remove(path);
        QCOMPARE(probe.takeLog(), (QStringList{QStringLiteral("hook delete"), QStringLiteral("deleted")}));
        QCOMPARE(probe.getCurrentValue().GetTuner().size(), 1);
        // It exists again: the state change alone says nothing, its new text is mirrored.
        StringValue* const revived = put(path, text(3));
        QCOMPARE(probe.takeLog(), change(1, 3));
        revived->Announce(eChangeUser);
        QCOMPARE(probe.takeLog(), (QStringList{QStringLiteral("hook user"), QStringLiteral("user")}));
    }

    void hooksMayDeleteTheObserver()
    {
        const auto notify = [](const QString& expectedLog, const std::function<void(StringValue&)>& cause) {
            StringValue* const value = put(path, text(1));
            QStringList log;
            auto* const probe = new Probe(QString(), &log);
            probe->init(path);
            log.clear();
            probe->hook = [probe] { delete probe; };
            cause(*value);
            QCOMPARE(log.join(QLatin1Char(' ')), expectedLog);
            values::Tree::Instance().Clear();
            QVERIFY(!values::Tree::Instance().Find(path)); // nobody is left to keep a tombstone for
        };
        notify(QStringLiteral("1>2 kept 1 2"), [](StringValue& value) { value.SetValue(text(2)); });
        notify(QStringLiteral("hook error"), [](StringValue& value) { value.SetValue(bad); });
        notify(QStringLiteral("hook user"), [](StringValue& value) { value.Announce(eChangeUser); });
        notify(QStringLiteral("hook delete"), [](StringValue&) { values::Tree::Instance().Remove(path); });
    }

    void nestedChangeLeavesTheOuterItsCopies()
    {
        StringValue* const value = put(path, text(1));
        Probe probe;
        probe.init(path);
        probe.takeLog();
        probe.hook = [value] { value->SetValue(text(7)); };
        value->SetValue(text(4));
        QCOMPARE(probe.takeLog(), QStringList{QStringLiteral("1>4")} + change(4, 7) +
                                      QStringList({QStringLiteral("kept 1 4"), QStringLiteral("changed")}));
        QCOMPARE(probe.getCurrentValue().GetTuner().size(), 7);
    }

    void offlineMirror()
    {
        StringValue* const value = put(path, text(1));
        Probe probe;
        probe.init(path);
        probe.takeLog();
        QVERIFY(probe.initForOffline(overviewOf(3)));
        QCOMPARE(probe.getCurrentValueAsString(), text(3));
        QVERIFY(probe.getVtPath().isEmpty() && !value->HasObservers());

        Startup::TraceRecorder traces;
        probe.mirror().EditTuner().append(Tuner()); // corrupt: a tuner without identity
        QVERIFY(!probe.initForOffline(overviewOf(3)));
        QVERIFY(probe.getCurrentValue() == ResourceOverview() && probe.getCurrentValueAsString().isEmpty());
        QCOMPARE(traces.count(QStringLiteral("ReportException ")), 1);
        QCOMPARE(traces.records().last().source,
                 QStringLiteral("devicecontrol/kolta/koltacommon/abstractrgvalueobserver"));
        ResourceOverview unwritable = overviewOf(1);
        unwritable.EditTuner().append(Tuner());
        QVERIFY(!probe.initForOffline(unwritable));
        QVERIFY(probe.initForOffline(overviewOf(2)));
        QCOMPARE(probe.takeLog(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestAbstractRGValueObserver)
#include "tst_abstractrgvalueobserver.moc"
