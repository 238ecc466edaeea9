#include "operationstage.h"

#include <koltacommon/candidatesmodel.h>
#include <koltacommon/ordercandidates.h>
#include <koltacommon/viewroles.h>
#include <support/test.h>

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using namespace Kolta;

/// How the tuner of an order would be chosen, as a view follows it.
class TestCandidates : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void followsOrderAndServer();
};

void TestCandidates::followsOrderAndServer()
{
    OperationStage stage;
    const QString mcp = stage.addMcp("Watch");
    stage.server.running.EditMCP()[0].EditDataSource().SetTunerGUID(stage.tuner(1));
    stage.server.appear();
    KoltaServerInterface& server =
        *KoltaServerRegistry::Instance().addServer(stage.server.name(), stage.server.path());
    CandidatesModel model;
    const QAbstractItemModelTester tester(&model);
    QVERIFY(model.addServer(server));
    QVERIFY(model.rowCount() == 0 && !model.problemOf(server.getAddress()).isEmpty()); // nothing is ordered
    const auto text = [&model](int row, int column) { return model.index(row, column).data().toString(); };
    const auto turn = [] { OperationStage::turn(); };

    ProductionOrder order;
    order.tunerClass = "K"_s;
    order.frequency = 5e6;
    model.setOrder(order);
    turn();
    QCOMPARE(model.rowCount(), 2);
    QVERIFY(model.problemOf(server.getAddress()).isEmpty());
    QCOMPARE(text(0, CandidatesModel::eTunerColumn), "T1"_s);
    QCOMPARE(text(1, CandidatesModel::eRankColumn), "2"_s);
    const QPersistentModelIndex first = model.index(0, CandidatesModel::eRankColumn);

    // Both at once are one change; the selected tuner stays what it is.
    const QSignalSpy changes(&model, &CandidatesModel::si_ChoiceChanged);
    stage.server.setTunerIdle(stage.tuner(1), false);
    stage.server.show();
    QString problem;
    QVERIFY(server.getBookingManager().planTuner(stage.tuner(0), problem));
    turn();
    QCOMPARE(changes.size(), 1);
    QCOMPARE(first.data(ViewRoles::GuidRole).toString(), stage.tuner(0));
    QVERIFY(first.data().toString().isEmpty() && first.data(ViewRoles::PlannedRole).toBool());
    const auto candidate = model.index(1, 0).data(ViewRoles::ItemRole).value<OrderCandidate>();
    QCOMPARE(candidate.facts.refusal, TunerRefusal::NotIdle);
    QCOMPARE(candidate.holder.processor, mcp);
    QCOMPARE(candidate.holder.name, "Watch"_s);
    QCOMPARE(text(1, CandidatesModel::eReasonColumn), candidate.holder.text());

    // Who is not there shows what was known last, and comes back to the same rows.
    stage.server.vanish();
    turn();
    QVERIFY(first.data(ViewRoles::StaleRole).toBool() && !model.problemOf(server.getAddress()).isEmpty());
    QVERIFY(server.getBookingManager().undoTunerPlanning(stage.tuner(0)));
    stage.server.appear();
    turn();
    QVERIFY(!first.data(ViewRoles::StaleRole).toBool());
    QCOMPARE(first.data().toString(), "1"_s);

    order.frequency = 98.5e6;
    model.setOrder(order);
    turn();
    QVERIFY(text(0, CandidatesModel::eReasonColumn).startsWith("needs 98.5 MHz"_s));
    order.tunerClass.clear();
    order.frequency = 0;
    order.tunerGuid = stage.tuner(0);
    model.setOrder(order);
    turn();
    QCOMPARE(model.rowCount(), 1);
    QVERIFY(first.isValid() && first.data().toString() == "1"_s);
    order = ProductionOrder();
    order.tunerClass = "none"_s;
    model.setOrder(order);
    turn();
    QVERIFY(model.rowCount() == 0 && model.problemOf(server.getAddress()).contains("known: K"_s));

    // An FFP is where its MCP runs, whatever tuner it gets.
    order.kind = ProductionOrder::Kind::Ffp;
    order.tunerClass = "K"_s;
    order.mcp = QUuid(mcp);
    model.setOrder(order);
    turn();
    QCOMPARE(model.rowCount(), 2);
    stage.server.running.EditMCP().clear();
    stage.server.show();
    turn();
    QVERIFY(model.rowCount() == 0 && model.problemOf(server.getAddress()).startsWith("no MCP"_s));
    order = ProductionOrder();

    // Whoever does not look is told nothing, and all of it at once when he looks again.
    model.setFollowing(false);
    const int before = changes.size();
    order.tunerClass = "K"_s;
    model.setOrder(order);
    turn();
    stage.server.setTunerIdle(stage.tuner(1), true);
    stage.server.show();
    turn();
    QVERIFY(model.rowCount() == 0 && changes.size() == before);
    model.setFollowing(true);
    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(text(1, CandidatesModel::eRankColumn), "2"_s);
    QCOMPARE(changes.size(), before + 1);

    // Who is away has answered the order that he was asked for, whatever its name, and no other.
    stage.server.vanish();
    turn();
    order.displayName = "renamed"_s;
    model.setOrder(order);
    turn();
    QVERIFY(model.rowCount() == 2 && model.index(0, 0).data(ViewRoles::StaleRole).toBool());
    for (const double frequency : {98.5e6, 0.0, 98.5e6}) {
        order.frequency = frequency;
        model.setOrder(order);
        turn();
        QCOMPARE(model.rowCount(), frequency > 0 ? 0 : 2);
    }
    stage.server.appear();
    turn();
    QCOMPARE(model.rowCount(), 2);
    QVERIFY(text(0, CandidatesModel::eReasonColumn).startsWith("needs 98.5 MHz"_s));
}

KOLTA_TEST(TestCandidates);
#include "tst_candidates.moc"
