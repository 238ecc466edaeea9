#include "consoletest.h"

#include <koltaconsole/pages/order/candidatestable.h>
#include <koltaconsole/pages/order/orderform.h>
#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/pages/tuners/tunerspage.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/widgets/looklabel.h>

#include <koltacommon/candidatesmodel.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processormodel.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/viewroles.h>

#include <QAbstractItemView>
#include <QAction>
#include <QComboBox>
#include <QElapsedTimer>
#include <QMenu>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTreeView>

#include <algorithm>

using namespace KoltaConsole;

namespace {

/// What is due in one turn of the event loop has been done.
bool turn()
{
    bool isOver = false;
    QTimer::singleShot(0, qApp, [&isOver] { isOver = true; });
    return waitFor([&isOver] { return isOver; });
}

int topLevelCount(const Stage& stage)
{
    return stage.session->processors().rowCount();
}

} // namespace

/// From what is written to what runs.
class TestOrder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void startsWhatIsWritten();
    void openList();
    void openMenu();
    void chosen();
    void nothingToShow();
    void hidden();
    void cart();
    void whyNothing();
    void cartFollows();
    void writes();
    void survivesARestart();

private:
    static QComboBox& list(OrderPage& page, const char* name)
    {
        for (QComboBox* const box : page.findChildren<QComboBox*>()) {
            if (box->accessibleName() == QLatin1String(name))
                return *box;
        }
        qFatal("no list %s", name);
    }
    static void choose(OrderPage& page, const char* name, const char* value)
    {
        QComboBox& box = list(page, name);
        box.setCurrentIndex(box.findData(QLatin1String(value)));
        Q_EMIT box.activated(box.currentIndex());
    }
};

/// Candidates follow every key; a server that vanishes between choosing and starting is not asked; what
/// cannot be read is told and cannot be started.
void TestOrder::startsWhatIsWritten()
{
    Stage stage;
    QTRY_VERIFY(stage.isSettled());
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    ActionTable& actions = stage.window->actions();
    auto* const candidates = page->findChild<CandidatesTable*>();
    QVERIFY(!stage.why("order-start").isEmpty());
    choose(*page, "Class", "Wide");
    QTRY_COMPARE(candidates->acceptedCount(), 22); // of 30, some of which are in use or out of reach
    QTest::keyClicks(&field(*page, "Frequency"), QStringLiteral("7,1"));
    QTRY_COMPARE(candidates->acceptedCount(), 0);
    QVERIFY(!stage.run("order-start"));
    field(*page, "Frequency").clear();
    QTest::keyClicks(&field(*page, "Frequency"), QStringLiteral("98.5x"));
    QVERIFY(stage.why("order-start").contains(QLatin1String("98.5 x")));
    QTest::keyClick(&field(*page, "Frequency"), Qt::Key_Backspace);
    QCOMPARE(stage.session->draft().order().frequency, 98.5e6);
    QTRY_COMPARE(candidates->acceptedCount(), 22);

    // A server that is away is not offered, and says why; what it had for another order is no candidate.
    const QString first = candidates->offer().server;
    auto* const leaver = stage.session->simulation()->server(first);
    leaver->vanish();
    QTRY_VERIFY(!candidates->offer().isNone() && candidates->offer().server != first);
    const int left = candidates->acceptedCount();
    QVERIFY(left < 22 && stage.why("order-start").isEmpty());
    const auto isOfFirst = [&](int row) {
        return candidates->rows().index(row, 0).data(Kolta::ViewRoles::ServerRole).toString() == first;
    };
    const auto countOfFirst = [&](int from, int to) {
        int count = 0;
        for (int row = from; row < to; ++row)
            count += isOfFirst(row) ? 1 : 0;
        return count;
    };
    QCOMPARE(countOfFirst(0, left), 0);
    QVERIFY(countOfFirst(left, candidates->rows().rowCount()) > 0);
    for (int row = left; row < candidates->rows().rowCount(); ++row) {
        const QModelIndex reason = candidates->rows().index(row, Kolta::CandidatesModel::eReasonColumn);
        QCOMPARE(reason.data().toString().contains(QLatin1String("is away")), isOfFirst(row));
    }
    choose(*page, "Class", "HF");
    QTRY_COMPARE(countOfFirst(0, candidates->rows().rowCount()), 0);
    page->showServer(first);
    QTRY_COMPARE(candidates->problem(), first + QStringLiteral(" is away"));
    page->showServer(QString());
    choose(*page, "Class", "Wide");
    QTRY_VERIFY(countOfFirst(left, candidates->rows().rowCount()) > 0);
    QCOMPARE(candidates->acceptedCount(), left);
    leaver->comeBack();
    QTRY_VERIFY(candidates->acceptedCount() > left); // what ran there ended with it

    // The row that somebody chose stays that tuner, whatever becomes of its rank.
    candidates->setCurrentIndex(candidates->rows().index(7, 0));
    const Offer chosen = candidates->offer();
    QVERIFY(!chosen.isNone() && candidates->isOwnChoice());
    stage.server(chosen.server).vanish();
    QTRY_VERIFY(candidates->offer().isNone());
    QVERIFY(!stage.run("order-start"));
    stage.server(chosen.server).comeBack();
    QTRY_COMPARE(candidates->offer().guid, chosen.guid);
    QVERIFY2(page->commandLine().contains(chosen.guid.mid(1, 36)), qPrintable(page->commandLine()));

    QTRY_VERIFY(actions.action(QStringLiteral("order-start"))->isEnabled());
    stage.run("page-order"); // which gives it the focus
    QTest::keyClick(page, Qt::Key_Return, Qt::ControlModifier);
    QVERIFY(!stage.why("order-start").isEmpty()); // one at a time
    QTRY_COMPARE(stage.session->server(chosen.server)->getBookingManager().getTunerState(chosen.guid),
                 Kolta::TunerBookingManager::eInUse);
    QTRY_VERIFY(stage.why("order-cancel").size() > 0);
    const auto told = page->findChildren<LookLabel*>();
    QVERIFY(std::any_of(told.begin(), told.end(), [](const LookLabel* label) {
        return label->look().mark == Mark::Square && label->text().contains(QLatin1String(" runs on "));
    }));
    QVERIFY(candidates->offer().guid != chosen.guid); // it is in use now
}

