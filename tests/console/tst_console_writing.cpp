#include "consoletest.h"
#include "installation.h"

#include <koltaconsole/pages/events/linksview.h>
#include <koltaconsole/pages/events/linktraffic.h>
#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/pages/productions/productionspage.h>
#include <koltaconsole/pages/shorttime/assignmentsview.h>
#include <koltaconsole/pages/shorttime/profileeditor.h>
#include <koltaconsole/pages/shorttime/shorttimemaps.h>
#include <koltaconsole/pages/shorttime/shorttimepage.h>
#include <koltaconsole/session/orderdraft.h>

#include <koltacommon/processormodel.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/viewroles.h>

#include <QMimeData>
#include <QTabWidget>
#include <QTableView>
#include <QTreeView>

using namespace KoltaConsole;
namespace Roles = Kolta::ViewRoles;

/// The broker of other processes dies while somebody writes.
class TestWriting : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsTypedStays();

private:
    static void feed(Stage& stage);
    static void readBranch(Stage& stage);
    static bool wasRead(const LinkTraffic& traffic);
};

/// Starts an MCP with an FFP in it, which can be assigned, and another MCP, to which it can be moved.
void TestWriting::feed(Stage& stage)
{
    auto& server = *stage.session->server(QStringLiteral("S1"));
    const Kolta::ProcessorModel& running = stage.session->processors();
    const auto start = [&](const Kolta::ProductionOrder& order) {
        (new Kolta::ProductionJob(server, order, stage.window.get()))->deleteWhenFinished();
    };
    Kolta::ProductionOrder order;
    order.tunerClass = QStringLiteral("HF");
    order.frequency = 5e6;
    order.bandwidth = 800e3;
    start(order);
    QTRY_COMPARE(running.rowCount(), 1);
    const QPersistentModelIndex mcp = running.index(0, 0);
    start(order);
    QTRY_COMPARE(running.rowCount(), 2);
    order = Kolta::ProductionOrder();
    order.kind = Kolta::ProductionOrder::Kind::Ffp;
    order.mcp = QUuid(mcp.data(Roles::GuidRole).toString());
    order.frequency = 5e6;
    start(order);
    QTRY_COMPARE(running.rowCount(mcp), 1);
}

/// Opens the links and begins to read what passes about the server's branch.
void TestWriting::readBranch(Stage& stage)
{
    stage.window->showPage(QStringLiteral("events"));
    auto* const view = stage.window->findChild<LinksView*>();
    stage.window->currentPage()->findChild<QTabWidget*>()->setCurrentWidget(view);
    auto& links = *view->findChild<QTreeView*>();
    const auto choose = [&](int row) { links.setCurrentIndex(links.model()->index(row, 0)); };
    QTRY_COMPARE(links.model()->rowCount(), 2);
    for (const char* const server : {"S1", "S2", ""}) { // the broker's line stays
        view->showServer(QLatin1String(server));
        QVERIFY(!links.isRowHidden(0, {}) &&
                links.isRowHidden(1, {}) == (*server == 'S' && server[1] == '2'));
    }
    choose(0);
    QVERIFY(stage.why("link-read").contains(QLatin1String("branch by branch")));
    choose(1);
    QVERIFY2(stage.run("link-read"), qPrintable(stage.why("link-read")));
}

/// Whether an order and its decision are among the messages, which are shown a little later.
bool TestWriting::wasRead(const LinkTraffic& traffic)
{
    const auto has = [&traffic](const QString& sentence, bool isAnswer) {
        for (int row = 0; row < traffic.rowCount(); ++row) {
            const auto cell = [&](int column) { return traffic.index(row, column).data().toString(); };
            if (cell(LinkTraffic::eMessageColumn).contains(sentence) &&
                cell(LinkTraffic::eTookColumn).isEmpty() != isAnswer)
                return true;
        }
        return false;
    };
    return waitFor([&] {
        return has(QStringLiteral(": adds ADMINISTRATION/RequestsNode/"), false) &&
               has(QStringLiteral("entr"), true);
    });
}

