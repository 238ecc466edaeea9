#include <distribution/ownchanges.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace distribution {

std::vector<Content> OwnChanges::Commands() const
{
    std::vector<Content> commands;
    for (const OpenWish& wish : m_wishes.Wishes()) {
        for (const Change& change : wish.changes) {
            if (change.operation == Operation::Commands)
                commands.push_back(change.content);
        }
    }
    return commands;
}

std::size_t OwnChanges::CountOpen() const
{
    const auto& wishes = m_wishes.Wishes();
    return static_cast<std::size_t>(
        std::count_if(wishes.begin(), wishes.end(), [](const OpenWish& wish) { return !wish.givenUp; }));
}

void OwnChanges::Add(Changes changes, quint64 number, qint64 nowMs)
{
    for (Change& change : changes) {
        const auto shadow = m_shadows.constFind(change.path);
        if (change.compare)
            change.base = shadow == m_shadows.constEnd() ? number : shadow->seenAt;
    }
    const OpenWish& wish = m_wishes.Add(std::move(changes), nowMs);
    values::CommandScope scope;
    for (const Change& change : wish.changes) {
        if (change.operation == Operation::Commands) {
            const values::CommandScope& own = change.scope;
            scope.everyKey = scope.everyKey || own.everyKey;
            scope.keys.insert(scope.keys.end(), own.keys.begin(), own.keys.end());
            scope.requests.insert(scope.requests.end(), own.requests.begin(), own.requests.end());
        } else if (change.operation != Operation::Announce) {
            Shadow& shadow = m_shadows[change.path];
            shadow.seenAt = shadow.wish == 0 ? number : shadow.seenAt;
            shadow.wish = wish.number;
        }
    }
    m_pending.Add(wish.number, std::move(scope));
}

std::deque<OpenWish> OwnChanges::TakeUpTo(quint64 number, Paths& shown)
{
    m_pending.Acknowledge(number);
    endShadows(number, shown);
    return m_wishes.TakeUpTo(number);
}

std::deque<OpenWish> OwnChanges::Exchange(WishQueue& queue, Paths& shown)
{
    m_pending = values::PendingChanges();
    endShadows(std::numeric_limits<quint64>::max(), shown);
    std::swap(m_wishes, queue);
    return queue.GiveUpAll();
}

std::optional<OpenWish> OwnChanges::GiveUpNext(const std::function<bool(const OpenWish&)>& isOver,
                                               Paths& shown)
{
    auto wish = m_wishes.GiveUpNext(isOver);
    if (wish) {
        m_pending.Acknowledge(wish->number);
        endShadows(wish->number, shown);
    }
    return wish;
}

void OwnChanges::endShadows(quint64 number, Paths& shown)
{
    for (auto shadow = m_shadows.begin(); shadow != m_shadows.end();) {
        if (shadow->wish > number) {
            ++shadow;
            continue;
        }
        shown.insert(shadow.key());
        shadow = m_shadows.erase(shadow);
    }
}

} // namespace distribution