/// What changes elsewhere takes nobody's place in a list that is open; it is there once the list is closed.
void TestOrder::openList()
{
    Stage stage(1);
    QTRY_VERIFY(stage.isSettled());
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    QComboBox& box = list(*page, "Class");
    QTRY_VERIFY(box.findData(QStringLiteral("HF")) > 0);
    box.showPopup();
    const int last = box.count() - 1;
    box.view()->setCurrentIndex(box.model()->index(last, 0));
    Kolta::ProductionOrder order;
    order.tunerClass = QStringLiteral("HF");
    stage.session->draft().set(order, QString());
    Q_EMIT stage.session->si_FactsChanged();
    QCOMPARE(box.view()->currentIndex().row(), last);
    box.hidePopup();
    QTRY_COMPARE(box.currentData().toString(), QStringLiteral("HF"));
}

/// Rows of tuners and of candidates stay where they are for half a second at a time while a menu is open.
void TestOrder::openMenu()
{
    Options options;
    options.servers = 1;
    options.page = QStringLiteral("tuners");
    Stage stage(options);
    QTRY_VERIFY(stage.isSettled());
    // How long the first row with that tuner was there, in milliseconds, although nobody can have it any
    // more.
    const auto stood = [&stage](const QModelIndex& first, const std::function<int()>& count) -> qint64 {
        QMenu menu(stage.window.get());
        menu.addAction(QStringLiteral("any"));
        menu.popup(stage.window->mapToGlobal(QPoint(9, 9)));
        const int before = count();
        QElapsedTimer time;
        time.start();
        const QString guid = first.data(Kolta::ViewRoles::GuidRole).toString();
        stage.session->simulation()->server(QStringLiteral("S1"))->setTunerIdle(guid, false);
        const bool hasGone = waitFor([&] { return count() == before - 1; });
        return hasGone && menu.isVisible() ? time.elapsed() : -1;
    };
    auto* const tuners = static_cast<TunersPage*>(stage.window->currentPage());
    tuners->filterLine()->setText(QStringLiteral("Wide free"));
    const RowIndex& rows = tuners->rows();
    const qint64 ofTuners = stood(rows.index(0, 0), [&rows] { return rows.rowCount(); });
    QVERIFY2(ofTuners > 400, qPrintable(QString::number(ofTuners)));
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    const auto* const candidates = page->findChild<CandidatesTable*>();
    choose(*page, "Class", "HF");
    QTRY_VERIFY(candidates->acceptedCount() > 1);
    const qint64 ofCandidates =
        stood(candidates->rows().index(0, 0), [candidates] { return candidates->acceptedCount(); });
    QVERIFY2(ofCandidates > 400, qPrintable(QString::number(ofCandidates)));
}

