#include "consoletest.h"

#include <koltaconsole/addressdialog.h>
#include <koltaconsole/pages/events/linksview.h>
#include <koltaconsole/pages/events/linktraffic.h>
#include <koltaconsole/pages/pages.h>
#include <koltaconsole/pages/tuners/tunerspage.h>
#include <koltaconsole/window/topbar.h>

#include <koltacommon/journal.h>

#include <distribution/replay.h>

#include <QMenu>
#include <QPushButton>
#include <QScopeGuard>
#include <QSlider>
#include <QTemporaryDir>
#include <QTreeView>

#include <algorithm>

using namespace KoltaConsole;
using distribution::Replay;
using distribution::ReplayAddress;

/// The console on a recording of another day, of a server that is killed while it has a production.
class TestReplay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void changesNothing();
    void goesWhereItIsTold();
    void beginsAtTheEnd();
    void playsUpToTheCut();
    void asksUntilThereIsOne();

private:
    static Options optionsFor(const QString& file, double speed, const QString& from = QString())
    {
        Options options;
        options.url = ReplayAddress{file, speed, from}.ToUrl();
        options.page = QStringLiteral("tuners");
        return options;
    }
    static QString barOf(const Stage& stage)
    {
        const auto* const bar = stage.window->findChild<QWidget*>(QStringLiteral("replay"));
        const auto* const label = bar ? bar->findChild<QLabel*>() : nullptr;
        return label ? label->text() : QString();
    }

    QTemporaryDir m_folder;
    const QString m_file = QStringLiteral(KOLTA_SOURCE_DIR "/share/demo/vanishing.rec");
};

/// It stands at the beginning and says so, and no action changes anything or reads messages that are not
/// there.
void TestReplay::changesNothing()
{
    const Stage stage(optionsFor(m_file, 0));
    const ActionTable& actions = stage.window->actions();
    for (const QString& id : pageIds())
        QVERIFY(stage.window->showPage(id) != nullptr);
    stage.window->showPage(QStringLiteral("tuners"));
    QTRY_COMPARE(stage.session->facts().size(), 1);
    QVERIFY2(barOf(stage).startsWith(QLatin1String("replay of vanishing.rec, ")) &&
                 barOf(stage).endsWith(QStringLiteral(", ×1, paused")),
             qPrintable(barOf(stage)));
    for (const QString& id : actions.ids()) {
        if (actions.find(id)->changes)
            QCOMPARE(actions.enabledBecause(id),
                     QStringLiteral("This is a replay, in which nothing can be changed."));
    }
    // What would be started would be today's.
    QCOMPARE(stage.why("front-end"), stage.session->whyReadOnly());
    auto* const top = stage.window->findChild<TopBar*>();
    for (QPushButton* const button : top->findChildren<QPushButton*>()) {
        if (button->accessibleName() == QLatin1String("The user and his rights"))
            button->click();
    }
    auto* const rights = top->findChild<QMenu*>();
    QVERIFY(rights && rights->actions().size() == 1 && !rights->actions().first()->isEnabled());
    rights->close();
    auto* const links = stage.window->findChild<LinksView*>()->findChild<QTreeView*>();
    QTRY_COMPARE(links->model()->rowCount(), 2);
    links->setCurrentIndex(links->model()->index(0, 0));
    QVERIFY(stage.why("link-read").contains(QLatin1String("branch by branch")));
    links->setCurrentIndex(links->model()->index(1, 0));
    QVERIFY(stage.run("link-read"));
    const LinkTraffic& traffic = *stage.window->findChild<LinksView*>()->traffic();
    Replay& replay = *stage.session->replay();
    replay.jump(replay.end());
    QTRY_VERIFY(traffic.rowCount() > 2); // what the recording holds, at its time, and nothing else
    for (int row = 0; row < traffic.rowCount(); ++row) {
        const auto cell = [&](int column) { return traffic.index(row, column).data().toString(); };
        QCOMPARE(cell(LinkTraffic::eDirectionColumn), QStringLiteral("received"));
        const auto time = QTime::fromString(cell(LinkTraffic::eTimeColumn), QStringLiteral("HH:mm:ss.zzz"));
        QVERIFY(time >= replay.timeAt(replay.begin()).time() && time <= replay.timeAt(replay.end()).time());
    }
    stage.window->resize(1024, 640);
    QCOMPARE(stage.window->size(), QSize(1024, 640));
}

