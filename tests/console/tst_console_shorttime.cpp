#include "consoletest.h"

#include <koltaconsole/pages/assignmentsview.h>
#include <koltaconsole/pages/profileeditor.h>
#include <koltaconsole/pages/profilesview.h>
#include <koltaconsole/pages/resultsview.h>
#include <koltaconsole/pages/shorttimemaps.h>
#include <koltaconsole/pages/shorttimepage.h>
#include <koltaconsole/plots/resultsplot.h>

#include <koltacommon/q9rprofiles.h>
#include <simulation/simulatedserver.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>
#include <QTabWidget>
#include <QTableView>
#include <QTemporaryDir>
#include <QTreeView>
#include <QTreeWidget>
#include <QUuid>

using namespace KoltaConsole;
using Kolta::ShortTimeProfile;

namespace {

struct ShortTimeStage : Stage
{
    static Options oneServer()
    {
        Options options;
        options.servers = 1;
        options.page = QStringLiteral("short-time");
        return options;
    }
    ShortTimeStage() : Stage(oneServer()), page(static_cast<ShortTimePage*>(window->currentPage())) {}
    template<class Map>
    Map& map(const char* name) const
    {
        return *shortTimeMap<Map>(*session, QStringLiteral("S1"), name);
    }
    Kolta::ShortTimeProfileItemMap& profiles() const
    {
        return map<Kolta::ShortTimeProfileItemMap>("Profiles");
    }
    KoltaSimulation::SimulatedServer& server() const
    {
        return *session->simulation()->server(QStringLiteral("S1"));
    }
    void show(int tab) const { page->findChild<QTabWidget*>()->setCurrentIndex(tab); }

    ShortTimePage* page;
};

} // namespace

