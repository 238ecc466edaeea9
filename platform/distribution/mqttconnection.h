#pragma once

#include <distribution/carrier.h>
#include <distribution/export.h>
#include <distribution/mqttoptions.h>

#include <QString>

#include <deque>
#include <functional>
#include <memory>

namespace distribution {

/// One connection to the broker, from the first attempt to its end, on a thread of its own. What is called
/// here never blocks; what happens there is taken here as events.
class KOLTA_DISTRIBUTION_EXPORT MqttConnection
{
public:
    struct Event
    {
        enum class Kind { Up, Down, Message, Refused };
        Kind kind;
        Bytes topic;
        Bytes payload;
        std::size_t maximumPayload = 0; ///< Up
        DownReason reason{};            ///< Down: the last event
        QString text;                   ///< Down, Refused
    };

    /// Begins to connect. `notify` is called on the connection's thread when there are events to take and
    /// none were before; never after the destructor.
    MqttConnection(const MqttOptions& options, const Will& will, const Bytes& clientId,
                   std::function<void()> notify);
    /// Lets go of the connection at once; the broker publishes the will. A thread that hangs in the network
    /// ends by itself later.
    ~MqttConnection();

    /// False when nothing more can be sent because too much waits; so with the next two.
    bool Publish(Publication publication);
    bool Subscribe(const Bytes& filter);
    bool Unsubscribe(const Bytes& filter);
    /// Sends what was published, takes leave of the broker and ends, without a further event.
    void Leave();
    /// Waits until the connection has taken leave; false when it has not within so long.
    bool WaitForEnd(int milliseconds);

    /// Appends the oldest events that have come, about a mebibyte of them. They count as handed on then.
    void Take(std::deque<Event>& events);

    MqttConnection(const MqttConnection&) = delete;
    MqttConnection& operator=(const MqttConnection&) = delete;

private:
    struct Order;
    struct Shared;
    class Worker;
    bool order(Order order);

    const std::shared_ptr<Shared> m_shared; ///< also the thread's
    const std::size_t m_maximumOutboxBytes;
};

} // namespace distribution
