#include "consoletest.h"
#include "installation.h"

#include <koltaconsole/orderdraft.h>
#include <koltaconsole/pages/tunerspage.h>

#include <koltacommon/journal.h>
#include <koltacommon/viewroles.h>

#include <QLabel>
#include <QLineEdit>
#include <QTreeView>

using namespace KoltaConsole;
namespace Roles = Kolta::ViewRoles;

/// The console on an installation of other processes, whose broker is killed and comes back.
class TestBroker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsLost();
};

/// While it is gone there is one banner, what was typed stays, and orders are refused with the reason; when
/// it is back, the rows are the same ones.
void TestBroker::nothingIsLost()
{
    Installation installation(2, {QStringLiteral("--restart")});
    if (!installation.isUp())
        QSKIP(qPrintable(QStringLiteral("no installation came up: ") + installation.said()));
    Options options;
    options.url = installation.url();
    options.page = QStringLiteral("tuners");
    Stage stage(options);
    QTRY_VERIFY_WITH_TIMEOUT(stage.window->isFilled() && stage.session->facts().size() == 2, 20000);
    auto* const page = static_cast<TunersPage*>(stage.window->currentPage());
    QTRY_COMPARE_WITH_TIMEOUT(page->rows().rowCount(), 52, 20000);
    page->filterLine()->setText(QStringLiteral("HF S2"));
    auto* const table = page->findChild<QTreeView*>();
    table->setCurrentIndex(table->model()->index(3, 0));
    const QString key = table->currentIndex().data(Roles::KeyRole).toString();
    Kolta::ProductionOrder order;
    order.tunerClass = QStringLiteral("Wide");
    order.displayName = QStringLiteral("half written");
    stage.session->draft().set(order, QString());

    const auto alarmCount = [&stage] {
        const Kolta::Journal& journal = stage.session->journal();
        int alarms = 0;
        for (quint64 number = journal.firstNumber(); number < journal.endNumber(); ++number)
            alarms += journal.entry(number)->event.weight == Kolta::Event::Weight::Alarm ? 1 : 0;
        return alarms;
    };
    const int alarms = alarmCount(), attention = stage.session->attentionCount();
    QVERIFY(installation.killBroker());
    const auto* const banner = stage.window->findChild<QLabel*>(QStringLiteral("banner"));
    QTRY_VERIFY_WITH_TIMEOUT(banner->isVisible(), 30000);
    QVERIFY(!stage.session->link().isUp);
    QTRY_COMPARE(alarmCount(), alarms + 1);
    stage.window->showPage(QStringLiteral("order"));
    QVERIFY(!stage.window->actions().run(QStringLiteral("order-start")));
    QCOMPARE(stage.session->draft().order().displayName, QStringLiteral("half written"));

    QTRY_VERIFY_WITH_TIMEOUT(!banner->isVisible(), 60000);
    stage.window->showPage(QStringLiteral("tuners"));
    QTRY_VERIFY_WITH_TIMEOUT(!table->currentIndex().data(Roles::StaleRole).toBool(), 60000);
    QCOMPARE(table->currentIndex().data(Roles::KeyRole).toString(), key);
    QCOMPARE(page->rows().rowCount(), 7);
    QCOMPARE(alarmCount(), alarms + 1); // none of each server
    QTRY_COMPARE(stage.session->attentionCount(), attention);
}

KOLTA_CONSOLE_TEST(TestBroker);
#include "tst_console_broker.moc"
