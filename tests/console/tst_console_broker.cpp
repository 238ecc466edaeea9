#include "consoletest.h"
#include "installation.h"
#include "pointer.h"

#include <koltaconsole/pages/order/candidatestable.h>
#include <koltaconsole/pages/order/orderpage.h>
#include <koltaconsole/pages/tuners/tunerspage.h>
#include <koltaconsole/plots/frequencyaxis.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/window/topbar.h>

#include <koltacommon/installationevents.h>
#include <koltacommon/journal.h>
#include <koltacommon/linksmodel.h>
#include <koltacommon/userrights.h>
#include <koltacommon/viewroles.h>
#include <startup/cfgcenter.h>
#include <support/files.h>

#include <QScopeGuard>
#include <QSettings>
#include <QTemporaryDir>
#include <QTreeView>

#include <algorithm>

using namespace KoltaConsole;
namespace Roles = Kolta::ViewRoles;

/// The console on an installation of other processes, whose broker is killed and comes back.
class TestBroker : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsLost();
    void leaverIsNotMissed();
    void nobodyMayWithoutTheUsers();
};

/// While it is gone there is one banner, what was typed stays, a drag goes on, and orders are refused with
/// the reason; when it is back, the rows are the same ones.
void TestBroker::nothingIsLost()
{
    if (!isInstallationPossible())
        QSKIP("there is no mosquitto");
    Installation installation(2, {QStringLiteral("--restart")});
    QVERIFY(installation.isUp());
    Options options;
    options.url = installation.url();
    options.page = QStringLiteral("tuners");
    Stage stage(options);
    QTRY_VERIFY(stage.window->isFilled() && stage.session->facts().size() == 2);
    auto* const page = static_cast<TunersPage*>(stage.window->currentPage());
    QTRY_COMPARE(page->rows().rowCount(), 52);
    page->filterLine()->setText(QStringLiteral("HF S2"));
    auto* const table = page->findChild<QTreeView*>();
    table->setCurrentIndex(table->model()->index(3, 0));
    const QString key = table->currentIndex().data(Roles::KeyRole).toString();
    Kolta::ProductionOrder order;
    order.tunerClass = QStringLiteral("Wide");
    order.displayName = QStringLiteral("half written");
    stage.session->draft().set(order, QString());

    stage.window->showPage(QStringLiteral("order"));
    const auto* const candidates = stage.window->currentPage()->findChild<CandidatesTable*>();
    QTRY_VERIFY(candidates->acceptedCount() > 0);
    const auto firstRank = [candidates] { return candidates->rows().index(0, 0).data().toString(); };
    QCOMPARE(firstRank(), QStringLiteral("1"));
    stage.window->showPage(QStringLiteral("tuners"));
    const auto alarmCount = [&stage] {
        const Kolta::Journal& journal = stage.session->journal();
        int alarms = 0;
        for (quint64 number = journal.firstNumber(); number < journal.endNumber(); ++number)
            alarms += journal.entry(number)->event.weight == Kolta::Event::Weight::Alarm ? 1 : 0;
        return alarms;
    };
    const int alarms = alarmCount();
    QTRY_COMPARE(stage.session->attentionCount(), 0);
    auto* const axis = page->findChild<FrequencyAxis*>();
    QWidget& canvas = *axis->findChild<QWidget*>(QStringLiteral("QwtPlotCanvas"));
    const QPoint left(canvas.width() / 4, 20), right(canvas.width() / 2, 20);
    QTRY_VERIFY(!axis->lanes().isEmpty());
    axis->setRange(10e6, 20e6);
    sendMouse(canvas, QEvent::MouseButtonPress, right, Qt::ShiftModifier);
    sendMouse(canvas, QEvent::MouseMove, (left + right) / 2, Qt::ShiftModifier);
    QVERIFY(installation.killBroker());
    const auto* const banner = stage.window->findChild<QLabel*>(QStringLiteral("banner"));
    QTRY_VERIFY(banner->isVisible());
    QVERIFY(!stage.session->link().isUp);
    QTRY_COMPARE(alarmCount(), alarms + 1);
    sendMouse(canvas, QEvent::MouseMove, left, Qt::ShiftModifier);
    sendMouse(canvas, QEvent::MouseButtonRelease, left, Qt::ShiftModifier); // which begins an order
    QVERIFY(qobject_cast<OrderPage*>(stage.window->currentPage()));
    const double frequency = stage.session->draft().order().frequency;
    QVERIFY2(frequency > 13e6 && frequency < 15e6, qPrintable(QString::number(frequency)));
    QVERIFY(!stage.run("order-start"));
    QCOMPARE(stage.session->draft().order().displayName, QStringLiteral("half written"));
    stage.session->draft().set(order, QString());
    QTRY_VERIFY(candidates->acceptedCount() > 0); // last known, without ranks
    QCOMPARE(firstRank(), QString());

    QVERIFY(installation.letBrokerReturn());
    QTRY_VERIFY(!banner->isVisible());
    QTRY_COMPARE(firstRank(), QStringLiteral("1"));
    stage.window->showPage(QStringLiteral("tuners"));
    QTRY_VERIFY(!table->currentIndex().data(Roles::StaleRole).toBool());
    QCOMPARE(table->currentIndex().data(Roles::KeyRole).toString(), key);
    QCOMPARE(page->rows().rowCount(), 7);
    QCOMPARE(alarmCount(), alarms + 1); // none of each server
    QTRY_COMPARE(stage.session->attentionCount(), 0);
}

