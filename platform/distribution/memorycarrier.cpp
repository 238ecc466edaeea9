#include <distribution/memorycarrier.h>

#include <distribution/output.h>
#include <distribution/topics.h>

#include <algorithm>
#include <map>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

namespace distribution {

struct MemoryBroker::Private
{
    /// A client by its number. What was scheduled for an earlier connection of it is void.
    struct Client
    {
        MemoryCarrier* carrier = nullptr;
        std::size_t maximumPayload = 0;
        Will will;
        Bytes id;
        std::vector<Bytes> filters;
        int connection = 0;
        bool open = false;
        bool up = false;
    };
    struct Message
    {
        Bytes topic;
        Bytes payload;
    };
    using Shared = std::shared_ptr<const Message>;
    /// Publisher 0 is the broker with its retained messages.
    using Way = std::tuple<int, int, Bytes>; ///< publisher, subscriber, topic

    std::mt19937_64 random;
    Weather weather;
    qint64 now = 0;
    qint64 backAt = 0; ///< nobody connects before
    quint64 scheduled = 0;
    int lastClient = 0;
    std::map<int, Client> clients;
    std::map<Bytes, Shared> retained;
    std::map<std::pair<qint64, quint64>, std::function<void()>> events;
    std::map<Way, qint64> arrivals; ///< of the last message on each way

    bool happens(int percent) { return percent > 0 && random() % 100 < static_cast<quint64>(percent); }
    qint64 delay()
    {
        const auto most = static_cast<quint64>(weather.maximumDelayMs);
        return most == 0 ? 0 : static_cast<qint64>(random() % (most + 1));
    }
    void schedule(qint64 at, std::function<void()> event) { events[{at, ++scheduled}] = std::move(event); }

    /// Runs `call` on the client unless it is gone or its connection is another one by then.
    template<class Call>
    void scheduleFor(int number, qint64 at, Call call)
    {
        const int connection = clients.at(number).connection;
        schedule(at, [this, number, connection, call] {
            const auto found = clients.find(number);
            if (found != clients.end() && found->second.connection == connection)
                call(found->second);
        });
    }

    void connect(int number, qint64 at)
    {
        scheduleFor(number, std::max(at, backAt) + delay(), [this, number](Client& client) {
            for (auto& [other, holder] : clients) {
                if (!client.id.empty() && other != number && holder.up && holder.id == client.id)
                    takeDown(other, DownReason::Displaced, 0);
            }
            client.up = true;
            if (client.carrier->onUp)
                client.carrier->onUp(client.maximumPayload);
        });
    }
    void takeDown(int number, DownReason reason, qint64 willDelayMs)
    {
        Client& client = clients.at(number);
        const bool wasUp = std::exchange(client.up, false);
        ++client.connection;
        client.filters.clear();
        if (!wasUp)
            return;
        scheduleFor(number, now, [reason](Client& down) {
            if (down.carrier->onDown)
                down.carrier->onDown(reason, QStringLiteral("the line was cut"));
        });
        if (willDelayMs >= 0)
            publishWill(number, client.will, willDelayMs);
    }
    void publishWill(int number, const Will& will, qint64 delayMs)
    {
        if (will.topic.empty())
            return;
        schedule(now + delayMs, [this, number, will] {
            publish(number, {will.topic, will.payload, Delivery::AtLeastOnce, true, 0});
        });
    }