/// The broker dies while an order is written, while marks of the matrix wait, while a profile is edited and
/// while an FFP is dragged. All of it stands as it was, none of it is sent by itself, and each is done with
/// once the broker is back.
void TestWriting::whatIsTypedStays()
{
    if (!isInstallationPossible())
        QSKIP("there is no mosquitto");
    Installation installation(1, {QStringLiteral("--restart")});
    QVERIFY(installation.isUp());
    Options options;
    options.url = installation.url();
    Stage stage(options);
    QTRY_VERIFY(stage.window->isFilled() && stage.session->facts().size() == 1);
    readBranch(stage);
    feed(stage);
    QVERIFY(wasRead(*stage.window->findChild<LinksView*>()->traffic()));
    auto& order = *static_cast<OrderPage*>(stage.window->showPage(QStringLiteral("order")));
    Kolta::ProductionOrder written;
    written.tunerClass = QStringLiteral("Wide");
    stage.session->draft().set(written, QString());
    QLineEdit &frequency = field(order, "Frequency"), &bandwidth = field(order, "Bandwidth");
    QTest::keyClicks(&frequency, QStringLiteral("98.5 MHz"));
    QTest::keyClicks(&bandwidth, QStringLiteral("8 qHz"));
    auto& shortTime = *static_cast<ShortTimePage*>(stage.window->showPage(QStringLiteral("short-time")));
    using Profiles = Kolta::ShortTimeProfileItemMap;
    using Assignments = Kolta::ShortTimeFFPAssignmentItemMap;
    const auto* const session = stage.session.get();
    const auto profiles = [session] { return shortTimeMap<Profiles>(*session, QStringLiteral("S1")); };
    const auto assignments = [session] { return shortTimeMap<Assignments>(*session, QStringLiteral("S1")); };
    QTRY_VERIFY(profiles() && profiles()->Size() > 0 && assignments());
    auto* const editor = shortTime.findChild<ProfileEditor*>();
    editor->edit(Kolta::ShortTimeProfile());
    QTest::keyClicks(editor->line(ProfileField::Name), QStringLiteral("half written"));
    QTest::keyClicks(editor->line(ProfileField::Bandwidth), QStringLiteral("16-25 kHz"));
    auto* const tabs = shortTime.findChild<QTabWidget*>();
    tabs->setCurrentIndex(1);
    AssignmentMatrix& matrix = shortTime.assignments().matrix();
    QTRY_COMPARE(matrix.rowCount(), 1);
    auto* const table = shortTime.assignments().findChild<QTableView*>();
    table->setCurrentIndex(matrix.index(0, 1));
    QTest::keyClick(table, Qt::Key_Space);
    QCOMPARE(matrix.changeCount(), 1);

    const auto stands = [&] {
        return frequency.text() == QLatin1String("98.5 MHz") && bandwidth.text() == QLatin1String("8 qHz") &&
               matrix.changeCount() == 1 &&
               editor->line(ProfileField::Name)->text() == QLatin1String("half written") &&
               editor->line(ProfileField::Bandwidth)->text() == QLatin1String("16-25 kHz");
    };
    QVERIFY(stands());
    const Kolta::ProcessorModel& running = session->processors();
    const int holder = running.rowCount(running.index(0, 0)) == 1 ? 0 : 1;
    const QPersistentModelIndex from = running.index(holder, 0), to = running.index(1 - holder, 0);
    const QString ffp = running.index(0, 0, from).data(Roles::KeyRole).toString();
    auto& productions = *static_cast<ProductionsPage*>(stage.window->showPage(QStringLiteral("productions")));
    auto& model = const_cast<ProductionsModel&>(productions.model());
    const std::unique_ptr<QMimeData> dragged(model.mimeData({model.indexOf(ffp)}));
    const auto target = [&] { return model.indexOf(to.data(Roles::KeyRole).toString()); };
    const auto takes = [&] { return model.canDropMimeData(dragged.get(), Qt::MoveAction, -1, -1, target()); };
    stage.window->showPage(QStringLiteral("productions"));
    QVERIFY(takes());
    model.setDragged(ffp);
    QVERIFY(installation.killBroker());
    QTRY_VERIFY(session->isOutOfSight());
    QVERIFY(stands());
    QTRY_VERIFY(!takes());
    Q_EMIT model.si_MoveWanted(ffp, to.data(Roles::KeyRole).toString()); // as dropped just before
    QVERIFY(!stage.window->findChild<Kolta::Operation*>());
    model.setDragged(QString());
    for (const char* const id : {"short-send", "short-save", "order-start"})
        QVERIFY2(!stage.run(id), id);
    QVERIFY(stands());
    QVERIFY(installation.letBrokerReturn());
    QTRY_VERIFY(session->link().isUp && !session->factsOf(QStringLiteral("S1")).isStale());
    QTRY_VERIFY(profiles() && assignments() && matrix.rowCount() == 1);
    QVERIFY(stands());
    QVERIFY(!profiles()->Contains(QStringLiteral("half written")));
    QCOMPARE(assignments()->Size(), std::size_t(0));
    QCOMPARE(running.rowCount(from), 1);

    stage.window->showPage(QStringLiteral("short-time"));
    QVERIFY(stage.run("short-send"));
    QTRY_COMPARE(assignments()->Size(), std::size_t(1));
    tabs->setCurrentIndex(0);
    QTRY_COMPARE(editor->objectionToSave(), QString());
    QVERIFY(stage.run("short-save"));
    QTRY_VERIFY(profiles()->Contains(QStringLiteral("half written")));
    QCOMPARE(profiles()->At(QStringLiteral("half written")).bandwidthMax, 25000u);
    stage.window->showPage(QStringLiteral("order"));
    bandwidth.clear();
    QTest::keyClicks(&bandwidth, QStringLiteral("8 MHz"));
    QTRY_COMPARE(stage.why("order-start"), QString());
    QVERIFY(stage.run("order-start"));
    QTRY_COMPARE(running.rowCount(), 3);
    stage.window->showPage(QStringLiteral("productions"));
    QTRY_VERIFY(takes());
    QVERIFY(model.dropMimeData(dragged.get(), Qt::MoveAction, -1, -1, target()));
    QTRY_COMPARE(running.rowCount(to), 1);
}

KOLTA_CONSOLE_TEST(TestWriting);
#include "tst_console_writing.moc"
