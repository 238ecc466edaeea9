#pragma once

#include <distribution/wishqueue.h>

#include <values/pendingchanges.h>

#include <QHash>
#include <QSet>
#include <QString>

namespace distribution {

/// The program's own changes of one channel that the owner has not dealt with, and what they hide: a plain
/// value, key or request that they write has here what the program wants, not yet what the owner has.
class OwnChanges
{
public:
    using Paths = QSet<QString>;

    WishQueue& Wishes() noexcept { return m_wishes; }
    const WishQueue& Wishes() const noexcept { return m_wishes; }
    /// Keys and requests of the collection.
    const values::PendingChanges& Pending() const noexcept { return m_pending; }
    /// Of the collection, in their order.
    std::vector<Content> Commands() const;
    /// Whether the plain value is hidden.
    bool Hide(const QString& path) const { return m_shadows.contains(path); }
    /// Without those that were given up.
    std::size_t CountOpen() const;

    /// Makes a wish of changes that the program has made while it saw the owner's entry `number`.
    void Add(Changes changes, quint64 number, qint64 nowMs);
    /// The owner has dealt with all wishes up to `number`, which are the result. Plain values that nothing
    /// hides any more are added to `shown`.
    std::deque<OpenWish> TakeUpTo(quint64 number, Paths& shown);
    /// All wishes that had not been given up are; these. The queue goes, and `queue` is in its place.
    std::deque<OpenWish> Exchange(WishQueue& queue, Paths& shown);
    /// See WishQueue::GiveUpNext().
    std::optional<OpenWish> GiveUpNext(const std::function<bool(const OpenWish&)>& isOver, Paths& shown);

private:
    struct Shadow
    {
        quint64 wish = 0;   ///< newest open one that writes it
        quint64 seenAt = 0; ///< number at which the program saw the owner's content last
    };
    void endShadows(quint64 number, Paths& shown);

    WishQueue m_wishes;
    QHash<QString, Shadow> m_shadows; ///< plain values, by path
    values::PendingChanges m_pending;
};

} // namespace distribution
