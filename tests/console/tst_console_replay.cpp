#include "consoletest.h"

#include <koltaconsole/pages/pages.h>
#include <koltaconsole/pages/tunerspage.h>

#include <koltacommon/journal.h>

#include <distribution/replay.h>

#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QTemporaryDir>

#include <csignal>

using namespace KoltaConsole;
using distribution::Replay;
using distribution::ReplayAddress;

/// The console on a recording of another installation, which is over by then.
class TestReplay : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void playsAndChangesNothing();
    void playsUpToTheCut();

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
    QString m_file = m_folder.filePath(QStringLiteral("told.rec"));
};

/// Two servers, of which one gets an order while it is recorded.
void TestReplay::initTestCase()
{
    const auto says = [](QProcess& program, const QByteArray& text, QByteArray& said) {
        for (int i = 0; i < 600 && !said.contains(text); ++i) {
            program.waitForReadyRead(100);
            said += program.readAll();
        }
        return said.contains(text);
    };
    QProcess installation, recorder;
    for (QProcess* const program : {&installation, &recorder})
        program->setProcessChannelMode(QProcess::MergedChannels);
    const QString kolta = QStringLiteral(KOLTA_PROGRAM);
    QByteArray said, told;
    installation.start(kolta, {QStringLiteral("up"), QStringLiteral("--servers"), QStringLiteral("2")});
    if (!says(installation, "another terminal", said))
        QSKIP(said.constData());
    const QString url =
        QString::fromUtf8(said.mid(said.indexOf("tree ") + 5)).section(QLatin1Char('\n'), 0, 0).trimmed();
    recorder.start(kolta, {QStringLiteral("record"), m_file, QStringLiteral("--tree"), url});
    QVERIFY2(says(recorder, "Ctrl-C ends", told), told.constData());
    QCOMPARE(
        QProcess::execute(kolta, {QStringLiteral("produce"), QStringLiteral("scp"),
                                  QStringLiteral("--server"), QStringLiteral("S2"), QStringLiteral("--class"),
                                  QStringLiteral("HF"), QStringLiteral("--frequency"), QStringLiteral("7.1M"),
                                  QStringLiteral("--tree"), url}),
        0);
    ::kill(static_cast<pid_t>(recorder.processId()), SIGINT);
    QVERIFY(recorder.waitForFinished(60000));
    ::kill(static_cast<pid_t>(installation.processId()), SIGINT);
    installation.waitForFinished(60000);
}

/// It stands, steps and jumps as it is told, shows the recording's time, and no action changes anything.
void TestReplay::playsAndChangesNothing()
{
    Stage stage(optionsFor(m_file, 0));
    ActionTable& actions = stage.window->actions();
    Replay& replay = *stage.session->replay();
    for (const QString& id : pageIds())
        QVERIFY(stage.window->showPage(id) != nullptr);
    stage.window->showPage(QStringLiteral("tuners"));
    QTRY_COMPARE_WITH_TIMEOUT(stage.session->facts().size(), 2, 20000);
    const auto* const page = static_cast<TunersPage*>(stage.window->currentPage());
    QTRY_COMPARE_WITH_TIMEOUT(page->rows().rowCount(), 52, 20000);
    QVERIFY2(barOf(stage).startsWith(QLatin1String("replay of told.rec, ")) &&
                 barOf(stage).endsWith(QStringLiteral(", ×1, paused")),
             qPrintable(barOf(stage)));
    QCOMPARE(stage.session->now(), replay.timeAt(replay.begin()));
    for (const QString& id : actions.ids()) {
        if (actions.find(id)->changes)
            QCOMPARE(actions.enabledBecause(id),
                     QStringLiteral("This is a replay, in which nothing can be changed."));
    }

    QVERIFY(actions.run(QStringLiteral("replay-step")));
    QTRY_VERIFY(!replay.isMoving());
    QVERIFY(replay.isPaused());
    auto* const time = stage.window->findChild<QWidget*>(QStringLiteral("replay"))->findChild<QLineEdit*>();
    QVERIFY(actions.run(QStringLiteral("replay-jump")));
    time->setText(QStringLiteral("noon"));
    QTest::keyClick(time, Qt::Key_Return);
    QVERIFY(time->property("wrong").toBool());
    time->setText(QStringLiteral("end"));
    QTest::keyClick(time, Qt::Key_Return);
    QTRY_VERIFY_WITH_TIMEOUT(replay.isAtEnd(), 20000);
    QTRY_VERIFY(barOf(stage).endsWith(QLatin1String(", at its end")));
    QCOMPARE(stage.session->now(), replay.timeAt(replay.end()));
    QVERIFY(!actions.run(QStringLiteral("replay-pause")));
    QVERIFY(actions.run(QStringLiteral("replay-begin")));
    QTRY_COMPARE_WITH_TIMEOUT(replay.position(), replay.begin(), 20000);
    QTRY_VERIFY(!replay.isMoving());
    replay.setSpeed(ReplayAddress::kMostSpeed);
    QVERIFY(actions.run(QStringLiteral("replay-pause")));
    QTRY_VERIFY_WITH_TIMEOUT(replay.isAtEnd(), 20000);
    QTRY_COMPARE_WITH_TIMEOUT(page->rows().rowCount(), 52, 20000);
    // What ran then stands in the journal with the times of then, and nothing is written for later.
    QVERIFY(!stage.session->journal().isWriting());
    QTRY_VERIFY(stage.session->journal().endNumber() > stage.session->journal().firstNumber());
    const Kolta::Journal& journal = stage.session->journal();
    for (quint64 number = journal.firstNumber(); number < journal.endNumber(); ++number)
        QVERIFY(journal.entry(number)->event.time <= replay.timeAt(replay.end()));
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
        QTRY_VERIFY_WITH_TIMEOUT(replay.isAtEnd(), 20000);
        QTRY_VERIFY2(barOf(stage).contains(replay.cut()), qPrintable(barOf(stage)));
        const Kolta::Journal& journal = stage.session->journal();
        QTRY_VERIFY(journal.endNumber() > journal.firstNumber());
        QVERIFY(journal.entry(journal.firstNumber())->text().contains(replay.cut()));
    }
    QVERIFY(file.resize(4));
    QString error;
    QVERIFY(!Session::start(optionsFor(cut, 1), error));
    QVERIFY2(error.contains(QLatin1String("cut.rec")) && !error.contains(QLatin1Char('\n')),
             qPrintable(error));
    QVERIFY(!Session::start(optionsFor(m_file, 1, QStringLiteral("noon")), error));
    QVERIFY2(error.contains(QLatin1String("expected begin, end")), qPrintable(error));
}

KOLTA_CONSOLE_TEST(TestReplay);
#include "tst_console_replay.moc"