/// "Why not?" follows the tuner, which is the chosen candidate of an order for it, or it is told that it is
/// none; what a filter hides is neither chosen nor started unseen.
void TestOrder::chosen()
{
    Stage stage(1, "tuners");
    QTRY_VERIFY(stage.isSettled());
    auto& server = stage.server();
    auto* const tuners = static_cast<TunersPage*>(stage.window->currentPage());
    auto* const table = tuners->findChild<QTreeView*>();
    tuners->filterLine()->setText(QStringLiteral("Wide free"));
    table->setCurrentIndex(table->model()->index(tuners->rows().rowCount() - 1, 0));
    tuners->filterLine()->setText(QStringLiteral("Wide"));
    const QString guid = table->currentIndex().data(Kolta::ViewRoles::GuidRole).toString();
    QVERIFY(stage.run("tuner-why-not"));
    QVERIFY(tells(*tuners, "It can be had"));
    server.setTunerIdle(guid, false);
    QTRY_VERIFY(tells(*tuners, "Refused"));
    server.setTunerIdle(guid, true);
    QTRY_VERIFY(tells(*tuners, "It can be had"));

    QVERIFY(stage.run("tuner-order"));
    auto* const page = static_cast<OrderPage*>(stage.window->currentPage());
    auto* const candidates = page->findChild<CandidatesTable*>();
    QTRY_COMPARE(candidates->offer().guid, guid);
    QCOMPARE(candidates->selectionModel()->selectedRows().size(), 1);
    server.setTunerIdle(guid, false);
    QTRY_VERIFY(stage.why("order-start").startsWith(QLatin1String("The chosen")));
    server.setTunerIdle(guid, true);
    QTRY_COMPARE(candidates->acceptedCount(), 4);
    OrderDraft& draft = stage.session->draft();
    draft.set(draft.order(), QStringLiteral("S1"), QUuid::createUuid().toString());
    QTRY_VERIFY(tells(*page, "not among them"));
    const auto guidAt = [candidates](int row) {
        return candidates->rows().index(row, 0).data(Kolta::ViewRoles::GuidRole).toString();
    };
    QCOMPARE(candidates->offer().guid, guidAt(0));

    const QVariant second = candidates->rows().index(1, Kolta::CandidatesModel::eTunerColumn).data();
    page->filterLine()->setText(QStringLiteral("\"%1\"").arg(second.toString()));
    QTRY_VERIFY(tells(*page, "hides the first"));
    QCOMPARE(candidates->offer().guid, guidAt(0));
    candidates->setCurrentIndex(candidates->rows().index(1, 0));
    QCOMPARE(candidates->offer().guid, guidAt(1));
    QTRY_VERIFY(!tells(*page, "hides the first"));
    QVERIFY(!tells(*page, "not among them"));
}

/// Where no words are, none are to blame.
void TestOrder::nothingToShow()
{
    Stage stage(1, "tuners");
    QTRY_VERIFY(stage.isSettled());
    Page* const page = stage.window->currentPage();
    page->showServer(QStringLiteral("S4"));
    QVERIFY(tells(*page, "S4 has no tuners"));
    page->showClasses({QStringLiteral("HF")});
    QVERIFY(tells(*page, "S4 has no tuner of class HF"));
    page->filterLine()->setText(QStringLiteral("any"));
    QVERIFY(tells(*page, "No tuner matches \"any\""));
}

/// What nobody sees is not looked for, and what has not changed is not told anew. An action that is begun
/// elsewhere is done to what is there then.
void TestOrder::hidden()
{
    Stage stage(1);
    QTRY_VERIFY(stage.isSettled());
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    auto* const candidates = page->findChild<CandidatesTable*>();
    choose(*page, "Class", "Wide");
    QTRY_COMPARE(candidates->acceptedCount(), 4);
    QVERIFY(turn() && turn());
    const QSignalSpy told(page, &Page::si_CommandLineChanged);
    Q_EMIT stage.session->si_FactsChanged();
    QVERIFY(turn());
    QCOMPARE(told.size(), 0);
    QTest::keyClicks(&field(*page, "Name"), QStringLiteral("x"));
    QTRY_COMPARE(told.size(), 1);
    stage.window->showPage(QStringLiteral("tuners"));
    QVERIFY(candidates->offer().isNone());
    Kolta::ProductionOrder order = stage.session->draft().order();
    order.tunerClass = QStringLiteral("HF");
    stage.session->draft().set(order, QString());
    QVERIFY(turn());
    QCOMPARE(candidates->acceptedCount(), 4);
    QCOMPARE(stage.why("order-plan"), QString());
    order.frequency = 98.5e6; // out of reach for all of them
    stage.session->draft().set(order, QString());
    QVERIFY(!stage.run("order-plan"));
    QVERIFY(page->isVisible() && candidates->acceptedCount() == 0);
    QCOMPARE(page->cart().rowCount(), 0);
}

