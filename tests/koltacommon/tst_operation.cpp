#include <koltacommon/operation.h>
#include <support/test.h>

#include <stdexcept>

using Kolta::Operation;
using State = Operation::State;
using Effect = Operation::Effect;
using Reason = Operation::Reason;

namespace {

using Step = std::function<void()>;

/// Does in each step what a test tells it, which is nothing unless it is told.
class Probe : public Operation
{
public:
    explicit Probe(QObject* parent = nullptr) : Operation(parent) {}

    using Operation::hasBegun;
    using Operation::setProgress;
    using Operation::settle;
    using Operation::settleDone;

    Step onBegin, onCancel, onTime, onCleanUp;
    int cleanUps = 0;

protected:
    void begin() override { run(onBegin); }
    void cancelBegun() override { run(onCancel); }
    void timeIsOver() override { run(onTime); }
    void cleanUp() override
    {
        ++cleanUps;
        run(onCleanUp);
    }

private:
    static void run(const Step& step)
    {
        if (step)
            step();
    }
};

[[noreturn]] void fail()
{
    throw std::runtime_error("broken");
}

} // namespace

class tst_Operation : public QObject
{
    Q_OBJECT

    Startup::ManualClock clock;
    std::unique_ptr<Startup::Clock::Replacement> replacement;

private Q_SLOTS:
    void init() { replacement = std::make_unique<Startup::Clock::Replacement>(clock); }
    void cleanup()
    {
        replacement.reset();
        QCOMPARE(Kolta::InstanceCount<Operation>::living(), 0);
        QVERIFY(Operation::settleAll(0));
    }

    void settlesOnceAndTellsItLater()
    {
        Probe one, two;
        QStringList told;
        const auto listen = [&told](Probe& probe, const QString& name) {
            connect(&probe, &Operation::finished, &probe, [&told, name] { told.append(name); });
        };
        listen(one, "one"_s);
        listen(two, "two"_s);
        QCoreApplication::processEvents();
        QVERIFY(one.hasBegun() && !one.isFinished());

        two.settle(State::Lost, Effect::Unknown, Reason::LinkEnded, "first"_s);
        two.settleDone();
        one.settleDone();
        one.cancel();
        QVERIFY(told.isEmpty());
        QCOMPARE(two.cleanUps, 1);
        one.then(this, [&](Operation& operation) {
            told.append("then"_s);
            operation.then(this, [&](Operation&) { told.append("later"_s); });
        });
        QTRY_COMPARE(told.join(QLatin1Char(' ')), "two one then later"_s);
        QCOMPARE(two.state(), State::Lost);
        QCOMPARE(two.text(), "first"_s);
        QCOMPARE(one.state(), State::Done);
        QVERIFY(one.text().isEmpty());
    }

    void endsByTimeOrCancelling_data()
    {
        const Rows<int, int, int, State, Effect> row(
            "cancelAt limit endsAt state effect"); // -2: never, -1: before it begins, else milliseconds
        row("time", -2, 5000, 5000, State::TimedOut, Effect::Unknown);
        row("cancelled before it began", -1, 5000, 0, State::Cancelled, Effect::None);
        row("cancelled, never taken back", 1000, 60000, 11000, State::Cancelled, Effect::Unknown);
        row("cancelled shortly before the limit", 4000, 5000, 5000, State::Cancelled, Effect::Unknown);
        row("cancelled without limit", 1000, -1, 11000, State::Cancelled, Effect::Unknown);
    }
    void endsByTimeOrCancelling()
    {
        QFETCH(int, cancelAt);
        QFETCH(int, limit);
        QFETCH(int, endsAt);
        Probe probe;
        probe.setTimeLimit(limit);
        if (cancelAt == -1)
            probe.cancel();
        QCoreApplication::processEvents();
        QCOMPARE(probe.hasBegun(), cancelAt != -1);
        if (cancelAt >= 0) {
            clock.advance(cancelAt);
            probe.cancel();
            clock.advance(1);
            probe.cancel(); // prolongs nothing
            clock.advance(endsAt - cancelAt - 2);
        } else if (endsAt > 0) {
            clock.advance(endsAt - 1);
        }
        QCOMPARE(probe.isFinished(), endsAt == 0);
        clock.advance(1);
        QTEST(probe.state(), "state");
        QTEST(probe.effect(), "effect");
        QVERIFY(!probe.text().isEmpty());
    }

    void mayDieAnywhere_data()
    {
        const Rows<QString> row("where");
        for (const char* where :
             {"before", "begin", "cancel", "time", "cleanup", "finished", "then", "context"})
            row(where, where);
    }
    void mayDieAnywhere()
    {
        QFETCH(QString, where);
        QObject owner;
        QPointer<Probe> probe = new Probe(&owner);
        auto* const context = new QObject(&owner);
        int told = 0;
        const Step die = [&] { delete probe.data(); };
        probe->setTimeLimit(1000);
        const auto at = [&](const char* place, Step& step) {
            if (where == QLatin1String(place))
                step = die;
        };
        at("begin", probe->onBegin);
        at("cancel", probe->onCancel);
        at("time", probe->onTime);
        at("cleanup", probe->onCleanUp);
        if (where == "finished"_s)
            connect(probe, &Operation::finished, this, die);
        probe->then(context, [&](Operation&) {
            ++told;
            if (where == "then"_s)
                die();
        });
        probe->then(context, [&](Operation&) { ++told; });
        if (where == "context"_s)
            delete context;
        if (where == "before"_s)
            die();
        QCoreApplication::processEvents();
        if (probe && where == "cancel"_s)
            probe->cancel();
        clock.advance(1000);
        QCoreApplication::processEvents();
        QCOMPARE(told, where == "then"_s ? 1 : 0);
        QCOMPARE(probe.isNull(), where != "context"_s);
    }

    void survivesExceptions_data()
    {
        const Rows<bool, State, Effect> row("cancel state effect");
        row("begin", false, State::Refused, Effect::None);
        row("cancel", true, State::Cancelled, Effect::Unknown);
    }
    void survivesExceptions()
    {
        QFETCH(bool, cancel);
        Startup::TraceRecorder recorder;
        Probe probe;
        (cancel ? probe.onCancel : probe.onBegin) = fail;
        probe.onCleanUp = fail;
        int told = 0;
        connect(&probe, &Operation::finished, &probe, [] { fail(); });
        probe.then(this, [](Operation&) { fail(); });
        probe.then(this, [&](Operation&) { ++told; });
        QCoreApplication::processEvents();
        if (cancel)
            probe.cancel();
        QTRY_COMPARE(told, 1);
        QTEST(probe.state(), "state");
        QTEST(probe.effect(), "effect");
        QCOMPARE(recorder.count("broken"_s), 4);
    }

    void isWaitedForAtTheEnd()
    {
        replacement.reset(); // real time
        QPointer<Probe> probe = new Probe;
        probe->deleteWhenFinished();
        probe->onBegin = [&] { probe->setProgress("working"_s); };
        QSignalSpy progress(probe, &Operation::progressed);
        connect(probe, &Operation::progressed, probe, [&] { probe->settleDone(); });
        QVERIFY(Operation::settleAll(5000));
        QCOMPARE(progress.size(), 1);
        QTRY_VERIFY(!probe);
        Probe endless;
        QVERIFY(!Operation::settleAll(20));
    }
};

KOLTA_TEST(tst_Operation);
#include "tst_operation.moc"
