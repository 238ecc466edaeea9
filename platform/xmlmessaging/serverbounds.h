#pragma once

#include "refusallog.h"

#include <xmlmessaging/serverlimits.h>

#include <QHostAddress>
#include <QString>

#include <chrono>
#include <functional>
#include <vector>

namespace XmlCommunication {

class LinkBounds;

/// Keeps what the links of one server cost within its limits: counts their bytes, ends those whose time is
/// up, and those that hold most when all together hold too much. Lives on the server's thread.
class ServerBounds
{
public:
    using Clock = std::chrono::steady_clock;

    explicit ServerBounds(const ServerLimits& limits) : m_limits(limits) {}

    const ServerLimits& limits() const noexcept { return m_limits; }
    void setLimits(const ServerLimits& limits) { m_limits = limits; }
    RefusalLog& refusals() noexcept { return m_refusals; }

    /// Whether one more link may come from `address`. A refusal is told.
    bool admits(const QHostAddress& address);
    /// Ends the links whose time is up.
    void check(Clock::time_point now = Clock::now());
    /// How often check() is to be called.
    std::chrono::milliseconds interval() const;

private:
    friend class LinkBounds;
    using Bytes = qint64 LinkBounds::*;
    using Since = Clock::time_point LinkBounds::*;

    void shed();
    LinkBounds* heaviest(Bytes bytes, Since since) const;

    ServerLimits m_limits;
    RefusalLog m_refusals;
    std::vector<LinkBounds*> m_links;
    qint64 m_unsent = 0;
    qint64 m_unfinished = 0;
};

/// What one link costs its server, and since when it has owed something.
class LinkBounds
{
public:
    using Clock = ServerBounds::Clock;
    /// Ends the link; it may be destroyed by that.
    using End = std::function<void(const QString& reason)>;

    LinkBounds(ServerBounds& server, const QHostAddress& address, const QString& name, End end);
    ~LinkBounds();
    LinkBounds(const LinkBounds&) = delete;
    LinkBounds& operator=(const LinkBounds&) = delete;

    /// So many bytes wait for being sent. `progress`: some have just left. May end links, this one too.
    void setUnsent(qint64 bytes, bool progress);
    /// So many bytes of a message have come, and the rest not. May end links, this one too.
    void setUnfinished(qint64 bytes);
    /// The link's handshake begins, or has ended.
    void setShakingHands(bool shaking);
    /// A whole message has come.
    void noteMessage();
    /// While nothing is read from the peer, being late is not its fault.
    void setReading(bool reading);
    /// Whether so much waits for being sent that nothing more is to be read.
    bool isClogged() const noexcept { return m_clogged; }

private:
    friend class ServerBounds;
    struct Verdict
    {
        RefusalLog::Cause cause = RefusalLog::eTooSlow;
        QString text; ///< empty: all is well
    };
    Verdict verdict(Clock::time_point now) const;
    void refuse(RefusalLog::Cause cause, const QString& text);

    ServerBounds& m_server;
    const QHostAddress m_address;
    const QString m_name;
    const End m_end;
    qint64 m_unsent = 0;
    qint64 m_unfinished = 0;
    Clock::time_point m_unsentSince;     ///< the last progress
    Clock::time_point m_unfinishedSince; ///< the message's first byte
    Clock::time_point m_opened;
    Clock::time_point m_lastTraffic;
    Clock::time_point m_pausedAt;
    bool m_shakingHands = false;
    bool m_anyMessage = false;
    bool m_reading = true;
    bool m_clogged = false;
};

} // namespace XmlCommunication
