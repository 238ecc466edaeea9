#include "operationstage.h"

#include <koltacommon/movejob.h>
#include <koltacommon/ownershipjob.h>
#include <koltacommon/powerjob.h>
#include <koltacommon/stopjob.h>
#include <support/rows.h>
#include <support/testprogram.h>

#include <QtTest>

using namespace Kolta;

namespace {

QString text(const char* latin1)
{
    return QString::fromLatin1(latin1);
}

} // namespace

/// Moves, stops, ownership and power, each on a stage with two MCPs, M with an FFP F, and N.
class tst_ServerOperations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        QCOMPARE(InstanceCount<Operation>::living(), 0);
        QCOMPARE(InstanceCount<KoltaServerInterface>::living(), 0);
        values::Tree::Instance().Clear();
        QVERIFY(Operation::settleAll(0));
    }
    void goTheirWay_data();
    void goTheirWay();
    void stopsSeveral();
    void refuseWhatCannotBe();
};

void tst_ServerOperations::goTheirWay_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("end");
    QTest::addColumn<int>("asked"); // requests and wishes
    const auto row = [](const char* kind, const char* script, const char* end, int asked) {
        QTest::addRow("%s: %s", kind, script) << text(kind) << text(script) << text(end) << asked;
    };
    const char* const done = "Done Done None";
    const char* const cancelled = "Cancelled Unknown Cancelled";
    const char* const late = "TimedOut Unknown TimeLimit";
    for (const char* const kind : {"move", "stop", "take", "release", "power"}) {
        row(kind, "away", "Refused None NotConnected", 0);
        row(kind, "leave", "Lost Unknown ServerGone", 1);
        row(kind, "delete", "gone", text(kind) == text("take") ? 2 : 1);
        row(kind, "+30000", late, 1);
        row(kind, "deny", "Refused None RefusedByOwner", 1);
        row(kind, "conflict", "Refused None Conflict", 1);
        row(kind, "vanish +30000", late, 1);
        row(kind, "do show", text(kind) == text("move") ? "Running None None" : done, 1);
    }
    row("move", "act show accept", done, 1);
    row("move", "accept", done, 1);
    row("move", "in:accept", done, 1);
    row("move", "other refuse", "Refused None RefusedByServer", 1);
    row("move", "act show +2000", done, 1);
    row("move", "act show back show +2000", "Running None None", 1);
    row("move", "cancel", cancelled, 1);
    row("move", "act vanish appear", done, 1);
    row("move", "vanish appear +3000", "Lost None NotThereAfterReturn", 1);
    row("move", "vanish appear accept", done, 1);

    row("stop", "notice", done, 1);
    row("stop", "do show notice", done, 1);
    row("stop", "clear show", "Running None None", 1); // an empty overview is in doubt
    row("stop", "refused", "Refused None RefusedByServer", 1);
    row("stop", "cancel", cancelled, 1);
    row("stop", "do vanish appear +2999", "Running None None", 1);
    row("stop", "do vanish appear +3000", done, 1);
    row("stop", "vanish appear notice", done, 2); // asked again, once
    row("stop", "vanish appear show show +3000", "Running None None", 2);

    row("take", "cancel", "Running None None", 1);
    row("take", "cancel do show undo show", "Cancelled None Cancelled", 2);
    row("take", "cancel +10000", cancelled, 1);
    row("take", "theirs show +5000", "Refused None Conflict", 1);
    row("take", "do vanish appear", done, 1);
    row("take", "vanish appear do show", done, 2);
    row("release", "cancel", cancelled, 1);
    row("release", "do vanish appear", done, 1);

    row("stop", "tooOld notice", done, 2);
    row("move", "act show tooOld", done, 1);
    row("power", "half show", "Running None None", 1);
    row("power", "do vanish appear", done, 1);
    row("power", "cancel", cancelled, 1);
}

