#include "operationstage.h"

#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/runningproduction.h>
#include <koltacommon/stopjob.h>
#include <support/test.h>

using namespace Kolta;
using State = Operation::State;

namespace {

ProductionOrder orderOf(const char* tunerClass = "K")
{
    ProductionOrder order;
    order.tunerClass = QString::fromLatin1(tunerClass);
    order.displayName = QStringLiteral("X");
    order.frequency = 1e6;
    return order;
}

} // namespace

Q_DECLARE_METATYPE(std::function<void(ProductionOrder&)>)

class tst_ProductionJob : public StageTest
{
    Q_OBJECT

private Q_SLOTS:
    void goesItsWay_data();
    void goesItsWay();
    void refusesWhatCannotBe_data();
    void refusesWhatCannotBe();
    void takesOverWhatRunsAlready();
    void undoesNoPlanOfOthers();
    void leavesRunningWhatItWasToldTo();
    void watchesWhatRuns_data();
    void watchesWhatRuns();
};

/// Plans, requests and stops are counted at the end; "told" is how often it was told.
void tst_ProductionJob::goesItsWay_data()
{
    const Rows<QString, int, int, int, int> add("end plans requests stops told"); // each after its script
    const auto row = [&add](const char* script, const char* end, int plans, int requests, int stops,
                            int told = 1) { add(script, end, plans, requests, stops, told); };
    const char* const done = "Done Done None";
    row("act show accept", done, 0, 1, 0);
    row("accept act show", done, 0, 1, 0);
    row("other act other show accept", done, 0, 1, 0);
    row("in:act,show,accept", done, 0, 1, 0);
    row("in:accept act show", done, 0, 1, 0);
    row("in:refuse", "Refused None RefusedByServer", 0, 1, 0);
    row("refuse", "Refused None RefusedByServer", 0, 1, 0);
    row("accept +2000", done, 1, 1, 0); // not shown yet: its tuner must not look free
    row("accept +2000 +60000", done, 0, 1, 0);
    row("accept act +2000 show", done, 0, 1, 0);
    row("act show +2000", done, 0, 1, 0); // the answer was lost
    row("act show +1999", "Running None None", 0, 1, 0, 0);
    row("busy show refuse act show accept", done, 0, 2, 0); // somebody was faster, the other tuner is there
    row("accept act show end show notice", done, 0, 1, 0);
    row("accept notice", "Lost None Ended", 0, 1, 0);
    row("notice", "Lost None Ended", 0, 1, 0);
    row("act show end notice", "Lost None Ended", 0, 1, 0);
    row("away", "Refused None NotConnected", 0, 0, 0);
    row("leave", "Lost Unknown ServerGone", 0, 1, 0);
    row("in:leave", "Lost Unknown ServerGone", 0, 1, 0);

    // Over its time.
    row("+30000", "TimedOut Unknown TimeLimit", 1, 1, 0);
    row("+30000 act show", "TimedOut Unknown TimeLimit", 0, 1, 1);
    row("+30000 accept", "TimedOut Unknown TimeLimit", 1, 1, 1);
    row("+30000 refuse", "TimedOut Unknown TimeLimit", 0, 1, 0);
    row("+30000 +600000", "TimedOut Unknown TimeLimit", 0, 1, 0);
    row("+30000 vanish appear +3000", "TimedOut Unknown TimeLimit", 0, 1, 0);
    row("+30000 act vanish appear", "TimedOut Unknown TimeLimit", 0, 1, 1);

    // Cancelled.
    row("cancel refuse", "Cancelled None Cancelled", 0, 1, 0);
    row("cancel accept notice", "Cancelled None Cancelled", 0, 1, 1);
    row("accept act cancel show end show", "Cancelled None Cancelled", 0, 1, 1);
    row("cancel accept act show end show", "Cancelled None Cancelled", 0, 1, 1);
    row("cancel accept +10000", "Cancelled Unknown Cancelled", 1, 1, 1);
    row("cancel +10000", "Cancelled Unknown Cancelled", 1, 1, 0);
    row("cancel +10000 accept", "Cancelled Unknown Cancelled", 1, 1, 1);
    row("cancel vanish +10000", "Cancelled Unknown Cancelled", 1, 1, 0);
    row("accept cancel vanish", "Cancelled Unknown Cancelled", 1, 1, 1);
    row("cancel vanish appear +3000", "Cancelled None Cancelled", 0, 1, 0);
    row("cancel act vanish appear notice", "Cancelled None Cancelled", 0, 1, 1);

    // Its handle is deleted.
    row("delete", "gone", 1, 1, 0, 0);
    row("delete refuse", "gone", 0, 1, 0, 0);
    row("delete act show accept", "gone", 0, 1, 1, 0);
    row("accept delete", "gone", 1, 1, 1, 0);
    row("in:delete act show", "gone", 0, 1, 1, 0);
    row("vanish delete appear +3000", "gone", 0, 1, 0, 0);

    // The server goes, and comes back or not.
    row("act vanish appear", done, 0, 1, 0);
    row("vanish appear +2999", "Running None None", 1, 1, 0, 0);
    row("vanish appear +3000", "Lost None NotThereAfterReturn", 0, 1, 0);
    row("accept vanish appear +3000", "Lost None NotThereAfterReturn", 0, 1, 0);
    row("vanish appear accept act show", done, 0, 1, 0);
    row("vanish appear refuse", "Refused None RefusedByServer", 0, 1, 0);
    row("vanish appear vanish appear +2000 act show", done, 0, 1, 0);
    row("vanish +30000", "TimedOut Unknown TimeLimit", 1, 1, 0);
    row("act show accept vanish appear", done, 0, 1, 0);

    // The wish itself fails on its way to the server.
    row("deny", "Refused None RefusedByOwner", 0, 1, 0);
    row("conflict", "Refused None Conflict", 0, 1, 0);
    row("cancel deny", "Cancelled None Cancelled", 0, 1, 0);
    row("tooOld act show", done, 0, 1, 0);
    row("tooOld +3000", "Lost None NotThereAfterReturn", 0, 1, 0);
}

