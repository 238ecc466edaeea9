#pragma once

#include <distribution/mqttconnection.h>
#include <distribution/tlscontext.h>

#include <mosquitto.h>

#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

namespace distribution {

inline std::size_t SizeOf(const Bytes& topic, const Bytes& payload)
{
    return topic.size() + payload.size() + sizeof(Publication);
}

enum class Command { Publish, Subscribe, Unsubscribe };

struct MqttConnection::Order
{
    Command command;
    Publication publication; ///< or the filter, as its topic
};

/// What both threads use; everything under the lock but what never changes.
struct MqttConnection::Shared
{
    Shared() : wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~Shared() { ::close(wakeUp); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    void wake() const
    {
        const eventfd_t one = 1;
        eventfd_write(wakeUp, one);
    }
    void push(Event event)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const bool wasEmpty = inbox.empty();
        inboxBytes += SizeOf(event.topic, event.payload);
        inbox.push_back(std::move(event));
        if (wasEmpty && notify && !isLeaving)
            notify();
    }

    const int wakeUp;
    std::mutex mutex;
    std::condition_variable hasEnded;
    std::function<void()> notify; ///< empty once nobody wants events any more
    std::deque<Event> inbox;
    std::size_t inboxBytes = 0;
    std::deque<Order> outbox;
    std::size_t outstanding = 0; ///< bytes that wait here or in the library
    bool isPaused = false;       ///< nothing is read until events are taken
    bool isUp = false;
    bool isLeaving = false;
    bool isAbandoned = false;
    bool isOver = false;
};

/// A connection on its own thread.
class MqttConnection::Worker
{
public:
    Worker(std::shared_ptr<Shared> shared, MqttOptions options, Will will, Bytes clientId)
        : m_shared(std::move(shared))
        , m_options(std::move(options))
        , m_will(std::move(will))
        , m_clientId(std::move(clientId))
        , m_user(QString::fromUtf8(m_options.address.user))
    {
    }

    /// From the first attempt to the end of the connection.
    void Run();

private:
    using Clock = std::chrono::steady_clock;
    struct Freed
    {
        void operator()(mosquitto* handle) const { mosquitto_destroy(handle); }
    };
    using Handle = std::unique_ptr<mosquitto, Freed>;
    /// Why the connection has ended, or is refused.
    struct Verdict
    {
        DownReason reason;
        QString text;
    };
    static Verdict verdictOf(int code, const QString& user);

    bool fail(DownReason reason, const QString& text)
    {
        m_verdict = {reason, QStringLiteral("%1: %2").arg(m_options.address.ToText(), text)};
        return false;
    }
    bool fail(const Verdict& verdict) { return fail(verdict.reason, verdict.text); }

    bool connect();
    bool setUser();
    bool setTls();
    bool open();
    QString textOf(int code) const;

    void loop();
    bool waitForLine(bool& isReadable);
    void takeOrders();
    void carryOut(const Order& order);
    void account(int id, const Order& order);
    void settle(int id);
    bool isDone(Clock::time_point now);

    void onConnect(int code, const mosquitto_property* properties);
    void onDisconnect(int code);
    void onPublished(int id, int code);
    void onSubscribed(int id, int count, const int* granted);
    void onMessage(const mosquitto_message& message);

    const std::shared_ptr<Shared> m_shared;
    const MqttOptions m_options;
    const Will m_will;
    const Bytes m_clientId;
    const QString m_user;
    std::unique_ptr<TlsContext> m_tls;
    Handle m_handle;
    struct Waiting
    {
        Bytes topic;
        std::size_t bytes;
    };
    std::unordered_map<int, Waiting> m_waiting; ///< by packet identifier: not acknowledged
    int m_endedEarly = 0; ///< ended in the call that sent it, before it was entered here
    bool m_isUp = false;
    bool m_isDown = false;
    bool m_isLeaving = false;
    Clock::time_point m_leaveBy;
    Verdict m_verdict{DownReason::Lost, QString()};
};

} // namespace distribution
