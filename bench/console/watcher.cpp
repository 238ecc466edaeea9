#include "watcher.h"

#include <koltaconsole/pages/pages.h>
#include <koltaconsole/pages/tuners/tunerspage.h>
#include <koltaconsole/plots/frequencyaxis.h>
#include <koltaconsole/session/options.h>
#include <koltaconsole/session/serverfacts.h>
#include <koltaconsole/session/session.h>
#include <koltaconsole/window/mainwindow.h>

#include <QCoreApplication>
#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <numeric>

namespace Fluency {

using namespace KoltaConsole;

namespace {

constexpr int kDeedMs = 40;
constexpr int kCalmMs = 500;          ///< from the last server's content to the first deed
constexpr int kLookMs = 50;           ///< whether that is here
constexpr qint64 kFirstViewMs = 2000; ///< aims of docs/console.md
constexpr double kLongestTurnMs = 50.0;
constexpr std::size_t kMostGaps = 10;

double workedMs()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

} // namespace

Watcher::Watcher(const QElapsedTimer& clock, int tuners, int seconds)
    : m_clock(clock), m_tuners(tuners), m_seconds(seconds)
{
    m_turns.setTimerType(Qt::PreciseTimer);
    m_turns.setInterval(1);
    connect(&m_turns, &QTimer::timeout, this, &Watcher::noteTurn);
    m_deedTimer.setInterval(kDeedMs);
    connect(&m_deedTimer, &QTimer::timeout, this, &Watcher::doNext);
}

Watcher::~Watcher() = default;

bool Watcher::start(const QString& url, QString& error)
{
    Options options;
    options.url = url;
    options.page = QStringLiteral("tuners");
    options.isRemembered = false;
    m_session = Session::start(options, error);
    if (!m_session)
        return false;
    m_window = std::make_unique<MainWindow>(*m_session, options);
    m_page = static_cast<TunersPage*>(m_window->currentPage());
    for (QWidget* const widget : m_page->findChildren<QWidget*>())
        widget->installEventFilter(this);
    m_window->show();
    m_lastWall = static_cast<double>(m_clock.nsecsElapsed()) / 1e6;
    m_lastWork = workedMs();
    m_turns.start();
    return true;
}

/// Full is a view whose table has all rows and whose axis draws all of them; both have been painted then.
bool Watcher::eventFilter(QObject* watched, QEvent* event)
{
    if (!m_isFull && event->type() == QEvent::Paint) {
        const auto& lanes = m_page->findChild<FrequencyAxis*>()->lanes();
        const int drawn = std::accumulate(lanes.begin(), lanes.end(), 0,
                                          [](int sum, const Lane& lane) { return sum + lane.tuners.size(); });
        m_isFull = drawn == m_tuners && m_page->rows().rowCount() == m_tuners;
        if (m_isFull)
            QMetaObject::invokeMethod(
                this, [this] { noteFirstView(); }, Qt::QueuedConnection);
    }
    return QObject::eventFilter(watched, event);
}

void Watcher::noteFirstView()
{
    const qint64 firstView = m_clock.elapsed();
    m_isSlow = firstView > kFirstViewMs;
    std::printf("first view after %lld ms%s\n", static_cast<long long>(firstView),
                m_isSlow ? ", ABOVE THE AIM of 2 s" : "");
    tellLongest("until then");
    for (QWidget* const widget : m_page->findChildren<QWidget*>())
        widget->removeEventFilter(this);
    prepare();
    beginWhenCurrent();
}

void Watcher::tellLongest(const char* when)
{
    const auto longest = std::max_element(m_gaps.begin(), m_gaps.end(),
                                          [](const Gap& a, const Gap& b) { return a.ms < b.ms; });
    if (longest != m_gaps.end())
        std::printf("  longest turn %s %.1f ms\n", when, longest->ms);
    std::fflush(stdout);
    m_gaps.clear();
}

/// What is seen first may be older than what the servers have by now.
void Watcher::beginWhenCurrent()
{
    const auto& facts = m_session->facts();
    if (std::any_of(facts.begin(), facts.end(), [](const ServerFacts& each) { return each.isStale(); })) {
        QTimer::singleShot(kLookMs, this, &Watcher::beginWhenCurrent);
        return;
    }
    std::printf("all current after %lld ms\n", static_cast<long long>(m_clock.elapsed()));
    QTimer::singleShot(kCalmMs, this, [this] {
        tellLongest("between");
        m_deedTimer.start();
        QTimer::singleShot(m_seconds * 1000, this, &Watcher::tell);
    });
}

void Watcher::noteTurn()
{
    const double wall = static_cast<double>(m_clock.nsecsElapsed()) / 1e6, work = workedMs();
    m_gaps.push_back({wall - m_lastWall, work - m_lastWork, static_cast<qint64>(m_lastWall), m_current});
    m_lastWall = wall;
    m_lastWork = work;
    if (m_gaps.size() > 4 * kMostGaps) {
        std::sort(m_gaps.begin(), m_gaps.end(), [](const Gap& a, const Gap& b) { return a.ms > b.ms; });
        m_gaps.resize(kMostGaps);
    }
}

void Watcher::add(const QString& name, const std::function<void()>& run)
{
    m_deeds.push_back({name, run});
}

/// Key by key, and all of it taken out again.
void Watcher::addTyping(const QString& text)
{
    const auto press = [this](int key, const QString& sign) {
        QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier, sign);
        QCoreApplication::sendEvent(m_page->filterLine(), &down);
    };
    for (const QChar sign : text)
        add(QStringLiteral("typing \"%1\", \"%2\"").arg(text, sign), [=] { press(0, QString(sign)); });
    for (int i = 0; i < text.size(); ++i)
        add(QStringLiteral("taking \"%1\" out").arg(text), [=] { press(Qt::Key_Backspace, QString()); });
}