/// A server that leaves by itself is no alarm, and is not counted.
void TestBroker::leaverIsNotMissed()
{
    if (!isInstallationPossible())
        QSKIP("there is no mosquitto");
    Installation installation(2);
    QVERIFY(installation.isUp());
    QStringList told; // until the last of what is told
    Options options;
    options.url = installation.url();
    options.page = QStringLiteral("overview");
    Stage stage(options);
    const auto isLive = [&stage] {
        const auto branches = stage.session->branches()->branches();
        return std::any_of(branches.begin(), branches.end(), [](const Kolta::BranchFigures& branch) {
            return branch.name == QLatin1String("S2") && branch.state == Kolta::LinkFigures::State::Up;
        });
    };
    QTRY_VERIFY(stage.window->isFilled() && stage.session->facts().size() == 2 && isLive());
    const int attention = stage.session->attentionCount();
    connect(&stage.session->events(), &Kolta::InstallationEvents::happened, this, [&told](const auto& event) {
        if (event.kind == Kolta::Event::Kind::State && event.server() == QLatin1String("S2"))
            told.append(Kolta::Event::word(event.weight) + QLatin1Char(' ') + event.text);
    });
    QVERIFY(installation.sendAway(QStringLiteral("S2")));
    QTRY_VERIFY2(told.contains(QStringLiteral("note has left by itself")),
                 qPrintable(told.join(QLatin1Char('\n'))));
    QCOMPARE(told.filter(QStringLiteral("alarm")), QStringList());
    QTRY_VERIFY(stage.session->factsOf(QStringLiteral("S2")).hasLeft());
    QVERIFY(stage.session->attentionCount() <= attention);
    QTRY_VERIFY(tells(*stage.window->currentPage(), "Servers: 1"));
}

/// While the file of users cannot be read nobody has a right; an event says why, also where there is a
/// journal of earlier days, and the rights are there once the file is mended.
void TestBroker::nobodyMayWithoutTheUsers()
{
    const QTemporaryDir folder;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
    qputenv("XDG_DATA_HOME", QFile::encodeName(folder.path()));
    auto& configuration = Startup::CfgCenter::Instance();
    const auto back = qScopeGuard([&configuration, before = configuration.FileName()] {
        configuration.Open(before);
        qunsetenv("XDG_DATA_HOME");
    });
    const QString users = folder.filePath(QStringLiteral("users.xml"));
    QVERIFY(writeFile(users, "<Users"));
    QVERIFY(configuration.Open(folder.filePath(QStringLiteral("kolta.ini"))));
    QVERIFY(configuration.SetValue(QStringLiteral("Users"), QStringLiteral("File"), users));
    Options options;
    options.url = QStringLiteral("mqtt://127.0.0.1:1");
    const Stage stage(options, true);
    const Session& session = *stage.session;
    QVERIFY(session.areUsersKnown() && session.journal().isWriting());
    const auto mayAnything = [&session] {
        for (int place = 0; place < Kolta::UserRights::GetNumberOfRights(); ++place) {
            if (session.mayDo(Kolta::UserRights::GetRightValueByIndex(place)))
                return true;
        }
        return false;
    };
    QVERIFY(!mayAnything());
    const auto isTold = [&session, &users] {
        const Kolta::Journal& journal = session.journal();
        for (quint64 number = journal.firstNumber(); number < journal.endNumber(); ++number) {
            const QString text = journal.entry(number)->text();
            if (text.startsWith(QLatin1String("Nobody has any right")) && text.contains(users))
                return true;
        }
        return false;
    };
    QTRY_VERIFY(isTold());
    const auto buttons = stage.window->findChild<TopBar*>()->findChildren<QAbstractButton*>();
    const auto badge = std::find_if(buttons.begin(), buttons.end(), [](const QAbstractButton* button) {
        return button->accessibleName() == QLatin1String("The user and his rights");
    });
    QVERIFY(badge != buttons.end());
    QVERIFY((*badge)->text().startsWith(QStringLiteral("nobody is logged in · 0 of ")));
    QVERIFY(writeFile(users, readFile(QStringLiteral(KOLTA_SOURCE_DIR "/share/installation/users.xml"))));
    QTRY_VERIFY((*badge)->text().startsWith(QStringLiteral("operator · ")) && mayAnything());
}

KOLTA_CONSOLE_TEST(TestBroker);
#include "tst_console_broker.moc"