/// Steps, jumps and plays, and all that is shown has the recording's time.
void TestReplay::goesWhereItIsTold()
{
    Stage stage(optionsFor(m_file, 0));
    Replay& replay = *stage.session->replay();
    QTRY_COMPARE(stage.session->facts().size(), 1);
    const auto* const page = static_cast<TunersPage*>(stage.window->currentPage());
    QTRY_COMPARE(page->rows().rowCount(), 26);
    QCOMPARE(stage.session->now(), replay.timeAt(replay.begin()));
    QVERIFY(stage.run("replay-step"));
    QTRY_VERIFY(!replay.isMoving());
    QVERIFY(replay.isPaused());
    auto* const time = stage.window->findChild<QWidget*>(QStringLiteral("replay"))->findChild<QLineEdit*>();
    QVERIFY(stage.run("replay-jump"));
    time->setText(QStringLiteral("noon"));
    QTest::keyClick(time, Qt::Key_Return);
    QVERIFY(time->property("wrong").toBool());
    time->setText(QStringLiteral("end"));
    QTest::keyClick(time, Qt::Key_Return);
    QTRY_VERIFY(replay.isAtEnd());
    QTRY_VERIFY(barOf(stage).endsWith(QLatin1String(", at its end")));
    QTRY_COMPARE(stage.session->factsOf(QStringLiteral("S1")).condition, Condition::Vanished);
    QCOMPARE(stage.session->now(), replay.timeAt(replay.end()));
    const auto lines = stage.window->findChildren<QLineEdit*>();
    QVERIFY(std::any_of(lines.begin(), lines.end(), [&stage](const QLineEdit* line) {
        return line->toolTip().contains(stage.session->treeUrl());
    }));
    QTRY_VERIFY(stage.session->factsOf(QStringLiteral("S1")).lastKnown.isValid());
    const ServerFacts gone = stage.session->factsOf(QStringLiteral("S1"));
    QCOMPARE(gone.lastKnown.date(), replay.timeAt(replay.end()).date());
    QCOMPARE(gone.reason(),
             QStringLiteral("last known ") + gone.lastKnown.toString(QStringLiteral("HH:mm:ss")));
    QVERIFY(!stage.run("replay-pause"));
    QVERIFY(stage.run("replay-begin"));
    QVERIFY(stage.run("replay-step")); // before it has jumped
    QTRY_VERIFY(!replay.isMoving());
    QVERIFY(replay.position() > replay.begin() && replay.position() < replay.end());
    QTRY_COMPARE(stage.session->factsOf(QStringLiteral("S1")).condition, Condition::Attention);
    auto* const place = stage.window->findChild<QSlider*>();
    QTest::keyClick(place, Qt::Key_PageUp);
    QTRY_VERIFY(!replay.isMoving());
    QVERIFY(replay.position() >= replay.begin() + (replay.end() - replay.begin()) / 10);
    QTest::keyClick(place, Qt::Key_Home);
    QTRY_COMPARE(replay.position(), replay.begin());
    replay.setSpeed(ReplayAddress::kMostSpeed);
    QVERIFY(stage.run("replay-pause"));
    QTRY_VERIFY(replay.isAtEnd());
    QTRY_COMPARE(stage.session->factsOf(QStringLiteral("S1")).condition, Condition::Vanished);
    QCOMPARE(page->rows().rowCount(), 26);
    // What ran then stands in the journal with the times of then, and nothing is written for later.
    QVERIFY(!stage.session->journal().isWriting());
    QTRY_VERIFY(stage.session->journal().endNumber() > stage.session->journal().firstNumber());
    const Kolta::Journal& journal = stage.session->journal();
    QStringList links;
    for (quint64 number = journal.firstNumber(); number < journal.endNumber(); ++number) {
        const Kolta::Event& event = journal.entry(number)->event;
        QVERIFY(event.time <= replay.timeAt(replay.end()));
        if (event.kind == Kolta::Event::Kind::Link && event.subject.guid == stage.session->url())
            links.append(event.text);
    }
    QCOMPARE(links.value(0), QStringLiteral("the recording begins"));
    QCOMPARE(links.filter(QStringLiteral("the broker is")), QStringList());
}

/// What was over before anybody looked was known once.
void TestReplay::beginsAtTheEnd()
{
    const Stage stage(optionsFor(m_file, 0, QStringLiteral("end")));
    QTRY_COMPARE(stage.session->factsOf(QStringLiteral("S1")).condition, Condition::Vanished);
    const QString reason = stage.session->factsOf(QStringLiteral("S1")).reason();
    QVERIFY2(reason.startsWith(QLatin1String("last known ")), qPrintable(reason));
    // Other programs are told of that moment.
    QString error;
    const auto address = ReplayAddress::FromUrl(stage.session->treeUrl(), error);
    QVERIFY2(address && QFileInfo(address->file).isAbsolute(), qPrintable(error));
    QCOMPARE(stage.session->replay()->find(address->from, error).value_or(-1),
             stage.session->replay()->position());
}

