#pragma once

#include <distribution/export.h>

#include <QString>
#include <QtGlobal>

#include <cstddef>
#include <functional>
#include <string>

namespace Startup {
class Clock;
}

namespace distribution {

/// Bytes of a topic or of a message.
using Bytes = std::string;

/// No process takes larger ones, so none is published.
constexpr std::size_t kLargestPayload = 64U << 20U;

/// What a carrier promises for one message while the connection lasts. Nothing is promised beyond it:
/// numbers, beats and repeated wishes make up for what a lost connection took along.
enum class Delivery { AtMostOnce, AtLeastOnce };

/// One message to be published.
struct Publication
{
    Bytes topic;
    Bytes payload; ///< empty and retained: takes the retained message of the topic away
    Delivery delivery = Delivery::AtLeastOnce;
    bool retained = false;
    quint32 expiryMs = 0; ///< the broker drops it when it could not deliver it within so long; 0: never
};

/// What the broker publishes, retained, when the connection ends without Close(). Without topic there is
/// none.
struct Will
{
    Bytes topic;
    Bytes payload;
};

/// Why a connection is down.
enum class DownReason {
    Lost,     ///< the line is gone; the carrier tries again by itself
    Refused,  ///< the broker does not want this client; tried again, but seldom
    Displaced ///< another client has taken this one's identifier; not tried again
};

/// A connection to the broker. All calls and events are on the thread that owns the carrier; no call blocks,
/// and no event comes from within a call. Messages of one publisher and topic arrive in their order; some may
/// be lost or come twice. Messages that were published but not sent when the line breaks are thrown away.
class KOLTA_DISTRIBUTION_EXPORT ICarrier
{
public:
    virtual ~ICarrier();

    /// Connects, and again after every loss, until Close(). An empty `clientId` means a random one.
    virtual void Open(const Will& will, const Bytes& clientId) = 0;
    /// Sends what was published and ends the connection without its will. No event comes afterwards.
    virtual void Close() = 0;
    /// Does nothing while the connection is down. The same holds for the next two, so that everything is
    /// subscribed anew when it is up.
    virtual void Publish(Publication publication) = 0;
    /// `filter` is a topic whose levels may be "+" and whose last one may be "#". The retained messages that
    /// match come again with every call.
    virtual void Subscribe(const Bytes& filter) = 0;
    virtual void Unsubscribe(const Bytes& filter) = 0;
    /// The time in which the messages come: whoever waits for them, or takes their absence for a sign, waits
    /// by it. The machine's, unless the carrier plays another one. It lives as long as the carrier.
    virtual Startup::Clock& GetClock() const;
    /// Milliseconds until a connection that is down is tried again; -1 while none is planned.
    virtual int GetNextTryMs() const { return -1; }
    /// The messages are those of a recording: what is published reaches nobody.
    virtual bool IsReplay() const { return false; }

    /// The connection is up; a larger payload than `maximumPayload` bytes is not taken by the broker.
    std::function<void(std::size_t maximumPayload)> onUp;
    /// It is down; `text` says why in one line.
    std::function<void(DownReason reason, const QString& text)> onDown;
    std::function<void(const Bytes& topic, const Bytes& payload)> onMessage;
    /// The broker has refused a subscription or a publication for lack of rights.
    std::function<void(const Bytes& topic, const QString& text)> onRefused;

    ICarrier(const ICarrier&) = delete;
    ICarrier& operator=(const ICarrier&) = delete;

protected:
    ICarrier();
};

} // namespace distribution