void tst_ServerOperations::goTheirWay()
{
    QFETCH(QString, kind);
    OperationStage stage;
    const QString m = stage.addMcp("M");
    const QString n = stage.addMcp("N");
    const QUuid ffpGuid = QUuid::createUuid();
    RESOURCEMANAGEMENT::FFP ffp;
    ffp.EditKoltaProcessor().EditTavikResource().SetGUID(ffpGuid.toString());
    stage.server.running.EditMCP()[0].EditFFP().append(ffp);
    const QUuid production(stage.server.running.GetMCP().first().GetProductionID());
    const auto own = [&](const QUuid& client) {
        RESOURCEMANAGEMENT::Owner owner;
        owner.SetOwnedGUID(m);
        owner.SetClientID(client.toString());
        stage.server.owners.EditOwner() = {owner};
    };
    auto& actions = stage.actions;
    const auto free = [&] { stage.server.owners.EditOwner().clear(); };
    const auto take = [&] { own(stage.interface->getClientId()); };
    const auto make = [&](KoltaServerInterface& server) -> Operation* {
        if (kind == text("move")) {
            actions[text("back")] = [&] {
                auto& mcps = stage.server.running.EditMCP();
                mcps[0].EditFFP().append(mcps[1].EditFFP().takeLast());
            };
            actions[text("do")] = [] {};
            return new MoveJob(server, ffpGuid, QUuid(n), nullptr);
        }
        if (kind == text("stop")) {
            actions[text("do")] = [&] { stage.server.end(production); };
            actions[text("clear")] = [&] { stage.server.running.EditMCP().clear(); };
            actions[text("notice")] = [&] { stage.server.tellEnded(production); };
            actions[text("refused")] = [&] {
                stage.server.say(text("Nothing to stop: ") + production.toString());
            };
            return new StopJob(server, {production}, nullptr);
        }
        if (kind == text("power")) {
            const auto off = [&](int tuner) {
                stage.server.resources.EditTuner()[tuner].SetAccessible(false);
            };
            actions[text("half")] = [off] { off(0); };
            actions[text("do")] = [off] {
                off(0);
                off(1);
            };
            return new PowerJob(server, KoltaResourceObserver::eUnitOff, {stage.tuner(0), stage.tuner(1)},
                                nullptr);
        }
        const bool takes = kind == text("take");
        actions[text("do")] = takes ? std::function<void()>(take) : free;
        actions[text("undo")] = free;
        actions[text("theirs")] = [&] { own(QUuid::createUuid()); };
        if (!takes) {
            own(server.getClientId());
            stage.server.show();
        }
        return new OwnershipJob(server, m, takes ? OwnershipJob::Action::Take : OwnershipJob::Action::Release,
                                nullptr);
    };
    QFETCH(QString, script);
    stage.run(script, make);
    QTEST(stage.end, "end");
    QTEST(stage.server.requests.size() + stage.server.wishes.size(), "asked");
    QCOMPARE(stage.told, stage.end == text("gone") || stage.end.startsWith(text("Running")) ? 0 : 1);
}

/// Named by production and by processor, by several at once, and all that runs.
void tst_ServerOperations::stopsSeveral()
{
    OperationStage stage;
    const QUuid m(stage.addMcp("M"));
    stage.addMcp("N");
    const QUuid productionOfM(stage.server.running.GetMCP().at(0).GetProductionID());
    const QUuid productionOfN(stage.server.running.GetMCP().at(1).GetProductionID());
    const QUuid unknown = QUuid::createUuid();
    const auto stop = [&] {
        stage.server.end(productionOfM);
        stage.server.show();
    };
    stage.actions[text("stop")] = stop;
    stage.actions[text("rest")] = [&] {
        stage.server.say(unknown.toString() + text(" is not known"));
        stage.server.tellEnded(productionOfN);
    };
    stage.run(text("stop rest"), [&](auto& server) {
        return new StopJob(server, {m, productionOfN, unknown}, nullptr);
    });
    QCOMPARE(stage.end, text("Refused Done RefusedByServer"));
    const auto targets = qobject_cast<StopJob*>(stage.operation)->targets();
    QCOMPARE(targets.at(0).state, Operation::State::Done);
    QCOMPARE(targets.at(1).state, Operation::State::Done);
    QVERIFY(targets.at(2).state == Operation::State::Refused && !targets.at(2).text.isEmpty());

    const std::unique_ptr<StopJob> all(StopJob::all(*stage.interface, nullptr));
    OperationStage::turn();
    QCOMPARE(stage.server.wishes.last(), text("stopAll 1"));
    QCOMPARE(all->targets().size(), 1);
    stage.server.end(productionOfN);
    stage.server.show();
    stage.server.tellEnded(productionOfN);
    QCOMPARE(all->state(), Operation::State::Done);
    const std::unique_ptr<StopJob> none(StopJob::all(*stage.interface, nullptr));
    OperationStage::turn();
    QCOMPARE(OperationStage::describe(*none), text("Done Done None"));
}

void tst_ServerOperations::refuseWhatCannotBe()
{
    OperationStage stage;
    const QUuid m(stage.addMcp("M"));
    stage.run(QString(), [&](auto& server) { return new StopJob(server, {QUuid()}, nullptr); });
    QCOMPARE(stage.end, text("Refused None InvalidOrder"));
    MoveJob move(*stage.interface, QUuid(), m, nullptr);
    PowerJob unknown(*stage.interface, KoltaResourceObserver::eUnitOn, {text("{x}")}, nullptr);
    PowerJob already(*stage.interface, KoltaResourceObserver::eUnitOn, {stage.tuner(0)}, nullptr);
    OwnershipJob nothing(*stage.interface, m.toString(), OwnershipJob::Action::Release, nullptr);
    OperationStage::turn();
    QCOMPARE(OperationStage::describe(move), text("Refused None InvalidOrder"));
    QCOMPARE(OperationStage::describe(unknown), text("Refused None NoSuchThing"));
    QCOMPARE(OperationStage::describe(already), text("Done Done None"));
    QCOMPARE(OperationStage::describe(nothing), text("Done Done None"));
    QVERIFY(stage.server.wishes.isEmpty() && stage.server.requests.isEmpty());
}

KOLTA_TEST(tst_ServerOperations);
#include "tst_serveroperations.moc"
