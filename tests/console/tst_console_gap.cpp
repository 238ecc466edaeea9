#include "consoletest.h"

#include <koltaconsole/pages/tunerspage.h>
#include <koltaconsole/plots/frequencyaxis.h>

#include <simulation/simulatedserver.h>

#include <QElapsedTimer>
#include <QLineEdit>
#include <QScrollBar>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <ctime>

using namespace KoltaConsole;

namespace {

/// What the thread has worked, in milliseconds; time in which others had the processor does not count.
double workedMs()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// The longest that the event loop was busy between two turns of a timer, by the thread's own time.
class Gap : public QObject
{
public:
    Gap()
    {
        m_timer.setInterval(1);
        m_timer.callOnTimeout(this, [this] {
            const double now = workedMs();
            m_longest = std::max(m_longest, now - m_last);
            m_last = now;
        });
        m_timer.start();
    }
    double longest() const { return m_longest; }

private:
    QTimer m_timer;
    double m_last = workedMs();
    double m_longest = 0.0;
};

} // namespace

/// Nobody waits for the console while 10,000 tuners change.
class TestGap : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { m_stage.reset(); }
    void staysFluid();

private:
    void change(int turn);

    std::unique_ptr<Stage> m_stage;
};

void TestGap::initTestCase()
{
    Options options;
    options.servers = 100;
    options.tuners = 100;
    options.page = QStringLiteral("tuners");
    m_stage = std::make_unique<Stage>(options);
    QTRY_VERIFY_WITH_TIMEOUT(m_stage->isSettled(), 60000);
    QTRY_COMPARE_WITH_TIMEOUT(static_cast<TunersPage*>(m_stage->window->currentPage())->rows().rowCount(),
                              10000, 60000);
}

/// One tuner of one server in a hundred.
void TestGap::change(int turn)
{
    auto* const server = m_stage->session->simulation()->server(QStringLiteral("S%1").arg(turn % 100 + 1));
    const auto& tuner = server->resources().GetTuner().at(turn * 7 % 100);
    server->setTunerIdle(tuner.GetTavikResource().GetGUID(), !tuner.GetIdle());
}

/// While tuners change, somebody types, scrolls, zooms and goes from page to page. The limit is that of one
/// keystroke alone on the same machine, with room: what waits for all 10,000 rows once too often is far
/// above.
void TestGap::staysFluid()
{
    auto* const page = static_cast<TunersPage*>(m_stage->window->currentPage());
    auto* const table = page->findChild<QTreeView*>();
    auto* const axis = page->findChild<FrequencyAxis*>();
    const QStringList words{QStringLiteral("h"),       QStringLiteral("hf"),          QStringLiteral("hf fr"),
                            QStringLiteral("hf free"), QStringLiteral("118-137 MHz"), QString()};
    // What one pass over all rows costs here: filter, lanes, paint.
    QCoreApplication::processEvents();
    const double before = workedMs();
    page->filterLine()->setText(QStringLiteral("free"));
    page->grab();
    const double once = workedMs() - before;
    page->filterLine()->clear();
    QTest::qWait(300);
    Gap gap;
    for (int turn = 0; turn < 120; ++turn) {
        for (int i = 0; i < 10; ++i)
            change(turn * 10 + i);
        if (turn % 10 == 0)
            page->filterLine()->setText(words.at(turn / 10 % words.size()));
        table->verticalScrollBar()->setValue(turn * 37 % std::max(1, table->verticalScrollBar()->maximum()));
        axis->zoom(turn % 2 == 0 ? 0.8 : 1.25, 100e6);
        if (turn % 30 == 15)
            m_stage->window->showPage(QStringLiteral("overview"));
        if (turn % 30 == 20)
            m_stage->window->showPage(QStringLiteral("tuners"));
        QTest::qWait(20);
    }
    qInfo("longest gap %.1f ms of the thread's time, one pass %.1f ms", gap.longest(), once);
    QVERIFY2(gap.longest() < 6 * once + 50,
             qPrintable(QStringLiteral("%1 ms, one pass takes %2 ms").arg(gap.longest()).arg(once)));
}

KOLTA_CONSOLE_TEST(TestGap);
#include "tst_console_gap.moc"