void Watcher::addPages()
{
    for (const QString& id : pageIds())
        add(QStringLiteral("page ") + id, [this, id] { m_window->showPage(id); });
    for (const QString& id : pageIds()) {
        add(QStringLiteral("page ") + id, [this, id] { m_window->showPage(id); });
        for (int i = 0; i < 15; ++i)
            add(QStringLiteral("looking at ") + id, [] {});
    }
    add(QStringLiteral("page tuners"), [this] { m_window->showPage(QStringLiteral("tuners")); });
}

void Watcher::prepare()
{
    auto* const table = m_page->findChild<QTreeView*>();
    auto* const axis = m_page->findChild<FrequencyAxis*>();
    for (const char* const text : {"hf free", "118-137 MHz", "!S3 in use"})
        addTyping(QString::fromLatin1(text));
    for (int i = 0; i < 20; ++i)
        add(QStringLiteral("scrolling"),
            [this, table, i] { table->verticalScrollBar()->setValue(i * 487 % m_tuners); });
    for (int i = 0; i < 20; ++i)
        add(QStringLiteral("zooming"), [axis, i] { axis->zoom(i % 8 < 4 ? 0.7 : 1.4, 100e6); });
    for (int i = 0; i < 10; ++i)
        add(QStringLiteral("moving"), [axis, i] { axis->pan(i % 4 < 2 ? 0.2 : -0.2); });
    add(QStringLiteral("show all"), [axis] { axis->showAll(); });
    for (const int column : {8, 5, 3, 0})
        add(QStringLiteral("sorting by column %1").arg(column),
            [table, column] { table->sortByColumn(column, Qt::AscendingOrder); });
    for (int i = 0; i < 10; ++i)
        add(QStringLiteral("selecting"),
            [table, i, this] { table->setCurrentIndex(table->model()->index(i * 997 % m_tuners, 0)); });
    addPages();
}

void Watcher::doNext()
{
    const Deed& deed = m_deeds[m_next++ % m_deeds.size()];
    m_current = deed.name;
    deed.run();
}

void Watcher::tell()
{
    m_deedTimer.stop();
    m_turns.stop();
    std::sort(m_gaps.begin(), m_gaps.end(), [](const Gap& a, const Gap& b) { return a.ms > b.ms; });
    m_gaps.resize(std::min(m_gaps.size(), kMostGaps));
    const double longest = m_gaps.empty() ? 0.0 : m_gaps.front().ms;
    const bool isLong = longest > kLongestTurnMs;
    std::printf("longest gap %.1f ms%s, deeds %zu of %zu\n", longest,
                isLong ? ", ABOVE THE AIM of 50 ms" : "", m_next, m_deeds.size());
    for (const Gap& gap : m_gaps)
        std::printf("  %6.1f ms, %6.1f of it worked, at %lld ms, %s\n", gap.ms, gap.workedMs,
                    static_cast<long long>(gap.at), qPrintable(gap.during));
    std::fflush(stdout);
    QCoreApplication::exit(m_isSlow || isLong ? 1 : 0);
}

} // namespace Fluency