    void publish(int publisher, Publication publication)
    {
        const auto message = std::make_shared<const Message>(
            Message{std::move(publication.topic), std::move(publication.payload)});
        if (publication.retained && message->payload.empty())
            retained.erase(message->topic);
        else if (publication.retained)
            retained[message->topic] = message;
        const bool mayBeLost = weather.loseAny || publication.delivery == Delivery::AtMostOnce;
        for (auto& [number, client] : clients) {
            if (!client.up || !isWanted(client, message->topic) ||
                (mayBeLost && happens(weather.lossPercent)))
                continue;
            const qint64 expiry = publication.expiryMs == 0 ? kNever : now + publication.expiryMs;
            deliver(publisher, number, message, expiry);
        }
    }
    static bool isWanted(const Client& client, const Bytes& topic)
    {
        return std::any_of(client.filters.begin(), client.filters.end(),
                           [&topic](const Bytes& filter) { return MatchesFilter(filter, topic); });
    }
    void deliver(int publisher, int subscriber, const Shared& message, qint64 expiry)
    {
        qint64& last = arrivals[{publisher, subscriber, message->topic}];
        last = std::max(last, now + delay());
        const auto hand = [message](Client& client) {
            if (client.carrier->onMessage)
                client.carrier->onMessage(message->topic, message->payload);
        };
        if (last <= expiry)
            scheduleFor(subscriber, last, hand);
        if (happens(weather.duplicatePercent))
            scheduleFor(subscriber, last + delay(), hand);
    }
};

MemoryBroker::MemoryBroker(quint64 seed) : d(std::make_unique<Private>())
{
    d->random.seed(seed);
}

MemoryBroker::~MemoryBroker() = default;

void MemoryBroker::SetWeather(const Weather& weather)
{
    d->weather = weather;
}

void MemoryBroker::Advance(qint64 nowMs)
{
    while (!d->events.empty() && d->events.begin()->first.first <= nowMs) {
        const auto next = d->events.begin();
        d->now = std::max(d->now, next->first.first);
        const auto event = std::move(next->second);
        d->events.erase(next);
        event();
    }
    d->now = std::max(d->now, nowMs);
}

qint64 MemoryBroker::NextEventMs() const
{
    return d->events.empty() ? kNever : d->events.begin()->first.first;
}

void MemoryBroker::Restart(bool keepRetained, qint64 awayMs)
{
    if (!keepRetained)
        d->retained.clear();
    d->backAt = d->now + awayMs;
    for (const auto& [number, client] : d->clients) {
        if (!client.open)
            continue;
        d->takeDown(number, DownReason::Lost, -1);
        d->connect(number, d->backAt);
    }
}

void MemoryBroker::Cut(MemoryCarrier& carrier, qint64 awayMs, qint64 willDelayMs)
{
    d->takeDown(carrier.m_client, DownReason::Lost, willDelayMs);
    d->connect(carrier.m_client, d->now + awayMs);
}

std::size_t MemoryBroker::GetRetainedCount() const
{
    return d->retained.size();
}

MemoryCarrier::MemoryCarrier(MemoryBroker& broker, std::size_t maximumPayload)
    : m_broker(broker), m_client(++broker.d->lastClient)
{
    auto& client = broker.d->clients[m_client];
    client.carrier = this;
    client.maximumPayload = maximumPayload;
}

MemoryCarrier::~MemoryCarrier()
{
    auto& broker = *m_broker.d;
    const auto found = broker.clients.find(m_client);
    if (found->second.up)
        broker.publishWill(m_client, found->second.will, 0);
    broker.clients.erase(found);
}

void MemoryCarrier::Open(const Will& will, const Bytes& clientId)
{
    auto& client = m_broker.d->clients.at(m_client);
    client.will = will;
    client.id = clientId;
    client.open = true;
    ++client.connection;
    m_broker.d->connect(m_client, m_broker.d->now);
}

void MemoryCarrier::Close()
{
    auto& client = m_broker.d->clients.at(m_client);
    client.open = client.up = false;
    client.filters.clear();
    ++client.connection;
}

void MemoryCarrier::Publish(Publication publication)
{
    const auto& client = m_broker.d->clients.at(m_client);
    if (client.up && publication.payload.size() <= client.maximumPayload)
        m_broker.d->publish(m_client, std::move(publication));
}

void MemoryCarrier::Subscribe(const Bytes& filter)
{
    auto& broker = *m_broker.d;
    auto& client = broker.clients.at(m_client);
    if (!client.up)
        return;
    client.filters.push_back(filter);
    for (const auto& [topic, message] : broker.retained) {
        if (MatchesFilter(filter, topic))
            broker.deliver(0, m_client, message, kNever);
    }
}

void MemoryCarrier::Unsubscribe(const Bytes& filter)
{
    auto& filters = m_broker.d->clients.at(m_client).filters;
    filters.erase(std::remove(filters.begin(), filters.end(), filter), filters.end());
}

} // namespace distribution