/// A file that lost its end is played as far as it goes, and says so; one that lost its beginning is none.
void TestReplay::playsUpToTheCut()
{
    const QString cut = m_folder.filePath(QStringLiteral("cut.rec"));
    QVERIFY(QFile::copy(m_file, cut));
    QFile file(cut);
    QVERIFY(file.resize(file.size() - 40));
    {
        Stage stage(optionsFor(cut, ReplayAddress::kMostSpeed));
        const Replay& replay = *stage.session->replay();
        QVERIFY(!replay.cut().isEmpty());
        QTRY_VERIFY(replay.isAtEnd());
        QTRY_VERIFY2(barOf(stage).contains(replay.cut()), qPrintable(barOf(stage)));
        const Kolta::Journal& journal = stage.session->journal();
        QTRY_VERIFY(journal.endNumber() > journal.firstNumber());
        QVERIFY(journal.entry(journal.firstNumber())->text().contains(replay.cut()));
    }
    {
        Stage stage(optionsFor(cut, 0));
        Replay& replay = *stage.session->replay();
        QTRY_VERIFY(!replay.isMoving());
        const qint64 whole = replay.end();
        QVERIFY(file.resize(file.size() / 2));
        QSignalSpy told(&replay, &Replay::si_Cut);
        replay.setSpeed(ReplayAddress::kMostSpeed);
        replay.go();
        QTRY_COMPARE(told.size(), 1);
        QVERIFY(replay.isPaused() && replay.isAtEnd() && replay.end() < whole);
        const Kolta::Journal& journal = stage.session->journal();
        const auto isTold = [&journal, cut = replay.cut()] {
            for (quint64 number = journal.firstNumber(); number < journal.endNumber(); ++number) {
                if (journal.entry(number)->text().contains(cut))
                    return true;
            }
            return false;
        };
        QTRY_VERIFY(isTold());
        replay.jump(replay.begin());
        replay.go();
        QTRY_VERIFY(replay.isAtEnd());
        QCOMPARE(told.size(), 1);
    }
    QVERIFY(file.resize(4));
    QString error;
    QVERIFY(!Session::start(optionsFor(cut, 1), error));
    QVERIFY2(error.contains(QLatin1String("cut.rec")) && !error.contains(QLatin1Char('\n')),
             qPrintable(error));
    QVERIFY(!Session::start(optionsFor(m_file, 1, QStringLiteral("noon")), error));
    QVERIFY2(error.contains(QLatin1String("expected begin, end")), qPrintable(error));
}

/// An address that is none asks for another, which is judged while it is typed.
void TestReplay::asksUntilThereIsOne()
{
    Options options;
    options.isRemembered = false;
    options.isAsking = true;
    options.url = QStringLiteral("replay:/none");
    options.urlSource = QStringLiteral("KOLTA_TREE");
    QTimer::singleShot(0, this, [this] {
        auto* const dialog = qobject_cast<AddressDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        const auto close = qScopeGuard([dialog] { dialog->close(); });
        QVERIFY(tells(*dialog, "KOLTA_TREE: /none: "));
        QLineEdit& line = field(*dialog, "Address");
        const auto buttons = dialog->findChildren<QPushButton*>();
        const auto show = std::find_if(buttons.begin(), buttons.end(),
                                       [](const QPushButton* button) { return button->isDefault(); });
        QVERIFY(show != buttons.end());
        for (const auto& [typed, problem] :
             {std::pair("nonsense", "expected mqtt"),
              std::pair("replay:" KOLTA_SOURCE_DIR "/CMakeLists.txt", "it is no recording"),
              std::pair("", "is missing")}) {
            line.setText(QLatin1String(typed));
            QTRY_VERIFY2(tells(*dialog, problem), problem);
            QVERIFY((*show)->toolTip().contains(QLatin1String(problem)));
            QTest::keyClick(&line, Qt::Key_Return);
            QVERIFY(dialog->isVisible());
        }
        line.setText(optionsFor(m_file, 0).url);
        QTest::keyClick(&line, Qt::Key_Return);
    });
    QString error;
    const auto session = startSession(options, error);
    QVERIFY(session && session->replay());
}

KOLTA_CONSOLE_TEST(TestReplay);
#include "tst_console_replay.moc"
