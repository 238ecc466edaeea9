#pragma once

#include <distribution/carrier.h>
#include <distribution/output.h>
#include <distribution/topics.h>
#include <distribution/traffic.h>

#include <startup/clock.h>

#include <values/lifetime.h>

#include <QObject>
#include <QThreadPool>

#include <algorithm>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

namespace distribution {

/// Packs states on a thread of its own, one after the other.
class StatePacker
{
public:
    StatePacker();
    /// Waits for what is being packed.
    ~StatePacker();
    using Publications = std::vector<Publication>;
    /// `done` is called on the caller's thread, from its event loop.
    void Pack(StateCut cut, std::function<void(const Publications&)> done);

    StatePacker(const StatePacker&) = delete;
    StatePacker& operator=(const StatePacker&) = delete;

private:
    struct Job
    {
        StateCut cut;
        std::function<void(const Publications&)> done;
        Publications packed;
    };
    void packNext();
    void tellNext();

    QObject m_context;
    std::mutex m_mutex;
    std::deque<Job> m_due;    ///< under the mutex
    std::deque<Job> m_packed; ///< under the mutex
    QThreadPool m_thread;
};

/// Gives a branch's owner or mirror its inputs, one after the other, and does what comes out of them: an
/// input that comes while another is dealt with, because an observer runs an event loop, waits. Time is that
/// of the carrier. Needs an event loop on the tree's thread.
class BranchDriver
{
public:
    /// `onTime` is called when an output has asked for it, and after Wake().
    BranchDriver(ICarrier& carrier, StatePacker& packer, std::function<Output(qint64 nowMs)> onTime);

    /// Calls `input(arguments..., nowMs)`, which gives an Output, now or when its turn has come.
    template<class Input, class... Arguments>
    void Do(const Input& input, const Arguments&... arguments)
    {
        if (m_isBusy)
            m_waiting.push_back([=](qint64 nowMs) { return input(arguments..., nowMs); });
        else
            run([&](qint64 nowMs) { return input(arguments..., nowMs); });
    }
    /// Do() for a message. When too many wait, those are dropped that are asked for or sent again: what is
    /// missing in a log or a state, and wishes.
    template<class Input>
    void DoMessage(const Input& input, const Topic& topic, const Bytes& payload)
    {
        if (m_isBusy && !hasRoom(topic, payload))
            return;
        Do(
            [this, input](const Topic& parsed, const Bytes& content, qint64 nowMs) {
                m_waitingBytes -= std::min(m_waitingBytes, content.size());
                return input(parsed, content, nowMs);
            },
            topic, payload);
    }
    /// `watch` is called before each message leaves for somebody; null: nothing is.
    void Watch(std::function<void(const Bytes& payload, qint64 nowMs)> watch) { m_watch = std::move(watch); }
    /// What has left for somebody.
    const Traffic& GetSent() const noexcept { return m_sent; }
    /// The tree has changed: time is called once the turn of the event loop has ended.
    void Wake();
    /// Nothing waits any more and no time is called.
    void Stop();
    /// An input is dealt with, further up in the call stack.
    bool IsBusy() const noexcept { return m_isBusy; }

    /// For values::Weak.
    const values::Life& GetLife() const noexcept { return m_life; }

    BranchDriver(const BranchDriver&) = delete;
    BranchDriver& operator=(const BranchDriver&) = delete;

private:
    using Step = std::function<Output(qint64 nowMs)>;
    bool hasRoom(const Topic& topic, const Bytes& payload);
    void run(const Step& first);
    void perform(Output output);
    void publish(Publication publication);
    void schedule();
    void setAlarm();
    void callTime();

    ICarrier& m_carrier;
    StatePacker& m_packer;
    Step m_onTime;
    std::function<void(const Bytes& payload, qint64 nowMs)> m_watch;
    Traffic m_sent;
    std::deque<Step> m_waiting;
    std::size_t m_waitingBytes = 0; ///< of messages
    QObject m_context;
    Startup::Clock& m_clock;
    Startup::ptrAlarm m_alarm; ///< set for m_alarmMs, which is not later than m_wakeAtMs
    qint64 m_alarmMs = kNever;
    qint64 m_wakeAtMs = kNever;
    bool m_isBusy = false;
    bool m_isCalled = false; ///< time is called from the event loop
    bool m_isWoken = false;  ///< since time was called
    values::Life m_life;
};

} // namespace distribution