void tst_ProductionJob::goesItsWay()
{
    const QString script = QString::fromUtf8(QTest::currentDataTag());
    for (const auto kind :
         {ProductionOrder::Kind::Mcp, ProductionOrder::Kind::Scp, ProductionOrder::Kind::Ffp}) {
        OperationStage stage;
        ProductionOrder order = orderOf();
        order.kind = kind;
        order.mcp = QUuid(stage.addMcp("M"));
        stage.run(script, [&](auto& server) { return new ProductionJob(server, order, nullptr); });
        QTEST(stage.end, "end");
        QTEST(stage.plans(), "plans");
        QTEST(stage.server.requests.size(), "requests");
        QTEST(stage.server.wishes.size(), "stops");
        QTEST(stage.told, "told");
        if (const auto* const job = qobject_cast<ProductionJob*>(stage.operation);
            job && job->state() == State::Done) {
            QCOMPARE(job->production(), stage.lastId());
            const int late = script.indexOf(QLatin1String("accept +2000"));
            const int acting = script.indexOf(QLatin1String("accept act +2000"));
            QCOMPARE(job->processor().isEmpty(), late == 0 || acting == 0);
            QCOMPARE(job->wasAdopted(),
                     script.contains(QRegularExpression(QStringLiteral("vanish|tooOld"))) &&
                         !script.contains(QLatin1String("accept")));
        }
        for (const QString& stop : qAsConst(stage.server.wishes))
            QCOMPARE(stop, QStringLiteral("StopResource ") + stage.lastId().toString());
    }
}

void tst_ProductionJob::refusesWhatCannotBe_data()
{
    const Rows<std::function<void(ProductionOrder&)>, QString, QString> row("change end text");
    const auto k = [](const char* latin1) { return QString::fromLatin1(latin1); };
    row(
        "no tuner named", [](auto& o) { o.tunerClass.clear(); }, "Refused None InvalidOrder",
        "neither a tuner");
    row(
        "negative bandwidth", [](auto& o) { o.bandwidth = -1; }, "Refused None InvalidOrder", "at least 0");
    row(
        "unknown class", [k](auto& o) { o.tunerClass = k("L"); }, "Refused None NoSuchThing", "known: K");
    row(
        "unknown tuner", [k](auto& o) { o.tunerGuid = k("{x}"); }, "Refused None NoSuchThing",
        "no tuner {x}");
    row(
        "out of range", [](auto& o) { o.frequency = 98.5e6; }, "Refused None Unsuitable", "1 out of range");
    row(
        "too wide", [](auto& o) { o.bandwidth = 2e6; }, "Refused None Unsuitable", "1 too narrow");
    row(
        "taken", [k](auto& o) { o.tunerGuid = k("busy"); }, "Refused None NoTuner",
        "tuner T1 is taken: MCP 'M'");
    row(
        "the named one does not fit",
        [k](auto& o) {
            o.tunerGuid = k("busy");
            o.frequency = 98.5e6;
        },
        "Refused None Unsuitable", "tuner T1 does not fit: needs 98.5 MHz, reaches 0.009 to 30 MHz");
    row(
        "all taken", [k](auto& o) { o.storageGuids = QStringList{k("S")}; }, "Refused None NoTuner",
        "1 in use, 1 no matching storage");
    row(
        "FFP without MCP", [](auto& o) { o.kind = ProductionOrder::Kind::Ffp; }, "Refused None InvalidOrder",
        "an FFP needs an MCP");
    row(
        "FFP in no MCP",
        [](auto& o) {
            o.kind = ProductionOrder::Kind::Ffp;
            o.mcp = QUuid::createUuid();
        },
        "Refused None NoSuchThing", "no MCP");
    row(
        "FFP outside its MCP",
        [](auto& o) {
            o.kind = ProductionOrder::Kind::Ffp;
            o.mcp = QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11);
            o.tunerClass.clear();
            o.frequency = 5e6;
        },
        "Refused None Unsuitable", "needs 5 MHz, the MCP covers 1 to 2 MHz");
    row(
        "record of another kind", [](auto& o) { o.processor = std::make_shared<RESOURCEMANAGEMENT::SCP>(); },
        "Refused None InvalidOrder", "no MCP");
}

