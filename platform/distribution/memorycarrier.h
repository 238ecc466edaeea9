#pragma once

#include <distribution/carrier.h>
#include <distribution/export.h>

#include <memory>

namespace distribution {

class MemoryCarrier;

/// A broker within the process, for tests and for programs that play several processes at once. It has no
/// clock and no thread: Advance() moves its time and delivers what is due. Deliveries to one subscriber keep
/// the order of one publisher and topic and, with delays, no other. Given one seed it does the same every
/// time.
class KOLTA_DISTRIBUTION_EXPORT MemoryBroker
{
public:
    explicit MemoryBroker(quint64 seed = 1);
    ~MemoryBroker();

    /// What the broker does to messages. Loss hits only what is published AtMostOnce unless `loseAny`.
    struct Weather
    {
        qint64 maximumDelayMs = 0;
        int lossPercent = 0;
        int duplicatePercent = 0;
        bool loseAny = false;
    };
    void SetWeather(const Weather& weather);

    /// Moves time to `nowMs` and delivers, connects and reports what is due by then.
    void Advance(qint64 nowMs);
    /// When there is something to do next; kNever (see output.h) when nothing.
    qint64 NextEventMs() const;

    /// Ends all connections at once, without wills, and forgets what was on its way; retained messages stay
    /// only with `keepRetained`. Clients come back by themselves `awayMs` later.
    void Restart(bool keepRetained, qint64 awayMs);
    /// Cuts one client's line; the broker publishes its will `willDelayMs` later and the client comes back by
    /// itself `awayMs` later.
    void Cut(MemoryCarrier& carrier, qint64 awayMs, qint64 willDelayMs = 0);
    std::size_t GetRetainedCount() const;

    MemoryBroker(const MemoryBroker&) = delete;
    MemoryBroker& operator=(const MemoryBroker&) = delete;

private:
    friend class MemoryCarrier;
    struct Private;
    std::unique_ptr<Private> d;
};

/// A client of a MemoryBroker. Destroying it without Close() is a crash: the will is published. The broker
/// outlives it.
class KOLTA_DISTRIBUTION_EXPORT MemoryCarrier final : public ICarrier
{
public:
    /// Payloads of more than `maximumPayload` bytes are thrown away.
    explicit MemoryCarrier(MemoryBroker& broker, std::size_t maximumPayload = kLargestPayload);
    ~MemoryCarrier() override;

    void Open(const Will& will, const Bytes& clientId) override;
    void Close() override;
    void Publish(Publication publication) override;
    void Subscribe(const Bytes& filter) override;
    void Unsubscribe(const Bytes& filter) override;

private:
    friend class MemoryBroker;
    MemoryBroker& m_broker;
    int m_client; ///< number at the broker
};

} // namespace distribution
