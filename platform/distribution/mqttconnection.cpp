#include <distribution/mqttconnection.h>

#include <distribution/mqttworker.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace distribution {

namespace {
constexpr std::size_t kTakenAtOnce = 1U << 20U;
}

MqttConnection::MqttConnection(const MqttOptions& options, const Will& will, const Bytes& clientId,
                               std::function<void()> notify)
    : m_shared(std::make_shared<Shared>()), m_maximumOutboxBytes(options.maximumOutboxBytes)
{
    m_shared->notify = std::move(notify);
    std::thread([shared = m_shared, options, will, clientId] {
        Worker(shared, options, will, clientId).Run();
    }).detach();
}

MqttConnection::~MqttConnection()
{
    const std::lock_guard<std::mutex> lock(m_shared->mutex);
    m_shared->notify = nullptr;
    m_shared->isAbandoned = m_shared->isAbandoned || !m_shared->isLeaving;
    m_shared->wake();
}

bool MqttConnection::Publish(Publication publication)
{
    return order({Command::Publish, std::move(publication)});
}

bool MqttConnection::Subscribe(const Bytes& filter)
{
    return order({Command::Subscribe, {filter, {}}});
}

bool MqttConnection::Unsubscribe(const Bytes& filter)
{
    return order({Command::Unsubscribe, {filter, {}}});
}

bool MqttConnection::order(Order order)
{
    const std::size_t size = SizeOf(order.publication.topic, order.publication.payload);
    std::unique_lock<std::mutex> lock(m_shared->mutex);
    if (m_shared->isOver || m_shared->isLeaving)
        return true;
    if (m_shared->outstanding > 0 && m_shared->outstanding + size > m_maximumOutboxBytes)
        return false;
    m_shared->outstanding += size;
    const bool wasEmpty = m_shared->outbox.empty();
    m_shared->outbox.push_back(std::move(order));
    lock.unlock();
    if (wasEmpty)
        m_shared->wake();
    return true;
}

void MqttConnection::Leave()
{
    const std::lock_guard<std::mutex> lock(m_shared->mutex);
    // One that is not up yet may hang in the network, and has nothing to say.
    (m_shared->isUp ? m_shared->isLeaving : m_shared->isAbandoned) = true;
    m_shared->notify = nullptr;
    m_shared->wake();
}

bool MqttConnection::WaitForEnd(int milliseconds)
{
    std::unique_lock<std::mutex> lock(m_shared->mutex);
    return m_shared->hasEnded.wait_for(lock, std::chrono::milliseconds(milliseconds),
                                       [this] { return m_shared->isOver || m_shared->isAbandoned; });
}

void MqttConnection::Take(std::deque<Event>& events)
{
    const std::lock_guard<std::mutex> lock(m_shared->mutex);
    std::deque<Event>& inbox = m_shared->inbox;
    for (std::size_t taken = 0; !inbox.empty() && taken < kTakenAtOnce; inbox.pop_front()) {
        const std::size_t size = SizeOf(inbox.front().topic, inbox.front().payload);
        taken += size;
        m_shared->inboxBytes -= size;
        events.push_back(std::move(inbox.front()));
    }
    if (std::exchange(m_shared->isPaused, false))
        m_shared->wake();
}

} // namespace distribution