void tst_ProductionJob::refusesWhatCannotBe()
{
    QFETCH(std::function<void(ProductionOrder&)>, change);
    OperationStage stage;
    const QString mcp = stage.addMcp("M");
    stage.server.running.EditMCP().first().EditDataSource().SetTunerGUID(stage.tuner(0));
    stage.server.setTunerIdle(stage.tuner(0), false);
    ProductionOrder order = orderOf();
    change(order);
    if (order.tunerGuid == QLatin1String("busy"))
        order.tunerGuid = stage.tuner(0);
    if (order.mcp == QUuid(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11))
        order.mcp = QUuid(mcp);
    stage.run(QString(), [&](auto& server) { return new ProductionJob(server, order, nullptr); });
    QTEST(stage.end, "end");
    QFETCH(QString, text);
    QVERIFY2(stage.operation->text().contains(text), qPrintable(stage.operation->text()));
    QCOMPARE(stage.plans(), 0);
    QVERIFY(stage.server.requests.isEmpty());
}

void tst_ProductionJob::takesOverWhatRunsAlready()
{
    OperationStage stage;
    const QString mcp = stage.addMcp("M");
    ProductionOrder order = orderOf();
    order.production = QUuid(stage.server.running.GetMCP().first().GetProductionID());
    stage.run(QString(), [&](auto& server) { return new ProductionJob(server, order, nullptr); });
    const auto* const job = qobject_cast<ProductionJob*>(stage.operation);
    QVERIFY(job->wasAdopted());
    QCOMPARE(job->processor(), mcp);
    QVERIFY(stage.server.requests.isEmpty());

    OperationStage other; // of one that has ended meanwhile
    other.run(QStringLiteral("act show accept"),
              [&](auto& server) { return new ProductionJob(server, order, nullptr); });
    QCOMPARE(other.end, QStringLiteral("Done Done None"));
    QCOMPARE(other.lastId(), order.production);
}

/// Somebody else plans the tuner of an order that is looked after, in the middle of it.
void tst_ProductionJob::undoesNoPlanOfOthers()
{
    OperationStage stage;
    stage.run(QStringLiteral("delete"),
              [&](auto& server) { return new ProductionJob(server, orderOf(), nullptr); });
    TunerBookingManager& booking = stage.interface->getBookingManager();
    QCOMPARE(ServerTuners::holderOf(*stage.interface, stage.tuner(0)),
             QStringLiteral("planned here for 'X'"));
    booking.clearPlanning();
    QString error;
    QVERIFY(booking.planTuner(stage.tuner(0), error));
    QCOMPARE(ServerTuners::holderOf(*stage.interface, stage.tuner(0)), QStringLiteral("planned here"));
    stage.answer(false);
    stage.clock.advance(600000);
    QCOMPARE(booking.getTunerState(stage.tuner(0)), TunerBookingManager::ePlanned);
}

void tst_ProductionJob::leavesRunningWhatItWasToldTo()
{
    OperationStage stage;
    stage.run(QStringLiteral("+30000 act show accept"), [&](auto& server) {
        auto* const job = new ProductionJob(server, orderOf(), nullptr);
        job->setTakeBack(false);
        return job;
    });
    QVERIFY(stage.server.wishes.isEmpty());
    QCOMPARE(stage.plans(), 0);
}

void tst_ProductionJob::watchesWhatRuns_data()
{
    const Rows<QString> row("states"); // each after its script
    row("notice", "Ended");
    row("end show", "Ended");
    row("vanish", "Unknown");
    row("vanish appear", "Unknown Running");
    row("vanish appear vanish", "Unknown Running Unknown");
    row("end vanish appear +2999", "Unknown");
    row("end vanish appear +3000", "Unknown Ended");
    row("leave", "Unknown");
}

void tst_ProductionJob::watchesWhatRuns()
{
    const QString script = QString::fromUtf8(QTest::currentDataTag());
    OperationStage stage;
    stage.addMcp("M");
    QStringList states;
    std::unique_ptr<RunningProduction> running;
    stage.actions.insert(QStringLiteral("watch"), [&] {
        const auto* const job = qobject_cast<ProductionJob*>(stage.operation);
        running = std::make_unique<RunningProduction>(*stage.interface, job->production(), job->processor(),
                                                      nullptr);
        connect(running.get(), &RunningProduction::stateChanged, this, [&](RunningProduction::State state) {
            states.append(
                QString::fromLatin1(QMetaEnum::fromType<RunningProduction::State>().valueToKey(int(state))));
        });
    });
    stage.run(QStringLiteral("act show accept watch ") + script,
              [&](auto& server) { return new ProductionJob(server, orderOf(), nullptr); });
    QTEST(states.join(QLatin1Char(' ')), "states");
    if (script == QLatin1String("vanish appear")) {
        const std::unique_ptr<StopJob> stop(running->stop(nullptr));
        OperationStage::turn();
        QCOMPARE(stage.server.wishes,
                 QStringList{QStringLiteral("StopResource ") + stage.lastId().toString()});
    }
}

KOLTA_TEST(tst_ProductionJob);
#include "tst_productionjob.moc"
