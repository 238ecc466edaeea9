#include "operationstage.h"

#include <koltacommon/movejob.h>
#include <koltacommon/ownershipjob.h>
#include <koltacommon/powerjob.h>
#include <koltacommon/stopjob.h>
#include <koltacommon/terminationjob.h>
#include <support/test.h>

using namespace Kolta;

/// Moves, stops, ownership and power, each on a stage with two MCPs, M with an FFP F, and N.
class tst_ServerOperations : public StageTest
{
    Q_OBJECT

private Q_SLOTS:
    void goTheirWay_data();
    void goTheirWay();
    void stopsSeveral();
    void refuseWhatCannotBe();
};

void tst_ServerOperations::goTheirWay_data()
{
    const Rows<QString, QString, QString, int> add("kind script end asked"); // requests and wishes
    const auto row = [&add](const char* kind, const char* script, const char* end, int asked) {
        add(qPrintable("%1: %2"_s.arg(QLatin1String(kind), QLatin1String(script))), kind, script, end, asked);
    };
    const char* const done = "Done Done None";
    const char* const cancelled = "Cancelled Unknown Cancelled";
    const char* const late = "TimedOut Unknown TimeLimit";
    for (const char* const kind : {"move", "stop", "take", "release", "power"}) {
        row(kind, "away", "Refused None NotConnected", 0);
        row(kind, "leave", "Lost Unknown ServerGone", 1);
        const int undone = qstrcmp(kind, "take") == 0 ? 2 : 1;
        row(kind, "delete", "gone", undone);
        row(kind, "+30000", late, undone);
        row(kind, "cancel +10000", cancelled, undone);
        row(kind, "vanish cancel +10000", cancelled, 1);
        row(kind, "vanish delete appear +3000", "gone", 1);
        row(kind, "vanish leave", "Lost Unknown ServerGone", 1);
        row(kind, "deny", "Refused None RefusedByOwner", 1);
        row(kind, "conflict", "Refused None Conflict", 1);
        row(kind, "vanish +30000", late, 1);
        row(kind, "do show", qstrcmp(kind, "move") == 0 ? "Running None None" : done, 1);
    }
    row("move", "act show accept", done, 1);
    row("move", "accept", done, 1);
    row("move", "in:accept", done, 1);
    row("move", "other refuse", "Refused None RefusedByServer", 1);
    row("move", "act show +2000", done, 1);
    row("move", "act show back show +2000", "Running None None", 1);
    row("move", "act vanish appear", done, 1);
    row("move", "vanish appear +3000", "Lost None NotThereAfterReturn", 1);
    row("move", "vanish appear accept", done, 1);

    row("stop", "notice", done, 1);
    row("stop", "do show notice", done, 1);
    row("stop", "clear show", "Running None None", 1); // an empty overview is in doubt
    row("stop", "refused", "Refused None RefusedByServer", 1);
    row("stop", "do vanish appear +2999", "Running None None", 1);
    row("stop", "do vanish appear +3000", done, 1);
    row("stop", "vanish appear notice", done, 2); // asked again, once
    row("stop", "vanish appear show show +3000", "Running None None", 2);

    row("take", "cancel", "Running None None", 1);
    row("take", "cancel do show undo show", "Cancelled None Cancelled", 2);
    row("take", "theirs show +5000", "Refused None Conflict", 1);
    row("take", "do vanish appear", done, 1);
    row("take", "vanish appear do show", done, 2);
    row("release", "do vanish appear", done, 1);
    row("release", "vanish appear do show", done, 2);

    row("stop", "tooOld notice", done, 2);
    row("move", "act show tooOld", done, 1);
    row("power", "half show", "Running None None", 1);
    row("power", "do vanish appear", done, 1);
    row("power", "vanish appear do show", done, 1);
    row("seize", "do show", done, 1);
    row("free", "do show", done, 1);

    row("quit", "vanish", done, 1);
    row("quit", "leave", done, 1);
    row("reset", "vanish appear", done, 1);
    row("reset", "tooOld", "Running None None", 1);
    row("reset", "deny", "Refused None RefusedByOwner", 1);
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
        if (kind == "move"_s) {
            actions["back"_s] = [&] {
                auto& mcps = stage.server.running.EditMCP();
                mcps[0].EditFFP().append(mcps[1].EditFFP().takeLast());
            };
            actions["do"_s] = [] {};
            return new MoveJob(server, ffpGuid, QUuid(n), nullptr);
        }
        if (kind == "stop"_s) {
            actions["do"_s] = [&] { stage.server.end(production); };
            actions["clear"_s] = [&] { stage.server.running.EditMCP().clear(); };
            actions["notice"_s] = [&] { stage.server.tellEnded(production); };
            actions["refused"_s] = [&] {
                stage.server.say("Nothing to stop: "_s + production.toString(QUuid::WithoutBraces).toUpper());
            };
            return new StopJob(server, {production}, nullptr);
        }
        if (kind == "power"_s) {
            const auto off = [&](int tuner) {
                stage.server.resources.EditTuner()[tuner].SetAccessible(false);
            };
            actions["half"_s] = [off] { off(0); };
            actions["do"_s] = [off] {
                off(0);
                off(1);
            };
            return new PowerJob(server, KoltaResourceObserver::eUnitOff, {stage.tuner(0), stage.tuner(1)},
                                nullptr);
        }
        if (kind == "quit"_s || kind == "reset"_s)
            return new TerminationJob(
                server, kind == "quit"_s ? TerminationJob::Action::Quit : TerminationJob::Action::Reset,
                nullptr);
        if (kind == "seize"_s || kind == "free"_s) {
            own(QUuid::createUuid());
            stage.server.show();
            const bool seizes = kind == "seize"_s;
            actions["do"_s] = seizes ? std::function<void()>(take) : free;
            return new OwnershipJob(
                server, m, seizes ? OwnershipJob::Action::ForceTake : OwnershipJob::Action::ForceRelease,
                nullptr);
        }
        const bool takes = kind == "take"_s;
        actions["do"_s] = takes ? std::function<void()>(take) : free;
        actions["undo"_s] = free;
        actions["theirs"_s] = [&] { own(QUuid::createUuid()); };
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
    QCOMPARE(stage.told, stage.end == "gone"_s || stage.end.startsWith("Running"_s) ? 0 : 1);
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
    stage.actions["stop"_s] = stop;
    stage.actions["rest"_s] = [&] {
        stage.server.say(unknown.toString() + " is not known"_s);
        stage.server.tellEnded(productionOfN);
    };
    stage.run("stop rest"_s, [&](auto& server) {
        return new StopJob(server, {m, productionOfN, unknown}, nullptr);
    });
    QCOMPARE(stage.end, "Refused Done RefusedByServer"_s);
    const auto targets = qobject_cast<StopJob*>(stage.operation)->targets();
    QCOMPARE(targets.at(0).state, Operation::State::Done);
    QCOMPARE(targets.at(1).state, Operation::State::Done);
    QVERIFY(targets.at(2).state == Operation::State::Refused && !targets.at(2).text.isEmpty());

    const std::unique_ptr<StopJob> all(StopJob::all(*stage.interface, nullptr));
    OperationStage::turn();
    QCOMPARE(stage.server.wishes.last(), "stopAll 1"_s);
    QCOMPARE(all->targets().size(), 1);
    stage.server.end(productionOfN);
    stage.server.show();
    stage.server.tellEnded(productionOfN);
    QCOMPARE(all->state(), Operation::State::Done);
    const std::unique_ptr<StopJob> none(StopJob::all(*stage.interface, nullptr));
    OperationStage::turn();
    QCOMPARE(endOf(none.get()), "Done Done None"_s);
}

