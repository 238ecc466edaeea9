#include "consoletest.h"
#include "installation.h"

#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/pages/shorttime/assignmentsview.h>
#include <koltaconsole/pages/shorttime/profileeditor.h>
#include <koltaconsole/pages/shorttime/shorttimemaps.h>
#include <koltaconsole/pages/shorttime/shorttimepage.h>
#include <koltaconsole/session/orderdraft.h>

#include <koltacommon/processormodel.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/viewroles.h>

#include <QTabWidget>
#include <QTableView>

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
};

/// Starts an MCP with an FFP in it, which can be assigned.
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
    QTRY_COMPARE_WITH_TIMEOUT(running.rowCount(), 1, 20000);
    order = Kolta::ProductionOrder();
    order.kind = Kolta::ProductionOrder::Kind::Ffp;
    order.mcp = QUuid(running.index(0, 0).data(Roles::GuidRole).toString());
    order.frequency = 5e6;
    start(order);
    QTRY_COMPARE_WITH_TIMEOUT(running.rowCount(running.index(0, 0)), 1, 20000);
}

/// The broker dies while an order is written, while marks of the matrix wait and while a profile is edited.
/// All of it stands as it was, none of it is sent by itself, and each is done with once the broker is back.
void TestWriting::whatIsTypedStays()
{
    if (!isInstallationPossible())
        QSKIP("there is no mosquitto");
    Installation installation(1, {QStringLiteral("--restart")});
    QVERIFY2(installation.isUp(), qPrintable(installation.said()));
    Options options;
    options.url = installation.url();
    Stage stage(options);
    QTRY_VERIFY_WITH_TIMEOUT(stage.window->isFilled() && stage.session->facts().size() == 1, 20000);
    feed(stage);
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
    QTRY_VERIFY_WITH_TIMEOUT(profiles() && profiles()->Size() > 0 && assignments(), 20000);
    auto* const editor = shortTime.findChild<ProfileEditor*>();
    editor->edit(Kolta::ShortTimeProfile());
    QTest::keyClicks(editor->line(ProfileField::Name), QStringLiteral("half written"));
    QTest::keyClicks(editor->line(ProfileField::Bandwidth), QStringLiteral("16-25 kHz"));
    auto* const tabs = shortTime.findChild<QTabWidget*>();
    tabs->setCurrentIndex(1);
    AssignmentMatrix& matrix = shortTime.assignments().matrix();
    QTRY_COMPARE_WITH_TIMEOUT(matrix.rowCount(), 1, 20000);
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
    QVERIFY(installation.killBroker());
    QTRY_VERIFY_WITH_TIMEOUT(session->isOutOfSight(), 30000);
    QVERIFY(stands());
    for (const char* const id : {"short-send", "short-save", "order-start"})
        QVERIFY2(!stage.run(id), id);
    QVERIFY(stands());
    QTRY_VERIFY_WITH_TIMEOUT(session->link().isUp && !session->factsOf(QStringLiteral("S1")).isStale(),
                             60000);
    QTRY_VERIFY_WITH_TIMEOUT(profiles() && assignments() && matrix.rowCount() == 1, 60000);
    QVERIFY(stands());
    QVERIFY(!profiles()->Contains(QStringLiteral("half written")));
    QCOMPARE(assignments()->Size(), std::size_t(0));

    stage.window->showPage(QStringLiteral("short-time"));
    QVERIFY(stage.run("short-send"));
    QTRY_COMPARE_WITH_TIMEOUT(assignments()->Size(), std::size_t(1), 20000);
    tabs->setCurrentIndex(0);
    QTRY_COMPARE_WITH_TIMEOUT(editor->objectionToSave(), QString(), 20000);
    QVERIFY(stage.run("short-save"));
    QTRY_VERIFY_WITH_TIMEOUT(profiles()->Contains(QStringLiteral("half written")), 20000);
    QCOMPARE(profiles()->At(QStringLiteral("half written")).bandwidthMax, 25000u);
    stage.window->showPage(QStringLiteral("order"));
    bandwidth.clear();
    QTest::keyClicks(&bandwidth, QStringLiteral("8 MHz"));
    QTRY_COMPARE_WITH_TIMEOUT(stage.why("order-start"), QString(), 20000);
    QVERIFY(stage.run("order-start"));
    QTRY_COMPARE_WITH_TIMEOUT(session->processors().rowCount(), 2, 20000);
}

KOLTA_CONSOLE_TEST(TestWriting);
#include "tst_console_writing.moc"
