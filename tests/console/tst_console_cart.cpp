#include "consoletest.h"

#include <koltaconsole/pages/order/candidatestable.h>
#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/session/orderdraft.h>

#include <koltacommon/candidatesmodel.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/viewroles.h>

using namespace KoltaConsole;

/// Orders that are shared out and started together.
class TestCart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sharesOut();
    void whyNothing();
    void follows();
};

/// What is shared out is planned, once each; what is taken out is given back.
void TestCart::sharesOut()
{
    Stage stage(1);
    QTRY_VERIFY(stage.isSettled());
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    auto& booking = stage.session->server(QStringLiteral("S1"))->getBookingManager();
    const int free = booking.getNumberOfFreeTuners();
    choose(*page, "Class", "Wide");
    QTRY_COMPARE(page->findChild<CandidatesTable*>()->acceptedCount(), 4);
    for (int i = 0; i < 5; ++i)
        QVERIFY(stage.run("order-add"));
    QCOMPARE(page->cart().readyCount(), 0);
    QVERIFY(stage.run("cart-share"));
    QCOMPARE(page->cart().readyCount(), 4); // four tuners for five orders
    QCOMPARE(booking.getNumberOfFreeTuners(), free - 4);
    QCOMPARE(page->cart().lookOf(4).role, Role::Attention);
    QVERIFY(page->cart().lookOf(4).word.contains(QLatin1String("1, 2, 3, 4")));
    QVERIFY(stage.run("cart-share")); // the same again
    QCOMPARE(booking.getNumberOfFreeTuners(), free - 4);
    const int before = stage.session->processors().rowCount();
    QVERIFY(stage.run("cart-start"));
    QTRY_COMPARE(stage.session->processors().rowCount(), before + 4);
    QTRY_COMPARE(page->cart().lookOf(3).mark, Mark::Square);
    const auto sinceCount = [&] { // the four, and one that the server began with
        const auto& rows = page->findChild<CandidatesTable*>()->rows();
        return rows
            .match(rows.index(0, Kolta::CandidatesModel::eReasonColumn), Qt::DisplayRole,
                   QStringLiteral(", since "), -1, Qt::MatchContains)
            .size();
    };
    QTRY_COMPARE(sinceCount(), 5);
    QVERIFY(stage.run("cart-clear"));
    QCOMPARE(page->cart().rowCount(), 0);
    QCOMPARE(booking.getNumberOfFreeTuners(), free - 4); // what runs goes on
    choose(*page, "Class", "HF");
    QTRY_VERIFY(stage.run("order-plan"));
    QCOMPARE(booking.getNumberOfFreeTuners(), free - 5);
    QVERIFY(stage.run("cart-clear"));
    QCOMPARE(booking.getNumberOfFreeTuners(), free - 4);
}

/// An order that gets nothing says why for all servers that might have run it, and names the holder of a
/// tuner that was chosen; an FFP gets tuners of its MCP's server alone.
void TestCart::whyNothing()
{
    Stage stage(2);
    QTRY_VERIFY(stage.isSettled());
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    auto* const candidates = page->findChild<CandidatesTable*>();
    const auto serverAt = [candidates](int row) {
        return candidates->rows().index(row, 0).data(Kolta::ViewRoles::ServerRole).toString();
    };
    choose(*page, "Class", "Wide");
    QTRY_VERIFY(candidates->acceptedCount() > 4 && serverAt(1) != serverAt(0));
    candidates->setCurrentIndex(candidates->rows().index(1, 0)); // the first of its own server
    const Offer chosen = candidates->offer();
    QVERIFY(stage.run("order-add") && stage.run("cart-share"));
    QCOMPARE(page->cart().index(0, Cart::eGetsColumn).data().toString(),
             chosen.name + QStringLiteral(" · ") + chosen.server);
    QVERIFY(stage.run("cart-clear"));

    Kolta::ProductionOrder order = stage.session->draft().order();
    const auto ask = [&](const QString& server) {
        Offers offers(*stage.session);
        offers.add(order, server);
        const int tuner = offers.match().tunerOfRequest.front();
        return tuner < 0 ? offers.refusalOf(0) : QStringLiteral("on ") + offers.tuner(tuner).server;
    };
    const auto& processors = stage.session->processors();
    order.kind = Kolta::ProductionOrder::Kind::Ffp;
    for (int row = 0; row < processors.rowCount(); ++row) {
        const QModelIndex index = processors.index(row, 0);
        order.mcp = QUuid(index.data(Kolta::ViewRoles::GuidRole).toString());
        const QString server = index.data(Kolta::ViewRoles::ServerRole).toString();
        if (Kolta::kindName(Kolta::ProductionOrder::Kind::Mcp) ==
            processors.index(row, Kolta::ProcessorModel::eKindColumn).data())
            QCOMPARE(ask(QString()), QStringLiteral("on ") + server);
    }
    order.mcp = QUuid::createUuid();
    QCOMPARE(ask(QString()), QStringLiteral("no MCP %1 runs").arg(order.mcp.toString()));

    order.kind = Kolta::ProductionOrder::Kind::Mcp;
    order.tunerGuid = chosen.guid;
    QVERIFY(stage.server(chosen.server).setTunerIdle(chosen.guid, false));
    QTRY_COMPARE(ask(chosen.server), QStringLiteral("in use"));
    order.tunerGuid = QUuid::createUuid().toString();
    QCOMPARE(ask(QString()), QStringLiteral("the chosen tuner is not there"));
    order.tunerGuid.clear();
    order.frequency = 900e9;
    QVERIFY(ask(QString()).contains(QLatin1String("out of range")));
    order.tunerClass = QStringLiteral("none");
    QCOMPARE(ask(QString()), QStringLiteral("no tuner of class none"));
    stage.server(chosen.server).vanish();
    QTRY_COMPARE(ask(chosen.server), chosen.server + QStringLiteral(" is away"));
}

/// A line follows its plan, what it started, and the server of both.
void TestCart::follows()
{
    Stage stage(1);
    QTRY_VERIFY(stage.isSettled());
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    const Cart& cart = page->cart();
    auto& server = stage.server();
    auto& booking = stage.session->server(QStringLiteral("S1"))->getBookingManager();
    auto* const candidates = page->findChild<CandidatesTable*>();
    choose(*page, "Class", "HF");
    QTRY_VERIFY(!candidates->offer().isNone());
    const QString first = candidates->offer().guid;
    QVERIFY(stage.run("order-plan"));
    QCOMPARE(cart.readyCount(), 1);
    QVERIFY(server.setTunerIdle(first, false));
    QTRY_COMPARE(cart.lookOf(0).word, QStringLiteral("taken meanwhile"));
    QCOMPARE(cart.readyCount(), 0);
    const int free = booking.getNumberOfFreeTuners();
    QVERIFY(stage.run("cart-share") && stage.run("cart-start"));
    QTRY_COMPARE(cart.lookOf(0).mark, Mark::Square);
    QTRY_COMPARE(booking.getNumberOfFreeTuners(), free - 1);
    QVERIFY(turn() && turn());
    QVERIFY(stage.run("order-plan"));
    QCOMPARE(cart.readyCount(), 1);
    server.vanish();
    QTRY_COMPARE(cart.lookOf(0).word, QStringLiteral("last known"));
    QTRY_COMPARE(cart.lookOf(1).word, QStringLiteral("S1 is away"));
    QCOMPARE(cart.readyCount(), 0);
    server.comeBack();
    QTRY_COMPARE(cart.lookOf(0).word, QStringLiteral("ended"));
}

KOLTA_CONSOLE_TEST(TestCart);
#include "tst_console_cart.moc"