void tst_ServerOperations::refuseWhatCannotBe()
{
    OperationStage stage;
    const QUuid m(stage.addMcp("M"));
    stage.run(QString(), [&](auto& server) { return new StopJob(server, {QUuid()}, nullptr); });
    QCOMPARE(stage.end, "Refused None InvalidOrder"_s);
    MoveJob move(*stage.interface, QUuid(), m, nullptr);
    PowerJob unknown(*stage.interface, KoltaResourceObserver::eUnitOn, {"{x}"_s}, nullptr);
    PowerJob already(*stage.interface, KoltaResourceObserver::eUnitOn, {stage.tuner(0)}, nullptr);
    OwnershipJob nothing(*stage.interface, m.toString(), OwnershipJob::Action::Release, nullptr);
    OperationStage::turn();
    QCOMPARE(endOf(&move), "Refused None InvalidOrder"_s);
    QCOMPARE(endOf(&unknown), "Refused None NoSuchThing"_s);
    QCOMPARE(endOf(&already), "Done Done None"_s);
    QCOMPARE(endOf(&nothing), "Done Done None"_s);
    QVERIFY(stage.server.wishes.isEmpty() && stage.server.requests.isEmpty());
}

KOLTA_TEST(tst_ServerOperations);
#include "tst_serveroperations.moc"
