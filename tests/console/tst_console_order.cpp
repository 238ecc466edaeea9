#include "consoletest.h"

#include <koltaconsole/pages/order/candidatestable.h>
#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/pages/tuners/tunerspage.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/widgets/looklabel.h>

#include <koltacommon/candidatesmodel.h>
#include <koltacommon/koltaserverinterface.h>
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
    void writes();
    void survivesARestart();
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
    QComboBox& box = dropDown(*page, "Class");
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
