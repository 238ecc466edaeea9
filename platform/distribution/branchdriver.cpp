#include <distribution/branchdriver.h>

#include <distribution/defaults.h>

#include <QMetaObject>

#include <utility>

namespace distribution {

StatePacker::StatePacker()
{
    m_thread.setMaxThreadCount(1);
}

StatePacker::~StatePacker()
{
    m_thread.waitForDone();
}

void StatePacker::Pack(StateCut cut, std::function<void(const Publications&)> done)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_due.push_back({std::move(cut), std::move(done), {}});
    }
    m_thread.start([this] { packNext(); });
}

/// On the other thread.
void StatePacker::packNext()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    Job job = std::move(m_due.front());
    m_due.pop_front();
    lock.unlock();
    job.packed = distribution::Pack(job.cut);
    lock.lock();
    m_packed.push_back(std::move(job));
    lock.unlock();
    QMetaObject::invokeMethod(
        &m_context, [this] { tellNext(); }, Qt::QueuedConnection);
}

void StatePacker::tellNext()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const Job job = std::move(m_packed.front());
    m_packed.pop_front();
    lock.unlock();
    job.done(job.packed);
}

BranchDriver::BranchDriver(ICarrier& carrier, StatePacker& packer, std::function<Output(qint64 nowMs)> onTime)
    : m_carrier(carrier), m_packer(packer), m_onTime(std::move(onTime)), m_clock(carrier.GetClock())
{
}

void BranchDriver::Wake()
{
    m_isWoken = true;
    m_wakeAtMs = 0;
    if (!m_isBusy)
        schedule();
}

void BranchDriver::callTime()
{
    m_isWoken = false;
    Do(m_onTime);
}

/// Whether the message may wait, which is counted then.
bool BranchDriver::hasRoom(const Topic& topic, const Bytes& payload)
{
    const bool comesAgain =
        topic.kind == TopicKind::Log || topic.kind == TopicKind::State || topic.kind == TopicKind::Up;
    if (comesAgain && m_waitingBytes + payload.size() > Defaults::kQueueBytes)
        return false;
    m_waitingBytes += payload.size();
    return true;
}

void BranchDriver::Stop()
{
    m_isWoken = false;
    m_wakeAtMs = kNever;
    m_waiting.clear();
    m_waitingBytes = 0;
    m_alarm.reset();
}

void BranchDriver::run(const Step& first)
{
    m_isBusy = true;
    perform(first(m_clock.now()));
    while (!m_waiting.empty()) {
        const Step next = std::move(m_waiting.front());
        m_waiting.pop_front();
        perform(next(m_clock.now()));
    }
    m_isBusy = false;
    schedule();
}

void BranchDriver::perform(Output output)
{
    for (const Bytes& filter : output.subscribe)
        m_carrier.Subscribe(filter);
    for (const Bytes& filter : output.unsubscribe)
        m_carrier.Unsubscribe(filter);
    for (Publication& publication : output.publish)
        publish(std::move(publication));
    for (StateCut& cut : output.states) {
        m_packer.Pack(std::move(cut), [self = values::Weak<BranchDriver>(this)](const auto& publications) {
            for (const Publication& publication : publications) {
                if (self)
                    self.Get()->m_carrier.Publish(publication);
            }
        });
    }
    // What was changed since time was called, by observers in this step too, is looked at when it is called
    // again.
    m_wakeAtMs = m_isWoken ? 0 : output.wakeAtMs;
}

void BranchDriver::publish(Publication publication)
{
    if (m_carrier.IsReplay())
        return;
    if (m_watch)
        m_watch(publication.payload, m_clock.now());
    m_sent.Count(publication.payload);
    m_carrier.Publish(std::move(publication));
}

void BranchDriver::schedule()
{
    if (m_wakeAtMs == kNever) {
        m_alarm.reset();
        return;
    }
    if (m_wakeAtMs > m_clock.now()) {
        setAlarm();
        return;
    }
    // Behind the inputs that are here already, but without a turn around all timers and sockets.
    m_alarm.reset();
    if (std::exchange(m_isCalled, true))
        return;
    QMetaObject::invokeMethod(
        &m_context,
        [this] {
            m_isCalled = false;
            if (m_wakeAtMs <= m_clock.now())
                callTime();
        },
        Qt::QueuedConnection);
}

/// Nearly every input moves the time of the next call on: an alarm that rings too early is set anew then.
void BranchDriver::setAlarm()
{
    if (m_alarm && m_alarmMs <= m_wakeAtMs)
        return;
    m_alarmMs = m_wakeAtMs;
    m_alarm = m_clock.ringAt(m_alarmMs, [this] {
        m_alarm.reset();
        if (m_isBusy || m_wakeAtMs <= m_clock.now())
            callTime();
        else
            schedule();
    });
}

} // namespace distribution
