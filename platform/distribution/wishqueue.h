#pragma once

#include <distribution/output.h>

#include <deque>
#include <functional>

namespace distribution {

/// A change of the program that is on its way to the owner, with what belongs together.
struct OpenWish
{
    quint64 number = 0;
    Changes changes;
    std::size_t bytes = 0;
    qint64 madeMs = 0;
    bool sent = false;
    qint64 sentMs = 0; ///< for the first time
    /// The program was told that it has failed. The number is still needed: the owner either has executed it
    /// by now, or will take it without changes.
    bool givenUp = false;
};

struct DueWish
{
    WishMessage message;
    quint32 expiryMs = 0; ///< for the broker
};

/// The wishes of one channel in one epoch that the owner has not dealt with, oldest first.
class WishQueue
{
public:
    bool IsEmpty() const noexcept { return m_wishes.empty(); }
    const std::deque<OpenWish>& Wishes() const noexcept { return m_wishes; }
    /// Bytes of all contents that wait.
    std::size_t GetBytes() const noexcept { return m_bytes; }

    const OpenWish& Add(Changes changes, qint64 nowMs);
    /// The owner has dealt with all up to `number`; these.
    std::deque<OpenWish> TakeUpTo(quint64 number);
    /// All that have not been given up are, as by GiveUpNext(); these.
    std::deque<OpenWish> GiveUpAll();
    /// The next wish that has not been given up, which it is now if it is over: its contents are in the
    /// result alone. Nothing when there is none, or it is not over.
    std::optional<OpenWish> GiveUpNext(const std::function<bool(const OpenWish&)>& isOver);

    /// Wishes that are to be sent now, and that are taken for sent then: those that never were and, once a
    /// second, all; never more than the owner remembers. They expire when GiveUpNext() gives them up.
    std::vector<DueWish> TakeDue(const QUuid& epoch, quint16 channel, qint64 timeoutMs, qint64 nowMs);
    /// Whether the owner has dealt with one, so that it knows the program.
    bool WasHeard() const noexcept { return m_wasHeard; }
    /// Nothing is sent before, so that what `former` has sent under the same numbers has expired.
    void WaitFor(const WishQueue& former, qint64 timeoutMs)
    {
        m_notBeforeMs = former.m_lastSentMs + timeoutMs;
    }
    /// Sent again as soon as possible.
    void SendAnew() { m_resendMs = 0; }
    /// When TakeDue() has something again, and when GiveUpNext() has.
    qint64 NextSendMs() const;
    qint64 NextTimeoutMs(qint64 timeoutMs) const;

private:
    OpenWish giveUp(OpenWish& wish);

    std::deque<OpenWish> m_wishes;
    std::size_t m_bytes = 0;
    quint64 m_last = 0;         ///< number of the newest wish
    quint64 m_sentUpTo = 0;     ///< wishes up to this number have left at least once
    bool m_mayHaveRoom = false; ///< there may be wishes that have not left and may now
    qint64 m_resendMs = 0;
    qint64 m_lastSentMs = 0;
    qint64 m_notBeforeMs = 0;
    bool m_wasHeard = false;
};

/// What a mirror keeps of a channel of an owner that it does not follow any more, for it may follow it again:
/// an owner that was silent and another one in its place may take turns.
struct FormerChannel
{
    WishQueue wishes; ///< given up; the owner knows their numbers, so that new ones go on behind them
    quint64 told = 0; ///< number up to which the program has heard announcements
};

} // namespace distribution
