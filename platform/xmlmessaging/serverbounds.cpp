#include "serverbounds.h"

#include <algorithm>

namespace XmlCommunication {

namespace {

using Milliseconds = std::chrono::milliseconds;

bool exceeds(qint64 value, qint64 limit)
{
    return limit > 0 && value > limit;
}

QString seconds(Milliseconds time)
{
    return QStringLiteral("%1 s").arg(static_cast<double>(time.count()) / 1000);
}

} // namespace

bool ServerBounds::admits(const QHostAddress& address)
{
    const auto same = std::count_if(m_links.begin(), m_links.end(),
                                    [&](const LinkBounds* link) { return link->m_address == address; });
    const auto all = static_cast<qint64>(m_links.size());
    const bool tooMany = exceeds(all + 1, m_limits.maxLinks);
    if (!tooMany && !exceeds(same + 1, m_limits.maxLinksPerAddress))
        return true;
    m_refusals.tell(
        RefusalLog::eTooManyLinks,
        tooMany
            ? QStringLiteral("%1: refused, %2 links are open").arg(address.toString()).arg(all)
            : QStringLiteral("%1: refused, %2 links from there are open").arg(address.toString()).arg(same));
    return false;
}

void ServerBounds::check(Clock::time_point now)
{
    // Whoever is told of an end may destroy further links.
    const std::vector<LinkBounds*> links = m_links;
    for (LinkBounds* link : links) {
        if (std::find(m_links.begin(), m_links.end(), link) == m_links.end())
            continue;
        const LinkBounds::Verdict verdict = link->verdict(now);
        if (!verdict.text.isEmpty())
            link->refuse(verdict.cause, verdict.text);
    }
    m_refusals.flush(now);
}

Milliseconds ServerBounds::interval() const
{
    Milliseconds shortest{4000};
    for (const Milliseconds time : {m_limits.stallTime, m_limits.handshakeTime, m_limits.firstMessageTime,
                                    m_limits.messageTime, m_limits.idleTime}) {
        if (time.count() > 0)
            shortest = std::min(shortest, time);
    }
    return std::max(shortest / 4, Milliseconds(10));
}

/// Ends links until the sums are within their limits.
void ServerBounds::shed()
{
    for (;;) {
        const bool unsent = exceeds(m_unsent, m_limits.maxUnsentBytesOfAll);
        if (!unsent && !exceeds(m_unfinished, m_limits.maxUnfinishedBytesOfAll))
            return;
        LinkBounds* const link = unsent ? heaviest(&LinkBounds::m_unsent, &LinkBounds::m_unsentSince)
                                        : heaviest(&LinkBounds::m_unfinished, &LinkBounds::m_unfinishedSince);
        if (!link)
            return;
        link->refuse(
            RefusalLog::eTooManyBytes,
            unsent
                ? QStringLiteral("%1 bytes wait for this peer, %2 for all").arg(link->m_unsent).arg(m_unsent)
                : QStringLiteral("%1 bytes of an unfinished message, %2 of all")
                      .arg(link->m_unfinished)
                      .arg(m_unfinished));
    }
}

/// Of the links that hold a good part of an equal share the one that has been stuck longest: a peer that is
/// slow but works, or sends one large message, stays before those that pile up and do nothing, and one that
/// holds next to nothing is not worth its end.
LinkBounds* ServerBounds::heaviest(Bytes bytes, Since since) const
{
    qint64 sum = 0;
    qint64 holders = 0;
    for (const LinkBounds* link : m_links) {
        sum += link->*bytes;
        holders += link->*bytes > 0 ? 1 : 0;
    }
    LinkBounds* found = nullptr;
    for (LinkBounds* link : m_links) {
        if (link->*bytes > 0 && link->*bytes * holders * 4 >= sum && (!found || link->*since < found->*since))
            found = link;
    }
    return found;
}

LinkBounds::LinkBounds(ServerBounds& server, const QHostAddress& address, const QString& name, End end)
    : m_server(server), m_address(address), m_name(name), m_end(std::move(end))
{
    m_opened = m_lastTraffic = Clock::now();
    m_server.m_links.push_back(this);
}

LinkBounds::~LinkBounds()
{
    m_server.m_unsent -= m_unsent;
    m_server.m_unfinished -= m_unfinished;
    auto& links = m_server.m_links;
    links.erase(std::remove(links.begin(), links.end(), this), links.end());
}

void LinkBounds::setUnsent(qint64 bytes, bool progress)
{
    if (progress || m_unsent == 0)
        m_unsentSince = m_lastTraffic = Clock::now();
    m_server.m_unsent += bytes - m_unsent;
    const bool grew = bytes > m_unsent;
    m_unsent = bytes;
    // Only once half of it has gone does reading go on, not after every few bytes.
    const qint64 limit = m_server.m_limits.maxUnsentBytes;
    m_clogged = limit > 0 && bytes > (m_clogged ? limit / 2 : limit);
    if (grew)
        m_server.shed();
}

void LinkBounds::setUnfinished(qint64 bytes)
{
    if (m_unfinished == 0)
        m_unfinishedSince = Clock::now();
    m_server.m_unfinished += bytes - m_unfinished;
    const bool grew = bytes > m_unfinished;
    m_unfinished = bytes;
    if (grew)
        m_server.shed();
}

void LinkBounds::setShakingHands(bool shaking)
{
    m_shakingHands = shaking;
    m_opened = m_lastTraffic = Clock::now();
}

void LinkBounds::noteMessage()
{
    m_anyMessage = true;
    m_lastTraffic = m_unfinishedSince = Clock::now();
}

void LinkBounds::setReading(bool reading)
{
    const Clock::time_point now = Clock::now();
    if (m_reading && !reading) {
        m_pausedAt = now;
    } else if (!m_reading && reading) {
        m_opened += now - m_pausedAt;
        m_unfinishedSince += now - m_pausedAt;
        m_lastTraffic = now;
    }
    m_reading = reading;
}

LinkBounds::Verdict LinkBounds::verdict(Clock::time_point now) const
{
    const ServerLimits& limits = m_server.m_limits;
    const auto over = [now](Milliseconds limit, Clock::time_point since) {
        return limit.count() > 0 && now - since > limit;
    };
    if (m_unsent > 0 && over(limits.stallTime, m_unsentSince))
        return {RefusalLog::eNoProgress, QStringLiteral("%1 bytes wait and none could be sent for %2")
                                             .arg(m_unsent)
                                             .arg(seconds(limits.stallTime))};
    if (m_shakingHands)
        return over(limits.handshakeTime, m_opened)
                   ? Verdict{RefusalLog::eHandshake,
                             QStringLiteral("TLS: no handshake within %1").arg(seconds(limits.handshakeTime))}
                   : Verdict();
    if (!m_reading)
        return {};
    if (m_unfinished > 0 && over(limits.messageTime, m_unfinishedSince))
        return {RefusalLog::eTooSlow, QStringLiteral("a message is not complete after %1, expected its end")
                                          .arg(seconds(limits.messageTime))};
    if (!m_anyMessage && over(limits.firstMessageTime, m_opened))
        return {RefusalLog::eTooSlow,
                QStringLiteral("no message within %1").arg(seconds(limits.firstMessageTime))};
    if (over(limits.idleTime, m_lastTraffic))
        return {RefusalLog::eTooSlow, QStringLiteral("idle for %1").arg(seconds(limits.idleTime))};
    return {};
}

void LinkBounds::refuse(RefusalLog::Cause cause, const QString& text)
{
    m_server.m_refusals.tell(cause, QStringLiteral("%1: %2").arg(m_name, text));
    // The link does not count any longer, even if its owner keeps the object.
    m_server.m_unsent -= std::exchange(m_unsent, 0);
    m_server.m_unfinished -= std::exchange(m_unfinished, 0);
    const End end = m_end;
    end(text);
}

} // namespace XmlCommunication