/// What is shared out is planned, once each; what is taken out is given back.
void TestOrder::cart()
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
    const int before = topLevelCount(stage);
    QVERIFY(stage.run("cart-start"));
    QTRY_COMPARE(topLevelCount(stage), before + 4);
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

/// An order that gets nothing says why for all servers that might have run it, and names the holder of a tuner
/// that was chosen; an FFP gets tuners of its MCP's server alone.
void TestOrder::whyNothing()
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
void TestOrder::cartFollows()
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

/// Who may only look, or has no link, writes all the same: that changes nothing elsewhere.
void TestOrder::writes()
{
    Options options;
    options.servers = 1;
    options.isReadOnly = true;
    Stage stage(options);
    QTRY_VERIFY(stage.isSettled());
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    ActionTable& actions = stage.window->actions();
    choose(*page, "Class", "HF");
    QVERIFY(!stage.run("order-plan") && !stage.run("order-start"));
    for (int i = 0; i < 3; ++i)
        QVERIFY(stage.run("order-add"));
    QVERIFY(!actions.action(QStringLiteral("cart-remove"))->isEnabled());
    const auto views = page->findChildren<QTreeView*>();
    const auto cart = std::find_if(views.begin(), views.end(), [](const QTreeView* view) {
        return view->accessibleName() == QLatin1String("Cart");
    });
    (*cart)->setFocus();
    (*cart)->setCurrentIndex(page->cart().index(1, 0));
    QTest::keyClick(*cart, Qt::Key_Delete);
    QCOMPARE(page->cart().rowCount(), 2);
    QVERIFY(stage.run("cart-clear"));
}

/// What was being written is there again as it was, though nothing of it can be chosen yet; neither a page
/// that is shown nor another server in sight changes it.
void TestOrder::survivesARestart()
{
    const QTemporaryDir settings;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    Options options;
    options.servers = 2;
    Kolta::ProductionOrder order;
    order.kind = Kolta::ProductionOrder::Kind::Ffp;
    order.tunerClass = QStringLiteral("Wide");
    order.frequency = 98.5e6;
    order.mcp = QUuid::createUuid();
    order.demandClass = QStringLiteral("Gone");
    order.storageGuids = QStringList(QUuid::createUuid().toString());
    {
        Stage stage(options, true);
        auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
        stage.session->draft().set(order, QStringLiteral("S9"));
        QTRY_VERIFY(stage.isSettled());
        QVERIFY(stage.run("order-add"));
        QCOMPARE(page->cart().rowCount(), 1);
        order.displayName = QStringLiteral("half");
        stage.session->draft().set(order, QStringLiteral("S9"));
        // Before the end, which may never come.
        const auto kept = [&stage](const char* kind, const char* name) {
            const QString key = keptKey(QLatin1String(kind), {stage.session->url()});
            return QSettings().value(key + QLatin1Char('/') + QLatin1String(name));
        };
        QTRY_COMPARE(kept("order", "name").toString(), order.displayName);
        QCOMPARE(kept("cart", "size").toInt(), 1);
        OrderDraft other; // each installation has its own
        other.setInstallation(QStringLiteral("mqtt://elsewhere:1883"));
        other.restore();
        QVERIFY(other.isEmpty());
    }
    Stage stage(options, true);
    auto* const page = static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    QCOMPARE(page->cart().rowCount(), 1);
    QTRY_VERIFY(stage.session->facts().size() == 2);
    page->showServer(QStringLiteral("S2"));
    QTest::keyClicks(&field(*page, "Name"), QStringLiteral(" written"));
    const Kolta::ProductionOrder& now = stage.session->draft().order();
    QCOMPARE(now.displayName, QStringLiteral("half written"));
    QCOMPARE(stage.session->draft().server(), QStringLiteral("S9"));
    QCOMPARE(now.mcp, order.mcp);
    QCOMPARE(now.demandClass + now.tunerClass, QStringLiteral("GoneWide"));
    QCOMPARE(now.storageGuids, order.storageGuids);
    QCOMPARE(now.frequency, order.frequency);
}

KOLTA_CONSOLE_TEST(TestOrder);
#include "tst_console_order.moc"
