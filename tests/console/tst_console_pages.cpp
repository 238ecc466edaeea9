#include "consoletest.h"

#include <koltaconsole/pages/overview/overviewpage.h>
#include <koltaconsole/pages/overview/servercards.h>
#include <koltaconsole/pages/tuners/tunerspage.h>
#include <koltaconsole/plots/frequencyaxis.h>
#include <koltaconsole/session/orderdraft.h>
#include <koltaconsole/session/serverfactslist.h>
#include <koltaconsole/window/attentionlist.h>
#include <koltaconsole/window/installationtree.h>

#include <koltacommon/journal.h>
#include <koltacommon/servermodel.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtime.h>

#include <QComboBox>
#include <QHeaderView>
#include <QListWidget>
#include <QScopeGuard>
#include <QSettings>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QToolButton>
#include <QTreeView>

using namespace KoltaConsole;
namespace Roles = Kolta::ViewRoles;

/// The pages as somebody uses them, with keys, while servers come and go.
class TestPages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// A server that vanishes comes first, is led to by F8, and is shown alone until Esc.
    void overview()
    {
        Stage stage;
        QTRY_VERIFY(stage.isSettled());
        auto* const cards = stage.window->findChild<ServerCards*>();
        QCOMPARE(cards->count(), 5);
        const QRect first = cards->placeOf(QStringLiteral("S4")); // it lacks a unit
        QCOMPARE(stage.session->attentionCount(), 1);
        stage.server(QStringLiteral("S2")).vanish();
        QTRY_COMPARE(cards->placeOf(QStringLiteral("S2")), first);
        QCOMPARE(stage.session->facts().first().condition, Condition::Vanished);
        QVERIFY(stage.session->facts().first().isStale());
        QTest::keyClick(stage.window.get(), Qt::Key_F8); // the worst
        QTRY_COMPARE(cards->count(), 1);
        QVERIFY(cards->placeOf(QStringLiteral("S2")).isValid());
        QTest::keyClick(stage.window.get(), Qt::Key_F8);
        QTRY_VERIFY(cards->placeOf(QStringLiteral("S4")).isValid());
        // The list changes under the hand: what is pointed at stays, and so does the current one.
        const auto* const list = stage.window->findChild<AttentionList*>()->findChild<QListWidget*>();
        const QPersistentModelIndex pressed = list->model()->index(0, 0);
        Q_EMIT stage.session->si_FactsChanged();
        QVERIFY(pressed.isValid());
        stage.server(QStringLiteral("S5")).vanish();
        QTRY_COMPARE(list->count(), 3);
        QCOMPARE(list->currentItem()->data(Qt::UserRole).toString(), QStringLiteral("S4"));
        for (const char* const server : {"S2", "S5"}) {
            stage.server(QLatin1String(server)).comeBack();
            QTRY_COMPARE(stage.session->factsOf(QLatin1String(server)).condition, Condition::Operational);
        }
        stage.run("all-servers");
        QCOMPARE(cards->count(), 5);
        QLineEdit* const filter = stage.window->currentPage()->filterLine();
        filter->setText(QStringLiteral("attention"));
        QCOMPARE(cards->count(), 1);
        filter->setText(QStringLiteral("no such server"));
        QCOMPARE(cards->count(), 0);
        auto* const clear = filter->parent()->findChild<QToolButton*>(QString(), Qt::FindDirectChildrenOnly);
        QVERIFY(clear->isVisible());
        clear->click();
        QCOMPARE(cards->count(), 5);
        QApplication::setActiveWindow(stage.window.get());
        cards->setFocus();
        QTRY_COMPARE(cards->current(), QStringLiteral("S4"));
        QVERIFY(cards->accessibleDescription().startsWith(QLatin1String("S4, Attention, ")));
        QTest::keyClick(cards, Qt::Key_Right);
        QCOMPARE(cards->current(), QStringLiteral("S1"));
        QCOMPARE(cards->accessibleDescription(), QStringLiteral("S1, Operational"));
        QTest::keyClick(cards, Qt::Key_Return);
        QTRY_COMPARE(cards->count(), 1);
        for (int part = 0; part < 4; ++part) {
            QTest::keyClick(stage.window.get(), Qt::Key_F6);
            const QWidget* const focus = QApplication::focusWidget();
            QVERIFY2(focus && (focus->focusPolicy() & Qt::TabFocus) != 0, qPrintable(QString::number(part)));
        }
    }

    /// A server whose content is coming tells how far that is; one that has left is forgotten after a day,
    /// and is a row again when it comes back.
    void leaverIsForgotten()
    {
        Stage stage;
        QTRY_VERIFY(stage.isSettled());
        const QString address = QStringLiteral("S2");
        SeenBranch seen{BranchCondition::Joining, -1, 7, 3};
        ServerFactsList list(stage.session->servers(), [&address, &seen] {
            return QHash<QString, SeenBranch>{{address, seen}};
        });
        auto* const server = stage.session->simulation()->server(address);
        server->vanish();
        QTRY_COMPARE(stage.session->factsOf(address).condition, Condition::Vanished);
        list.read();
        const ServerFacts joining = list.of(address);
        QCOMPARE(joining.look().word + QLatin1Char(' ') + joining.reason(),
                 QStringLiteral("Joining 3 of 7 parts"));
        QVERIFY(joining.isStale() && !joining.needsAttention() && list.isAnyStarting());
        seen.condition = BranchCondition::Withdrawn;
        list.read();
        list.forgetLeavers();
        QCOMPARE(stage.session->servers().rowCount(), 5);
        Kolta::ViewTime::setSource([] { return QDateTime::currentDateTime().addDays(1).addSecs(60); });
        list.forgetLeavers();
        Kolta::ViewTime::setSource(nullptr);
        QTRY_COMPARE(stage.session->servers().rowCount(), 4);
        QVERIFY(server->comeBack());
        QTRY_COMPARE(stage.session->servers().rowCount(), 5);
        QTRY_COMPARE(stage.session->factsOf(address).condition, Condition::Operational);
    }

    /// What was seen to begin has its time, by which servers are sorted. What was so at the first look has
    /// begun before, and so has what is found when the link is back.
    void sinceWhen()
    {
        const Stage stage;
        QTRY_VERIFY(stage.isSettled());
        const QDateTime start = QDateTime::currentDateTime();
        QDateTime time = start;
        Kolta::ViewTime::setSource([&time] { return time; });
        const auto back = qScopeGuard([] { Kolta::ViewTime::setSource(nullptr); });
        QHash<QString, SeenBranch> odd;
        ServerFactsList list(stage.session->servers(), [&odd] { return odd; });
        const auto told = [&] {
            list.read();
            QStringList lines;
            for (const ServerFacts& facts : list.all().mid(0, list.attentionCount())) {
                const qint64 seconds = facts.since.isValid() ? start.secsTo(facts.since) : -1;
                lines.append(QStringLiteral("%1 %2").arg(facts.address).arg(seconds));
            }
            return lines.join(QStringLiteral(", "));
        };
        const QString lacking = QStringLiteral("S4");
        const SeenBranch silent{BranchCondition::Silent, -1};
        QCOMPARE(told(), QStringLiteral("S4 -1"));
        const QString before = QStringLiteral(" units, since before ") + timeText(start);
        QVERIFY2(list.of(lacking).reason().contains(before), qPrintable(list.of(lacking).reason()));
        for (const char* const server : {"S5", "S4", "S1"}) {
            time = time.addSecs(10);
            odd.insert(QLatin1String(server), silent);
            told();
        }
        QCOMPARE(told(), QStringLiteral("S5 10, S4 20, S1 30"));
        time = time.addSecs(10);
        odd.remove(lacking);
        QCOMPARE(told(), QStringLiteral("S4 40, S5 10, S1 30"));
        const QString since = QStringLiteral(" units, since ") + timeText(time);
        QVERIFY2(list.of(lacking).reason().contains(since), qPrintable(list.of(lacking).reason()));
        list.setOutOfSight(true);
        QCOMPARE(told(), QStringLiteral("S4 40, S5 10, S1 30"));
        list.setOutOfSight(false);
        QCOMPARE(told(), QStringLiteral("S4 -1, S1 -1, S5 -1"));
        // A recording goes back to a time before what was seen.
        time = time.addSecs(10);
        odd.remove(QStringLiteral("S1"));
        told();
        odd.insert(QStringLiteral("S1"), silent);
        QCOMPARE(told(), QStringLiteral("S4 -1, S5 -1, S1 50"));
        time = start;
        QCOMPARE(told(), QStringLiteral("S4 -1, S1 -1, S5 -1"));
    }

    /// The tree tells what runs where, and what is chosen in it narrows the page.
    void tree()
    {
        Stage stage(5, "tuners");
        QTRY_VERIFY(stage.isSettled());
        const QAbstractItemModel& model = *stage.window->findChild<InstallationTree*>()->model();
        QTRY_VERIFY(find(model, QStringLiteral("MCP 1")).isValid());
        const QModelIndex running = find(model, QStringLiteral("MCP 1"));
        QVERIFY(running.sibling(running.row(), 1).data().toString().endsWith(QLatin1String("Hz")));
        QVERIFY(running.data(Qt::ToolTipRole).toString().contains(QLatin1String("'MCP 1'")));
        const RowIndex& rows = static_cast<TunersPage*>(stage.window->currentPage())->rows();
        stage.window->findChild<InstallationTree*>()->setCurrentIndex(running.parent());
        QVERIFY(rows.rowCount() > 0 && rows.rowCount() < 26);
        for (int row = 0; row < rows.rowCount(); ++row)
            QCOMPARE(rows.index(row, Kolta::TunerModel::eClassColumn).data(), running.parent().data());
        stage.run("all-servers");
        QCOMPARE(rows.rowCount(), 130);
        const QPersistentModelIndex name = find(model, QStringLiteral("HF")); // of S1
        const auto counts = [&name] { return name.sibling(name.row(), 1).data().toString(); };
        QVERIFY2(counts().endsWith(QLatin1String(" free")), qPrintable(counts()));
        stage.server().vanish();
        QTRY_VERIFY2(counts().endsWith(QLatin1String(" tuners")), qPrintable(counts()));
    }

    /// Columns, sorting, kinds, tabs and what is hidden are as they were left.
    void layout()
    {
        const QTemporaryDir folder;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, folder.path());
        Options options;
        options.servers = 1;
        const auto tunersOf = [](Stage& stage) {
            return stage.window->showPage(QStringLiteral("tuners"))->findChild<QTreeView*>();
        };
        const auto eventsOf = [](Stage& stage) { return stage.window->showPage(QStringLiteral("events")); };
        {
            Stage stage(options, true);
            QTreeView* const table = tunersOf(stage);
            table->setColumnHidden(Kolta::TunerModel::eAddressColumn, false);
            table->setColumnWidth(Kolta::TunerModel::eNameColumn, 201);
            table->header()->moveSection(0, 2);
            table->sortByColumn(Kolta::TunerModel::eRangeColumn, Qt::DescendingOrder);
            eventsOf(stage)->findChild<QComboBox*>()->setCurrentIndex(1);
            eventsOf(stage)->findChild<QTabWidget*>()->setCurrentIndex(2);
            stage.run("tree");
        }
        Stage stage(options, true);
        QVERIFY(stage.window->findChild<InstallationTree*>()->isHidden());
        QCOMPARE(eventsOf(stage)->findChild<QComboBox*>()->currentIndex(), 1);
        QCOMPARE(eventsOf(stage)->findChild<QTabWidget*>()->currentIndex(), 2);
        const QTreeView* const table = tunersOf(stage);
        QVERIFY(!table->isColumnHidden(Kolta::TunerModel::eAddressColumn));
        QVERIFY(table->isColumnHidden(Kolta::TunerModel::eTypeColumn));
        QCOMPARE(table->columnWidth(Kolta::TunerModel::eNameColumn), 201);
        QCOMPARE(table->header()->visualIndex(0), 2);
        const RowIndex& rows = static_cast<TunersPage*>(stage.window->currentPage())->rows();
        QCOMPARE(rows.sortColumn(), int(Kolta::TunerModel::eRangeColumn));
        QCOMPARE(rows.sortOrder(), Qt::DescendingOrder);
    }

    /// What does not get to the disk is told of once, at the start or when that begins.
    void settingsThatAreNotKept()
    {
        const QTemporaryDir folder;
        QTemporaryFile noFolder; // nobody can make anything below it
        QVERIFY(noFolder.open());
        const auto keepBelow = [](const QString& path) {
            QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, path);
        };
        for (const QString& first : {folder.path(), noFolder.fileName()}) {
            keepBelow(first);
            const Stage stage(Stage::optionsFor(1), true);
            const auto isTold = [&] { return tells(*stage.window, qPrintable(noFolder.fileName())); };
            QCOMPARE(isTold(), first != folder.path());
            keepBelow(noFolder.fileName());
            for (int times = 0; times < 2; ++times)
                stage.session->draft().save();
            QVERIFY(isTold());
            const Kolta::Journal& journal = stage.session->journal();
            const auto count = [&] {
                int told = 0;
                for (quint64 number = journal.firstNumber(); number < journal.endNumber(); ++number) {
                    const Kolta::JournalEntry& line = *journal.entry(number);
                    told += line.event.text.contains(noFolder.fileName()) ? line.count : 0;
                }
                return told;
            };
            QTRY_COMPARE(count(), 1);
        }
    }

    /// Filter, order and selection outlive a server's absence; the selected row stays the same tuner.
    void tuners()
    {
        Stage stage(5, "tuners");
        QTRY_VERIFY(stage.isSettled());
        auto* const page = static_cast<TunersPage*>(stage.window->currentPage());
        auto* const table = page->findChild<QTreeView*>();
        QCOMPARE(page->rows().rowCount(), 130);
        QTest::keyClick(stage.window.get(), Qt::Key_Slash);
        QTest::keyClicks(page->filterLine(), QStringLiteral("HF !S3 \"KW 1\""));
        page->filterLine()->setText(QStringLiteral("HF !S3"));
        QCOMPARE(page->rows().rowCount(), 28);
        table->sortByColumn(Kolta::TunerModel::eServerColumn, Qt::DescendingOrder);
        QCOMPARE(table->model()->index(0, 0).data(Roles::ServerRole).toString(), QStringLiteral("S5"));
        const QModelIndex chosen = table->model()->index(9, 0);
        table->setCurrentIndex(chosen);
        const QString key = chosen.data(Roles::KeyRole).toString();
        QCOMPARE(chosen.data(Roles::ServerRole).toString(), QStringLiteral("S4"));
        auto* const server = stage.session->simulation()->server(QStringLiteral("S4"));
        server->vanish();
        QTRY_VERIFY(table->currentIndex().data(Roles::StaleRole).toBool());
        QCOMPARE(table->currentIndex().data(Roles::KeyRole).toString(), key);
        QCOMPARE(page->rows().rowCount(), 28);
        QTest::keyClicks(page->filterLine(), QStringLiteral(" free"));
        QVERIFY(page->rows().rowCount() < 28);
        page->filterLine()->setText(QStringLiteral("HF !S3"));
        server->comeBack();
        QTRY_VERIFY(!table->currentIndex().data(Roles::StaleRole).toBool());
        QCOMPARE(table->currentIndex().data(Roles::KeyRole).toString(), key);
        page->filterLine()->setText(QStringLiteral("nothing like this"));
        QCOMPARE(page->rows().rowCount(), 0);
        page->filterLine()->clear();
        QTRY_COMPARE(page->rows().rowCount(), 130);
    }

    /// Headings count what fits the filter and is free, follow a server that vanishes, and are folded and
    /// remembered by their names; whoever points at a folded tuner sees it.
    void tunersInGroups()
    {
        Stage stage(5, "tuners");
        QTRY_VERIFY(stage.isSettled());
        auto* const page = static_cast<TunersPage*>(stage.window->currentPage());
        auto* const table = page->findChild<QTreeView*>();
        const auto headings = [page] {
            QStringList told;
            for (int row = 0; row < page->rows().rowCount(); ++row) {
                const QModelIndex index = page->rows().index(row, 0);
                if (page->rows().isHeading(index))
                    told.append(index.data().toString());
            }
            return told.join(QStringLiteral(", "));
        };
        page->findChild<QComboBox*>()->setCurrentIndex(1);
        QCOMPARE(headings(), QString());
        QVERIFY(stage.run("tuner-groups"));
        QCOMPARE(page->rows().rowCount(), 135);
        page->filterLine()->setText(QStringLiteral("Basic !hardware"));
        const QString all = QStringLiteral("S1: 4 of 4 free, S2: 4 of 4 free, S3: 4 of 4 free, "
                                           "S4: 4 of 4 free, S5: 4 of 4 free");
        QCOMPARE(headings(), all);
        table->setCurrentIndex(page->rows().index(7, 0));
        const QString key = table->currentIndex().data(Roles::KeyRole).toString();
        QTest::keyClick(table, Qt::Key_Left);
        QCOMPARE(table->currentIndex().data(Roles::GroupRole).toString(), QStringLiteral("S2"));
        QVERIFY(!stage.run("tuner-why-not"));
        QTest::keyClick(table, Qt::Key_Left);
        QCOMPARE(page->rows().rowCount(), 21);
        stage.server(QStringLiteral("S2")).vanish();
        QTRY_COMPARE(headings(), QString(all).replace(QLatin1String("S2: 4"), QLatin1String("S2: 0")));
        stage.server(QStringLiteral("S2")).comeBack();
        QTRY_COMPARE(headings(), all);
        QCOMPARE(page->rows().rowCount(), 21);

        const QTemporaryDir folder;
        QSettings settings(folder.filePath(QStringLiteral("layout.ini")), QSettings::IniFormat);
        page->save(settings);
        TunersPage other(*stage.session, stage.window->actions(), nullptr);
        other.restore(settings);
        QCOMPARE(other.rows().rowCount(), 135 - 26);
        Q_EMIT page->findChild<FrequencyAxis*>()->si_TunerChosen(key);
        QCOMPARE(table->currentIndex().data(Roles::KeyRole).toString(), key);
        QCOMPARE(page->rows().rowCount(), 25);
        const QRect heading = table->visualRect(page->rows().index(0, 0));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, heading.center());
        QCOMPARE(page->rows().rowCount(), 25);
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, {10, heading.center().y()});
        QCOMPARE(page->rows().rowCount(), 21);
        table->setCurrentIndex(page->rows().index(page->rows().rowCount() - 1, 0));
        const QString last = table->currentIndex().data(Roles::KeyRole).toString();
        page->findChild<QComboBox*>()->setCurrentIndex(3);
        QCOMPARE(page->rows().rowCount(), 20);
        QCOMPARE(table->currentIndex().data(Roles::KeyRole).toString(), last);
    }
};

KOLTA_CONSOLE_TEST(TestPages);
#include "tst_console_pages.moc"
