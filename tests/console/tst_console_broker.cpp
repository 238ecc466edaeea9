#include "consoletest.h"

#include <koltaconsole/orderdraft.h>
#include <koltaconsole/pages/tunerspage.h>

#include <koltacommon/journal.h>
#include <koltacommon/viewroles.h>

#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QTreeView>

#include <csignal>

using namespace KoltaConsole;
namespace Roles = Kolta::ViewRoles;

/// The console on an installation of other processes, whose broker is killed and comes back.
class TestBroker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsLost();

private:
    /// What stands behind that word at the beginning of a line that the installation prints.
    static QString toldOf(QProcess& installation, const QString& word, QString& said)
    {
        for (int i = 0; i < 100; ++i) {
            for (const QString& line : said.split(QLatin1Char('\n'))) {
                if (line.startsWith(word + QLatin1Char(' ')))
                    return line.section(QLatin1Char(' '), 1, 1);
            }
            installation.waitForReadyRead(100);
            said += QString::fromUtf8(installation.readAllStandardOutput());
        }
        return QString();
    }
};

/// While it is gone there is one banner, what was typed stays, and orders are refused with the reason; when
/// it is back, the rows are the same ones.
void TestBroker::nothingIsLost()
{
    QProcess installation;
    installation.start(QStringLiteral(KOLTA_PROGRAM), {QStringLiteral("up"), QStringLiteral("--servers"),
                                                       QStringLiteral("2"), QStringLiteral("--restart")});
    QString said;
    Options options;
    options.url = toldOf(installation, QStringLiteral("tree"), said);
    const int broker = toldOf(installation, QStringLiteral("broker"), said).toInt();
    if (options.url.isEmpty() || broker == 0)
        QSKIP(qPrintable(QStringLiteral("no installation came up: ") + said));
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
    QCOMPARE(::kill(broker, SIGKILL), 0);
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
    installation.terminate();
    installation.waitForFinished(20000);
}

KOLTA_CONSOLE_TEST(TestBroker);
#include "tst_console_broker.moc"
