#pragma once

#include <startup/export.h>

#include <QtGlobal>

#include <functional>
#include <memory>

namespace Startup {

/// Something that is due at a time; destroying it calls it off.
class KOLTA_STARTUP_EXPORT Alarm
{
public:
    Alarm() = default;
    virtual ~Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;
};

using ptrAlarm = std::unique_ptr<Alarm>;

/// The time that limits and pauses are measured with. It never goes back and goes on while the machine
/// sleeps; it says nothing about the time of day.
///
/// now() may be called from any thread. An alarm belongs to the thread that asked for it, which needs an
/// event loop.
class KOLTA_STARTUP_EXPORT Clock
{
public:
    using Function = std::function<void()>;

    virtual ~Clock();
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    /// The clock of this process: that of the machine, unless a Replacement lives.
    static Clock& instance();
    /// That of the machine in any case, for what talks to other processes.
    static Clock& machine();

    /// Milliseconds since some moment that stays the same.
    virtual qint64 now() const = 0;
    /// Calls `function` once, from the event loop, as soon as now() has reached `time`; at the next
    /// opportunity when it has already. The function may destroy the alarm, and what it throws is traced.
    virtual ptrAlarm ringAt(qint64 time, Function function) = 0;

    /// Puts another clock in the place of the present one for as long as it lives. Alarms stay with the clock
    /// that they were asked of. `clock` is not owned; replacements end in the opposite order.
    class Replacement
    {
    public:
        explicit Replacement(Clock& clock);
        ~Replacement();
        Replacement(const Replacement&) = delete;
        Replacement& operator=(const Replacement&) = delete;

    private:
        Clock* const m_before;
    };

protected:
    Clock() = default;
    /// Calls an alarm's function; for those who implement ringAt().
    static void ring(const Function& function) noexcept;
};

/// A clock that stands still unless it is told to go on: time as an input of a test. One thread.
class KOLTA_STARTUP_EXPORT ManualClock : public Clock
{
public:
    ManualClock();
    ~ManualClock() override;

    qint64 now() const override { return m_now; }
    /// Here the function is called by advance() alone.
    ptrAlarm ringAt(qint64 time, Function function) override;
    /// Lets time pass and rings what falls due in its order, each at its own time, also what is asked for
    /// meanwhile.
    void advance(qint64 milliseconds);
    /// Milliseconds until the next alarm; -1 when none is set.
    qint64 nextAlarmIn() const;

private:
    class Entry;
    struct Book;
    qint64 m_now = 0;
    std::shared_ptr<Book> m_book; ///< alarms may outlive the clock
};

} // namespace Startup