/// Profiles, assignments and results while others change them and the server goes.
class TestShortTime : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fields_data()
    {
        const Rows<int, QString, QString, bool> row("field typed shown isGood");
        row("units", int(ProfileField::Frequency), "30-88 MHz", "30 – 88 MHz", true);
        row("comma", int(ProfileField::Bandwidth), "12,5-25 kHz", "12.5 – 25 kHz", true);
        row("reversed", int(ProfileField::Bandwidth), "25-16 kHz", "", false);
        row("one end", int(ProfileField::Frequency), ">20 MHz", "", false);
        row("beyond 32 bits", int(ProfileField::Shift), "1-5 GHz", "", false);
        row("raw duration", int(ProfileField::Duration), "7000-9500", "7000 – 9500", true);
        row("duration beyond 32 bits", int(ProfileField::Duration), "1-5000000000", "", false);
        row("hops", int(ProfileField::HopRate), "2 k/s", "2 k/s", true);
        row("no name", int(ProfileField::Name), " ", "", false);
    }
    void fields()
    {
        QFETCH(int, field);
        QFETCH(QString, typed);
        QFETCH(QString, shown);
        QFETCH(bool, isGood);
        ShortTimeProfile profile;
        const QString problem = takeField(profile, static_cast<ProfileField>(field), typed);
        QCOMPARE(problem.isEmpty(), isGood);
        QCOMPARE(fieldText(profile, static_cast<ProfileField>(field)), shown);
        QVERIFY(!isGood || takeField(profile, static_cast<ProfileField>(field), QString()).isEmpty() ==
                               (field != int(ProfileField::Name)));
    }

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
        for (QPushButton* const button : buttons) {
            if (button->text() == QStringLiteral("Compare"))
                button->click();
        }
        const auto* const comparison = editor->findChild<QTreeWidget*>();
        QCOMPARE(comparison->topLevelItemCount(), 1);
        QCOMPARE(comparison->topLevelItem(0)->text(2), QStringLiteral("1 – 2 MHz"));
        stage.server().vanish();
        QTRY_VERIFY(editor->objectionToSave().contains(QStringLiteral("S1")));
        QCOMPARE(band->text(), QStringLiteral("25-16 kHz"));
        stage.server().comeBack();
        QTRY_VERIFY(!editor->objectionToSave().contains(QStringLiteral("S1")));
        QCOMPARE(editor->draft().name, name);
        band->setText(QStringLiteral("16-25 kHz"));
        QCOMPARE(editor->objectionToSave(), QString());
        Q_EMIT editor->si_Save();
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
        Q_EMIT editor->si_Save();
        QVERIFY(editor->isChanged() && !editor->objectionToSave().isEmpty());
        // As a link tells it, which has put back what is valid.
        stage.profiles().SetAt(before.name, before, nullptr);
        Q_EMIT stage.session->si_WishFailed(stage.profiles().GetPath(), QStringLiteral("not today"));
        QTRY_COMPARE(editor->objectionToSave(), QString());
        QCOMPARE(editor->draft().shiftMax, 4711u);
        const auto labels = editor->findChildren<QLabel*>();
        QVERIFY(std::any_of(labels.begin(), labels.end(), [](const QLabel* label) {
            return label->text().contains(QStringLiteral("not today"));
        }));

        auto& assignments = stage.map<Kolta::ShortTimeFFPAssignmentItemMap>("Assignments");
        Kolta::ShortTimeFFPAssignment assignment;
        assignment.ffpGuid = QUuid::createUuid().toString();
        assignment.profiles = QStringList{before.name, table->model()->index(1, 0).data().toString()};
        assignments.SetAt(assignment.ffpGuid, assignment, nullptr);
        editor->line(ProfileField::Name)->setText(QStringLiteral("Other"));
        Q_EMIT editor->si_Save();
        QVERIFY(stage.profiles().Contains(before.name));
        QTRY_VERIFY(!stage.profiles().Contains(before.name));
        QCOMPARE(stage.profiles().At(QStringLiteral("Other")).shiftMax, 4711u);
        QCOMPARE(assignments.At(assignment.ffpGuid).profiles.first(), QStringLiteral("Other"));
        QTRY_VERIFY(!editor->isChanged());
        QCOMPARE(editor->original().name, QStringLiteral("Other"));
    }

    /// What was typed and ticked is there again after another server was shown, and after an end.
    void survivesARestart()
    {
        const QTemporaryDir settings;
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
        Options options = ShortTimeStage::oneServer();
        options.servers = 2;
        QString name;
        for (const bool isFirst : {true, false}) {
            Stage stage(options, true);
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

    /// What a file would change is told before it does, and what cannot be read is left out.
    void import()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        const auto first = stage.profiles().data().begin()->second;
        ShortTimeProfile changed = first, fresh;
        changed.useShift = true;
        changed.shiftMax = changed.shiftMin + 4711;
        fresh.name = QStringLiteral("fresh");
        auto file = ShortTimeProfile::toQ9RProfile({changed, fresh, fresh});
        file.profiles[2].name = QStringLiteral("odd");
        file.profiles[2].bandwidthRange = {QStringLiteral("16 kHz"), 1};
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("p.xml"));
        QCOMPARE(VESK_Q9R::writeProfileFile(path, file), QString());
        const ProfileImport import = ProfileImport::read(path, stage.profiles());
        QCOMPARE(import.wanted.size(), 2);
        QCOMPARE(import.refused, 1);
        QCOMPARE(import.wanted.first().type, first.type);
        const auto before = stage.profiles().Size();
        stage.page->profiles().previewImport(path);
        QCOMPARE(stage.profiles().Size(), before);
        stage.page->profiles().confirmImport();
        QCOMPARE(stage.profiles().Size(), before + 1);
        QCOMPARE(stage.profiles().At(first.name).shiftMax, changed.shiftMax);
        QVERIFY(!stage.profiles().Contains(QStringLiteral("odd")));
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
        QTest::keyClick(table, Qt::Key_Space);
        QCOMPARE(matrix.changeCount(), 1);
        QTest::keyClick(table, Qt::Key_Space, Qt::ShiftModifier);
        QCOMPARE(matrix.changeCount(), matrix.columnCount());
        QTest::keyClick(table, Qt::Key_Space, Qt::ShiftModifier);
        QCOMPARE(matrix.changeCount(), 0);
        QTest::keyClick(table, Qt::Key_Space, Qt::ControlModifier);
        QCOMPARE(matrix.wanted().size(), 1);
        auto& map = stage.map<Kolta::ShortTimeFFPAssignmentItemMap>("Assignments");
        QCOMPARE(map.Size(), std::size_t(0));
        stage.page->assignments().send();
        QTRY_COMPARE(map.Size(), std::size_t(1));
        QTRY_COMPARE(matrix.changeCount(), 0);
        QVERIFY(matrix.index(0, 1).data(AssignmentMatrix::TickRole).toBool());
    }

    /// The plot follows until it is moved; what cannot be told apart by shape is "others".
    void results()
    {
        ShortTimeStage stage;
        QTRY_VERIFY(stage.isSettled());
        stage.show(2);
        auto& map = stage.map<Kolta::ShortTimeResultItemMap>("Results");
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
        plot.setFollowing(false);
        result.startTime = start + 3600000000;
        map.AddNew(result);
        QTRY_COMPARE(stage.page->results().model().rowCount(), 21);
        QTest::qWait(300);
        QCOMPARE(plot.shownCount(), 11);
        plot.setFollowing(true);
        QCOMPARE(plot.shownCount(), 1);
    }
};

KOLTA_CONSOLE_TEST(TestShortTime);
#include "tst_console_shorttime.moc"
