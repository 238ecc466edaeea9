#include <startup/clock.h>

#include <startup/tracesource.h>

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <map>
#include <utility>

#ifdef Q_OS_LINUX
#include <ctime>
#endif

namespace Startup {

namespace {

/// A timer stands still while the machine sleeps; looking at the clock this often bounds how late it rings.
constexpr qint64 kLongestSleepMs = 60000;

/// Numbers of the trace points.
enum eTracePoint : int { eAlarmException = 100 };
constexpr TraceSource kTrace("platform/startup/clock", eTraceError);

class TimerAlarm : public Alarm
{
public:
    TimerAlarm(const Clock& clock, qint64 time, Clock::Function function,
               void (*call)(const Clock::Function&))
        : m_clock(clock), m_time(time), m_function(std::move(function)), m_call(call)
    {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
        sleep();
    }

private:
    void sleep()
    {
        m_timer.start(static_cast<int>(qBound(qint64(0), m_time - m_clock.now(), kLongestSleepMs)));
    }
    void look()
    {
        if (m_clock.now() < m_time)
            return sleep();
        const Clock::Function function = std::move(m_function); // this may be gone in the middle of it
        m_call(function);
    }

    const Clock& m_clock;
    const qint64 m_time;
    Clock::Function m_function;
    void (*const m_call)(const Clock::Function&);
    QTimer m_timer;
};

class MachineClock : public Clock
{
public:
    qint64 now() const override
    {
#ifdef Q_OS_LINUX
        timespec time{};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return qint64(time.tv_sec) * 1000 + time.tv_nsec / 1000000;
#else
        QElapsedTimer timer;
        timer.start();
        return timer.msecsSinceReference();
#endif
    }
    ptrAlarm ringAt(qint64 time, Function function) override
    {
        return std::make_unique<TimerAlarm>(*this, time, std::move(function), &Clock::ring);
    }
};

std::atomic<Clock*>& current()
{
    static std::atomic<Clock*> clock{&Clock::machine()};
    return clock;
}

} // namespace

Alarm::~Alarm() = default;

Clock::~Clock() = default;

Clock& Clock::instance()
{
    return *current().load();
}

void Clock::ring(const Function& function) noexcept
{
    try {
        function();
    } catch (...) {
        kTrace(eAlarmException, QStringLiteral("caught exception from an alarm: ") +
                                    CurrentExceptionText(QStringLiteral("unknown")));
    }
}

Clock& Clock::machine()
{
    static MachineClock clock;
    return clock;
}

Clock::Replacement::Replacement(Clock& clock) : m_before(current().exchange(&clock)) {}

Clock::Replacement::~Replacement()
{
    current().store(m_before);
}

/// The alarms by time; of one time, in the order in which they were asked for.
struct ManualClock::Book
{
    std::multimap<qint64, std::pair<Entry*, Function>> alarms;
};

class ManualClock::Entry : public Alarm
{
public:
    explicit Entry(std::shared_ptr<Book> book) : m_book(std::move(book)) {}
    ~Entry() override
    {
        auto& alarms = m_book->alarms;
        const auto mine = std::find_if(alarms.begin(), alarms.end(),
                                       [this](const auto& alarm) { return alarm.second.first == this; });
        if (mine != alarms.end())
            alarms.erase(mine);
    }

private:
    std::shared_ptr<Book> m_book;
};

ManualClock::ManualClock() : m_book(std::make_shared<Book>()) {}

ManualClock::~ManualClock() = default;

ptrAlarm ManualClock::ringAt(qint64 time, Function function)
{
    auto entry = std::make_unique<Entry>(m_book);
    m_book->alarms.emplace(time, std::make_pair(entry.get(), std::move(function)));
    return entry;
}

void ManualClock::advance(qint64 milliseconds)
{
    const qint64 end = m_now + milliseconds;
    auto& alarms = m_book->alarms;
    while (!alarms.empty() && alarms.begin()->first <= end) {
        m_now = std::max(m_now, alarms.begin()->first);
        const Function function = std::move(alarms.begin()->second.second);
        alarms.erase(alarms.begin());
        ring(function);
    }
    m_now = std::max(m_now, end);
}

qint64 ManualClock::nextAlarmIn() const
{
    const auto& alarms = m_book->alarms;
    return alarms.empty() ? -1 : std::max(qint64(0), alarms.begin()->first - m_now);
}

} // namespace Startup
