#include <distribution/wishqueue.h>

#include <algorithm>
#include <utility>

namespace distribution {

namespace {

constexpr qint64 kResendMs = 1000;
/// Contents on their way at once, so that a resend does not flood the broker.
constexpr std::size_t kWindowBytes = 1U << 20U;

} // namespace

const OpenWish& WishQueue::Add(Changes changes, qint64 nowMs)
{
    OpenWish wish;
    wish.number = ++m_last;
    for (const Change& change : changes)
        wish.bytes += BoundOf(change);
    wish.changes = std::move(changes);
    wish.madeMs = nowMs;
    m_bytes += wish.bytes;
    m_mayHaveRoom = true;
    m_wishes.push_back(std::move(wish));
    return m_wishes.back();
}

std::deque<OpenWish> WishQueue::TakeUpTo(quint64 number)
{
    std::deque<OpenWish> taken;
    m_wasHeard = m_wasHeard || number > 0;
    while (!m_wishes.empty() && m_wishes.front().number <= number) {
        m_bytes -= m_wishes.front().bytes;
        taken.push_back(std::move(m_wishes.front()));
        m_wishes.pop_front();
        m_mayHaveRoom = true;
    }
    return taken;
}

std::deque<OpenWish> WishQueue::GiveUpAll()
{
    std::deque<OpenWish> given;
    const auto all = [](const OpenWish&) { return true; };
    while (auto wish = GiveUpNext(all))
        given.push_back(std::move(*wish));
    m_resendMs = 0;
    return given;
}

std::optional<OpenWish> WishQueue::GiveUpNext(const std::function<bool(const OpenWish&)>& isOver)
{
    const auto open =
        std::find_if(m_wishes.begin(), m_wishes.end(), [](const OpenWish& wish) { return !wish.givenUp; });
    if (open == m_wishes.end() || !isOver(*open))
        return std::nullopt;
    return giveUp(*open);
}

OpenWish WishQueue::giveUp(OpenWish& wish)
{
    OpenWish given = wish;
    wish.givenUp = true;
    wish.changes.clear();
    m_bytes -= std::exchange(wish.bytes, 0);
    // The owner cannot know a number that has never left.
    while (!m_wishes.empty() && m_wishes.back().givenUp && !m_wishes.back().sent) {
        m_wishes.pop_back();
        --m_last;
    }
    return given;
}

std::vector<DueWish> WishQueue::TakeDue(const QUuid& epoch, quint16 channel, qint64 timeoutMs, qint64 nowMs)
{
    std::vector<DueWish> due;
    if (nowMs < m_notBeforeMs)
        return due;
    const bool all = nowMs >= m_resendMs;
    m_mayHaveRoom = false;
    std::size_t bytes = 0;
    for (OpenWish& wish : m_wishes) {
        bytes += wish.bytes;
        const bool inWindow = wish.number < m_wishes.front().number + Limits::kOpenWishes &&
                              (bytes <= kWindowBytes || &wish == &m_wishes.front());
        if (!inWindow)
            break;
        if (!all && wish.number <= m_sentUpTo)
            continue;
        if (!std::exchange(wish.sent, true))
            wish.sentMs = nowMs;
        m_sentUpTo = std::max(m_sentUpTo, wish.number);
        // One that was given up is a mere number, which may come at any time.
        const qint64 leftMs = wish.givenUp ? timeoutMs : wish.madeMs + timeoutMs - nowMs;
        due.push_back(
            {{epoch, channel, wish.number, wish.changes}, static_cast<quint32>(std::max<qint64>(leftMs, 1))});
    }
    if (!due.empty())
        m_lastSentMs = nowMs;
    if (all || due.size() == m_wishes.size())
        m_resendMs = nowMs + kResendMs;
    return due;
}

qint64 WishQueue::NextSendMs() const
{
    if (m_wishes.empty())
        return kNever;
    const bool isWaiting = m_mayHaveRoom && m_wishes.back().number > m_sentUpTo;
    return std::max(m_notBeforeMs, isWaiting ? 0 : m_resendMs);
}

qint64 WishQueue::NextTimeoutMs(qint64 timeoutMs) const
{
    const auto open =
        std::find_if(m_wishes.begin(), m_wishes.end(), [](const OpenWish& wish) { return !wish.givenUp; });
    return open == m_wishes.end() ? kNever : open->madeMs + timeoutMs;
}

} // namespace distribution
