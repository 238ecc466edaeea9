#include "shorttimestage.h"

#include <koltaconsole/pages/shorttime/assignmentsview.h>
#include <koltaconsole/pages/shorttime/conversionsview.h>
#include <koltaconsole/pages/shorttime/profileeditor.h>
#include <koltaconsole/pages/shorttime/profileimportview.h>
#include <koltaconsole/pages/shorttime/profilesview.h>
#include <koltaconsole/pages/shorttime/resultsview.h>
#include <koltaconsole/pages/shorttime/shorttimemaps.h>
#include <koltaconsole/pages/shorttime/shorttimepage.h>
#include <koltaconsole/plots/resultsplot.h>
#include <koltaconsole/widgets/theme.h>

#include <koltacommon/q9rprofiles.h>

#include <qwt_scale_map.h>

#include <QClipboard>
#include <QComboBox>
#include <QHelpEvent>
#include <QPushButton>
#include <QSettings>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QToolButton>
#include <QToolTip>
#include <QTreeView>
#include <QTreeWidget>
#include <QUuid>

using namespace KoltaConsole;
using Kolta::ShortTimeProfile;

/// Profiles, assignments and results while others change them and the server goes.
class TestShortTime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// A draft outlives what others do and the server's absence, and only a good one is saved.
    void editing()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        auto* const table = stage.page->profiles().findChild<QTreeView*>();
        auto* const editor = stage.page->profiles().findChild<ProfileEditor*>();
        table->setCurrentIndex(table->model()->index(0, 0));
        const QString name = editor->draft().name;
        QVERIFY(!name.isEmpty() && !editor->isChanged());
        QLineEdit* const band = editor->line(ProfileField::Bandwidth);
        band->setText(QStringLiteral("25-16 kHz"));
        QVERIFY(editor->isWrong() && !editor->objectionToSave().isEmpty());
        ShortTimeProfile theirs = stage.profiles().At(name);
        theirs.useFrequency = true;
        theirs.frequencyMin = 1000000;
        theirs.frequencyMax = 2000000;
        stage.profiles().SetAt(name, theirs, nullptr);
        QCOMPARE(band->text(), QStringLiteral("25-16 kHz"));
        const auto buttons = editor->findChildren<QPushButton*>();
        QVERIFY(std::any_of(buttons.begin(), buttons.end(), [](const QPushButton* button) {
            return button->isVisible() && button->text() == QStringLiteral("Take theirs");
        }));
        QVERIFY(stage.run("short-compare"));
        const auto* const comparison = editor->findChild<QTreeWidget*>();
        QCOMPARE(comparison->topLevelItemCount(), 1);
        QCOMPARE(comparison->topLevelItem(0)->text(2), QStringLiteral("1 – 2 MHz"));
        stage.server().vanish();
        QTRY_VERIFY(stage.why("short-save").contains(QStringLiteral("S1")));
        QCOMPARE(band->text(), QStringLiteral("25-16 kHz"));
        stage.server().comeBack();
        QTRY_COMPARE(stage.why("short-save"), QStringLiteral("A field cannot be read."));
        QCOMPARE(editor->draft().name, name);
        editor->line(ProfileField::Name)->setText(table->model()->index(1, 0).data().toString());
        band->setText(QStringLiteral("16-25 kHz"));
        QVERIFY(stage.why("short-save").contains(QStringLiteral("that name")));
        QVERIFY(editor->line(ProfileField::Name)->property("wrong").toBool());
        editor->line(ProfileField::Name)->setText(name);
        QVERIFY(stage.run("short-save"));
        QCOMPARE(stage.profiles().At(name).bandwidthMax, 25000u);
        QTRY_VERIFY(!editor->isChanged());
        QVERIFY2(stage.page->commandLine().startsWith(QStringLiteral("kolta profiles --server S1 ")),
                 qPrintable(stage.page->commandLine()));
    }

    /// What the server does not let stand stays typed and says why; with another name the assignments go
    /// along.
    void saving()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        auto* const table = stage.page->profiles().findChild<QTreeView*>();
        auto* const editor = stage.page->profiles().findChild<ProfileEditor*>();
        table->setCurrentIndex(table->model()->index(0, 0));
        const ShortTimeProfile before = editor->original();
        QLineEdit* const shift = editor->line(ProfileField::Shift);
        shift->setText(QStringLiteral("1-4711 Hz"));
        QVERIFY(stage.run("short-save"));
        QVERIFY(editor->isChanged() && !stage.run("short-save") && !stage.run("short-undo"));
        // As a link tells it, which has put back what is valid.
        stage.profiles().SetAt(before.name, before, nullptr);
        Q_EMIT stage.session->si_WishFailed(stage.profiles().GetPath(), QStringLiteral("not today"));
        QTRY_COMPARE(stage.why("short-save"), QString());
        QCOMPARE(editor->draft().shiftMax, 4711u);
        QVERIFY(tells(*editor, "not today"));

        auto& assignments = stage.map<Kolta::ShortTimeFFPAssignmentItemMap>();
        Kolta::ShortTimeFFPAssignment assignment;
        assignment.ffpGuid = QUuid::createUuid().toString();
        assignment.profiles = QStringList{before.name, table->model()->index(1, 0).data().toString()};
        assignments.SetAt(assignment.ffpGuid, assignment, nullptr);
        editor->line(ProfileField::Name)->setText(QStringLiteral("Other"));
        QVERIFY(stage.run("short-save"));
        QVERIFY(stage.profiles().Contains(before.name));
        QTRY_VERIFY(!stage.profiles().Contains(before.name));
        QCOMPARE(stage.profiles().At(QStringLiteral("Other")).shiftMax, 4711u);
        QCOMPARE(assignments.At(assignment.ffpGuid).profiles.first(), QStringLiteral("Other"));
        QTRY_VERIFY(!editor->isChanged());
        QCOMPARE(editor->original().name, QStringLiteral("Other"));
    }

    /// What is typed is not lost to another action; what FFPs look for is removed only when somebody has been
    /// asked, and can be saved again.
    void removing()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        auto* const table = stage.page->profiles().findChild<QTreeView*>();
        auto* const editor = stage.page->profiles().findChild<ProfileEditor*>();
        const auto box = [&stage] { return stage.page->findChild<QMessageBox*>(); };
        table->setCurrentIndex(table->model()->index(0, 0));
        const ShortTimeProfile before = editor->original();
        const auto isThere = [&] { return stage.profiles().Contains(before.name); };
        QLineEdit* const band = editor->line(ProfileField::Bandwidth);
        band->setText(QStringLiteral("25-16 kHz"));
        QVERIFY(!stage.run("short-new"));
        QCOMPARE(band->text(), QStringLiteral("25-16 kHz"));
        auto* const other = editor->findChild<QComboBox*>();
        other->setFocus();
        QTest::keyClick(other, Qt::Key_Delete);
        QVERIFY(isThere() && stage.run("short-undo"));
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Delete);
        QVERIFY(!isThere() && !box());
        QCOMPARE(editor->draft().name, before.name);
        band->setText(QStringLiteral("1-4711 Hz"));
        QVERIFY(stage.run("short-undo") && stage.run("short-save"));
        QTRY_COMPARE(stage.why("short-save"), QStringLiteral("Nothing has changed."));
        QVERIFY(differingFields(stage.profiles().At(before.name), before).isEmpty());

        Kolta::ShortTimeFFPAssignment assignment;
        assignment.ffpGuid = QUuid::createUuid().toString();
        assignment.profiles = QStringList{before.name};
        stage.map<Kolta::ShortTimeFFPAssignmentItemMap>().SetAt(assignment.ffpGuid, assignment, nullptr);
        const QAbstractItemModel& rows = *table->model();
        table->setCurrentIndex(
            rows.match(rows.index(0, 0), Qt::DisplayRole, before.name, 1, Qt::MatchExactly).value(0));
        const QPersistentModelIndex use(table->currentIndex().siblingAtColumn(rows.columnCount() - 1));
        QTRY_COMPARE(use.data().toString(), assignment.ffpGuid);
        QVERIFY(stage.run("short-remove") && isThere() && box());
        QCOMPARE(box()->informativeText(), assignment.ffpGuid);
        accept(*stage.page);
        QVERIFY(!isThere());
        table->setCurrentIndex(table->model()->index(0, 0));
        QVERIFY(editor->draft().name != before.name); // a click does away with what is removed
    }

    /// What was typed and ticked is there again after another server was shown, and after an end.
    void survivesARestart()
    {
        const QTemporaryDir settings;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
        QString name;
        for (const bool isFirst : {true, false}) {
            Stage stage(Stage::optionsFor(2, "short-time"), true);
            QTRY_VERIFY(stage.isSettled());
            auto& page = *static_cast<ShortTimePage*>(stage.window->currentPage());
            page.showServer(QStringLiteral("S1"));
            auto* const table = page.profiles().findChild<QTreeView*>();
            auto* const editor = page.profiles().findChild<ProfileEditor*>();
            QLineEdit* const band = editor->line(ProfileField::Bandwidth);
            AssignmentMatrix& matrix = page.assignments().matrix();
            QTRY_COMPARE(matrix.rowCount(), 1);
            if (isFirst) {
                table->setCurrentIndex(table->model()->index(0, 0));
                name = editor->draft().name;
                band->setText(QStringLiteral("25-16 kHz"));
                matrix.toggle(matrix.index(0, 1));
                page.showServer(QStringLiteral("S2"));
                QVERIFY(!editor->isChanged());
                QCOMPARE(matrix.changeCount(), 0);
                page.showServer(QStringLiteral("S1"));
            }
            QCOMPARE(editor->original().name, name);
            QCOMPARE(band->text(), QStringLiteral("25-16 kHz"));
            QVERIFY(editor->isChanged() && editor->isWrong());
            // FFPs of a simulated server are others in each life.
            if (isFirst)
                QCOMPARE(matrix.changeCount(), 1);
        }
        QSettings kept;
        kept.beginGroup(QStringLiteral("assignmentDrafts"));
        QVERIFY(kept.value(kept.allKeys().value(0)).toString().contains(QStringLiteral(":true")));
    }

    /// Keys tick cells, columns and rows; nothing is sent before it is asked for, and what is sent is so.
    void assignments()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        stage.show(1);
        AssignmentMatrix& matrix = stage.page->assignments().matrix();
        QTRY_COMPARE(matrix.rowCount(), 1);
        auto* const table = stage.page->assignments().findChild<QTableView*>();
        table->setCurrentIndex(matrix.index(0, 1));
        table->setFocus();
        QTest::keyClick(table, Qt::Key_Tab);
        QVERIFY(!table->hasFocus());
        QTest::keyClick(table, Qt::Key_Space);
        QCOMPARE(matrix.changeCount(), 1);
        QTest::keyClick(table, Qt::Key_Space, Qt::ShiftModifier);
        QCOMPARE(matrix.changeCount(), matrix.columnCount());
        QTest::keyClick(table, Qt::Key_Space, Qt::ShiftModifier);
        QCOMPARE(matrix.changeCount(), 0);
        QTest::keyClick(table, Qt::Key_Space, Qt::ControlModifier);
        QCOMPARE(matrix.wanted().size(), 1);
        auto& map = stage.map<Kolta::ShortTimeFFPAssignmentItemMap>();
        QCOMPARE(map.Size(), std::size_t(0));
        QVERIFY(stage.run("short-send-undo") && !stage.run("short-send"));
        QTest::keyClick(table, Qt::Key_Space);
        QVERIFY(stage.run("short-send") && !stage.run("short-send"));
        table->setCurrentIndex(matrix.index(0, 2));
        QTest::keyClick(table, Qt::Key_Space);
        QTRY_COMPARE(map.Size(), std::size_t(1));
        QTRY_COMPARE(matrix.changeCount(), 1); // the one that was ticked since
        QVERIFY(matrix.index(0, 1).data(AssignmentMatrix::TickRole).toBool());
        QVERIFY(stage.run("short-send-undo"));
        table->setCurrentIndex(matrix.index(0, 1));
        table->setFocus();
        QVERIFY(stage.run("copy-rows"));
        QVERIFY2(QApplication::clipboard()->text().contains(QStringLiteral(": assigned")),
                 qPrintable(QApplication::clipboard()->text()));
        const auto& list = *stage.page->profiles().findChild<QTreeView*>()->model();
        const auto used = list.match(list.index(0, list.columnCount() - 1), Qt::DisplayRole,
                                     QStringLiteral("FFP 1"), -1, Qt::MatchContains);
        QCOMPARE(used.size(), 1);
        QCOMPARE(used.first().siblingAtColumn(0).data().toString(),
                 matrix.headerData(1, Qt::Horizontal).toString());
        // Nothing is read for a view that nobody sees, nor is a line told anew.
        stage.show(2);
        const QSignalSpy read(&matrix, &AssignmentMatrix::si_DraftChanged);
        const QSignalSpy told(stage.page, &Page::si_CommandLineChanged);
        Q_EMIT stage.session->si_FactsChanged();
        QVERIFY(read.isEmpty() && told.isEmpty());
        stage.show(1);
        QVERIFY(!read.isEmpty() && told.size() == 1);
    }

    /// Words narrow both tables; what is hidden is neither ticked by a key nor taken for missing.
    void filters()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        const auto filter = [&stage] { return stage.window->currentPage()->filterLine(); };
        QVERIFY(stage.run("filter"));
        QVERIFY(filter()->hasFocus());
        auto* const list = stage.page->profiles().findChild<QTreeView*>();
        const QAbstractItemModel& rows = *list->model();
        const auto all = rows.rowCount();
        list->setCurrentIndex(rows.index(all - 1, 0));
        const QString name = list->currentIndex().data().toString();
        filter()->setText(name);
        QTRY_VERIFY(rows.rowCount() < all);
        QCOMPARE(list->currentIndex().data().toString(), name);
        filter()->setText(QStringLiteral("hopper 225-400MHz"));
        QVERIFY(rows.rowCount() > 0 && rows.rowCount() < all);
        for (int row = 0; row < rows.rowCount(); ++row)
            QVERIFY(rows.index(row, 0).data().toString().contains(QStringLiteral("UHF hopper")));
        const int hoppers = rows.rowCount();
        filter()->clear();
        QCOMPARE(rows.rowCount(), all);
        stage.show(1);
        AssignmentMatrix& matrix = stage.page->assignments().matrix();
        QTRY_COMPARE(matrix.rowCount(), 1);
        auto* const table = stage.page->assignments().findChild<QTableView*>();
        filter()->setText(QStringLiteral("\"FFP 1\" hopper 225-400MHz"));
        QVERIFY(table->isVisible());
        for (int column = 0; column < matrix.columnCount(); ++column) {
            if (!table->isColumnHidden(column))
                table->setCurrentIndex(matrix.index(0, column));
        }
        QTest::keyClick(table, Qt::Key_Space, Qt::ShiftModifier);
        QCOMPARE(matrix.changeCount(), hoppers);
        filter()->setText(QStringLiteral("no such thing"));
        QVERIFY(!table->isVisible());
        QCOMPARE(matrix.changeCount(), hoppers);
        stage.show(3);
        auto& conversions = stage.map<Kolta::ConvertProductionResultMap>();
        for (const char* const record : {"archive/disk-1/1", "archive/disk-2/2"})
            conversions.Add(
                Kolta::ConvertProductionResult({sorel::RecordIdentifier::fromString(QLatin1String(record)),
                                                QStringLiteral("audio"),
                                                {},
                                                {},
                                                {}}));
        const auto* const view = stage.page->conversions().findChild<QTreeView*>();
        QTRY_COMPARE(view->model()->rowCount(), 2);
        filter()->setText(QStringLiteral("audio disk-2"));
        QVERIFY(view->isRowHidden(0, QModelIndex()) != view->isRowHidden(1, QModelIndex()));
    }

    /// What was known of a server that vanishes stays, and says so; nothing can be done with it. What is
    /// there to be done where there is nothing is said.
    void vanishing()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        Kolta::ShortTimeResult found;
        found.startTime = QDateTime::currentMSecsSinceEpoch() * 1000;
        stage.map<Kolta::ShortTimeResultItemMap>().AddNew(found);
        stage.show(3);
        QVERIFY(tells(*stage.page, "press Convert"));
        stage.show(0);
        const auto& list = *stage.page->profiles().findChild<QTreeView*>()->model();
        AssignmentMatrix& matrix = stage.page->assignments().matrix();
        QTRY_COMPARE(matrix.rowCount(), 1);
        const int all = list.rowCount();
        stage.server().vanish();
        QTRY_VERIFY(tells(*stage.page, "last known"));
        QCOMPARE(list.rowCount(), all);
        QVERIFY(list.index(0, 0).data(Kolta::ViewRoles::StaleRole).toBool());
        for (const int tab : {1, 2}) {
            stage.show(tab);
            QTRY_VERIFY(tells(*stage.page, "last known"));
        }
        QCOMPARE(matrix.columnCount(), all);
        QCOMPARE(matrix.rowCount(), 1);
        QVERIFY(matrix.index(0, 0).data(Kolta::ViewRoles::StaleRole).toBool());
        QCOMPARE(stage.page->results().model().rowCount(), 1);
        stage.server().comeBack();
        QTRY_VERIFY(!list.index(0, 0).data(Kolta::ViewRoles::StaleRole).toBool());
        QTRY_COMPARE(list.rowCount(), all);
        stage.profiles().Clear();
        stage.show(1);
        QTRY_VERIFY(tells(*stage.page, "make one under Profiles"));
    }

    /// A server that nobody has looked at before it went is no blank page.
    void neverSeen()
    {
        ShortTimeStage stage(2);
        QTRY_VERIFY(stage.isSettled());
        const QString other = QStringLiteral("S2");
        shortTimeMap<Kolta::ShortTimeResultItemMap>(*stage.session, other)->AddNew(Kolta::ShortTimeResult());
        stage.server(other).vanish();
        QTRY_COMPARE(stage.session->factsOf(other).condition, Condition::Vanished);
        const auto& list = *stage.page->profiles().findChild<QTreeView*>()->model();
        AssignmentMatrix& matrix = stage.page->assignments().matrix();
        const auto isStale = [&list] { return list.index(0, 0).data(Kolta::ViewRoles::StaleRole).toBool(); };
        const int all = list.rowCount();
        for (int time = 0; time < 2; ++time) {
            stage.page->showServer(other);
            QVERIFY(list.rowCount() == all && isStale() && tells(*stage.page, "last known"));
            QCOMPARE(stage.page->results().model().rowCount(), 1);
            QVERIFY(matrix.rowCount() == 1 && matrix.columnCount() == all);
            stage.page->showServer(QStringLiteral("S1"));
            QVERIFY(list.rowCount() == all && !isStale());
            QCOMPARE(stage.page->results().model().rowCount(), 0);
        }
        stage.page->showServer(other);
        stage.server(other).comeBack();
        QTRY_VERIFY(!isStale());
        QTRY_COMPARE(list.rowCount(), all);
    }

    /// The plot follows until it is moved. Profiles look different, rectangles too; what has gone leaves its
    /// shape to others.
    void results()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        stage.show(2);
        auto& map = stage.map<Kolta::ShortTimeResultItemMap>();
        const qint64 start = QDateTime(QDate(2026, 3, 1), QTime(12, 0), Qt::UTC).toMSecsSinceEpoch() * 1000;
        Kolta::ShortTimeResult result;
        for (int i = 0; i < 20; ++i) {
            result.startTime = start + i * 60000000;
            result.frequency = 30000000 + static_cast<quint64>(i) * 1000000;
            result.profileName = QStringLiteral("P%1").arg(i % 10);
            map.AddNew(result);
        }
        ResultsPlot& plot = stage.page->results().plot();
        QTRY_COMPARE(plot.shownCount(), 11); // ten minutes up to the newest
        QLineEdit* const filter = stage.window->currentPage()->filterLine();
        for (const auto& [words, count] :
             {std::pair("40-41 MHz !P9", 2), std::pair("p3 33-42 MHz", 1), std::pair("", 11)}) {
            filter->setText(QLatin1String(words));
            QCOMPARE(plot.shownCount(), count);
        }
        plot.setFollowing(false);
        result.startTime = start + 3600000000;
        map.AddNew(result);
        QTRY_COMPARE(stage.page->results().model().rowCount(), 21);
        QTRY_VERIFY(tells(stage.page->results(), "of 21 results"));
        QCOMPARE(plot.shownCount(), 11);
        QVERIFY(stage.run("short-follow") && !stage.run("short-follow"));
        QCOMPARE(plot.shownCount(), 1);
        plot.setFocus();
        QCOMPARE(plot.grab().toImage().pixel(0, plot.height() / 2),
                 Theme::instance().color(Role::Planned).rgb());
        for (const auto& [key, count] : {std::pair(Qt::Key_0, 21), std::pair(Qt::Key_Left, 20),
                                         std::pair(Qt::Key_Plus, 20), std::pair(Qt::Key_Plus, 16)}) {
            QTest::keyClick(&plot, key);
            QCOMPARE(plot.shownCount(), count);
        }
        for (QToolButton* const button : stage.page->results().findChildren<QToolButton*>()) {
            if (button->accessibleName() == QLatin1String("Show all (0)"))
                button->click();
        }
        QCOMPARE(plot.shownCount(), 21);

        QVERIFY(tells(stage.page->results(), "■\u00a0P0") &&
                tells(stage.page->results(), "□\u00a0others: P8, P9"));
        map.Clear();
        result.profileName = QStringLiteral("New");
        map.AddNew(result);
        QTRY_VERIFY(tells(stage.page->results(), "■\u00a0New"));
        plot.setFollowing(true);
        ResultsPlot::Point point{start, 300e6, 100e6, 1e6, 0, QStringLiteral("New")};
        QVector<QImage> looks;
        for (point.shape = 0; point.shape <= ResultsPlot::kShapes; ++point.shape) {
            plot.setPoints({point});
            looks.append(plot.grab().toImage());
            QCOMPARE(looks.indexOf(looks.last()), point.shape);
        }
        QWidget& canvas = *plot.canvas();
        const auto x = plot.canvasMap(QwtPlot::xBottom).transform(static_cast<double>(start) + 100e6);
        const QPoint place(qRound(x), canvas.height() / 2);
        QHelpEvent help(QEvent::ToolTip, place, canvas.mapToGlobal(place));
        QCoreApplication::sendEvent(&canvas, &help);
        QCOMPARE(QToolTip::text(), QStringLiteral("New\n100 MHz, 12:00:00.000 UTC"));
    }
};

KOLTA_CONSOLE_TEST(TestShortTime);
#include "tst_console_shorttime.moc"
