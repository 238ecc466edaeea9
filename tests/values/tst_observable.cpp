#include <support/probe.h>
#include <support/test.h>

#include <array>

using Probes = std::array<std::unique_ptr<Probe>, 3>;
using Action = std::function<void(Probes&, std::unique_ptr<Observable>&)>;
Q_DECLARE_METATYPE(Action)

namespace {
const QString A = "a"_s, B = "b"_s, C = "c"_s;
} // namespace

class TestObservable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changesDuringANotification_data()
    {
        // What is heard in a first and in a second notification; what b does in its first call.
        const Rows<QString, QString, Action> row("first second action");
        row("detach itself", "a3 b3 c3", "a3 c3", [](Probes& p, auto& o) { o->Detach(p[1].get()); });
        row("detach the next", "a3 b3", "a3 b3", [](Probes& p, auto& o) { o->Detach(p[2].get()); });
        row("detach the previous", "a3 b3 c3", "b3 c3", [](Probes& p, auto& o) { o->Detach(p[0].get()); });
        row("destroy itself", "a3 b3 c3", "a3 c3", [](Probes& p, auto&) { p[1].reset(); });
        row("destroy the next", "a3 b3", "a3 b3", [](Probes& p, auto&) { p[2].reset(); });
        row("delete the observable", "a3 b3", "", [](Probes&, auto& o) { o.reset(); });
        row("delete everything", "a3 b3", "", [](Probes& p, auto& o) {
            p[2].reset();
            o.reset();
            p = Probes();
        });
        row("attach again at the end", "a3 b3 c3", "b3 c3 a3", [](Probes& p, auto& o) {
            o->Detach(p[0].get());
            o->Attach(p[0].get());
        });
        row("nested", "a3 b3 a7 b7 c7 c3", "a3 b3 c3", [](Probes& p, auto& o) {
            p[1]->action = nullptr;
            o->Notify(eChangeContent);
        });
        row("most go in a nested one", "a3 b3 a7 b7 c7 c3", "c3", [](Probes& p, auto& o) {
            p[1]->action = nullptr;
            p[2]->action = [&](Observable*, TChangeCode) {
                o->Detach(p[0].get());
                o->Detach(p[1].get());
            };
            o->Notify(eChangeContent);
        });
        row("deleted in a nested one", "a3 b3 a7 b7 c7", "", [](Probes& p, auto& o) {
            p[1]->action = nullptr;
            p[2]->action = [&o](Observable*, TChangeCode) { o.reset(); };
            o->Notify(eChangeContent);
        });
        row("gone in a nested one", "a3 b3 a7 b7 c7", "a3 b3", [](Probes& p, auto& o) {
            p[1]->action = nullptr;
            p[2]->action = [&p](Observable*, TChangeCode) { p[2].reset(); };
            o->Notify(eChangeContent);
        });
    }

    void changesDuringANotification()
    {
        QFETCH(Action, action);
        QFETCH(QString, first);
        QFETCH(QString, second);

        QStringList log;
        auto observable = std::make_unique<Observable>();
        Probes probes{std::make_unique<Probe>(&log, A), std::make_unique<Probe>(&log, B),
                      std::make_unique<Probe>(&log, C)};
        for (auto& probe : probes)
            observable->Attach(probe.get());
        probes[1]->action = [&](Observable*, TChangeCode) {
            if (probes[1])
                probes[1]->action = nullptr;
            action(probes, observable);
        };

        observable->Notify(eChangeValue);
        QCOMPARE(log.join(QLatin1Char(' ')), first);
        log.clear();
        if (observable)
            observable->Notify(eChangeValue);
        QCOMPARE(log.join(QLatin1Char(' ')), second);
    }

    void originatorIsNotCalledBack()
    {
        QStringList log;
        Observable observable;
        Probe a(&log, A), b(&log, B);
        observable.Attach(&a);
        observable.Attach(&b);
        observable.Attach(&a);
        observable.Notify(static_cast<TChangeCode>(77), &a);
        observable.Notify(eChangeState);
        QCOMPARE(log, words("b77 a2 b2"));
    }

    void bothEndsForgetEachOther()
    {
        QStringList log;
        Observable kept;
        {
            auto gone = std::make_unique<Observable>();
            Probe a(&log, A);
            kept.Attach(&a);
            gone->Attach(&a);
            const Observable* const address = gone.get();
            gone.reset();
            QVERIFY(!a.IsAttachedTo(address));
            QVERIFY(a.IsAttachedTo(&kept));
            const Probe copy(a);
            QVERIFY(!kept.IsAttached(&copy));
        }
        QCOMPARE(kept.ObserverCount(), 0);
        kept.Notify(eChangeValue);
        QVERIFY(log.isEmpty());
    }
};

KOLTA_TEST(TestObservable);
#include "tst_observable.moc"
