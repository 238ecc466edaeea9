#include <distribution/branchmirror.h>
#include <distribution/mirrorchannel.h>
#include <distribution/statetransfer.h>

#include <algorithm>

/// \file
/// What a mirror knows of a branch as messages, from which another could join it.

namespace distribution {

namespace {

constexpr std::size_t kPartBytes = 1U << 20U;

} // namespace

Snapshot BranchMirror::GetSnapshot() const
{
    Snapshot snapshot;
    for (const auto& [id, item] : m_channels.at(0)->Items().All())
        snapshot.items.push_back({id, item.path, item.type, item.Whole()});
    return snapshot;
}

bool BranchMirror::IsSettled() const
{
    const bool isNamed = m_epoch.isNull() || isOwnerKnown();
    return isNamed && std::none_of(m_channels.begin(), m_channels.end(),
                                   [](const auto& channel) { return channel.second->IsWaiting(); });
}

std::vector<TimedMessage>
BranchMirror::GetJoin(const std::function<Content(const QString& path)>& contentOf) const
{
    std::vector<TimedMessage> messages;
    const Bytes liveTopic = m_topics.Live(m_settings.branch);
    if (m_epoch.isNull()) {
        LiveMessage left;
        left.epoch = m_withdrawn.isNull() ? m_otherLive.epoch : m_withdrawn;
        left.state = LiveState::Withdrawn;
        if (m_state == BranchState::Withdrawn)
            messages.push_back({m_nowMs, liveTopic, Encode(left)});
        return messages;
    }
    if (!isOwnerKnown())
        return messages;
    const qint64 earliestMs = m_nowMs - kLongestAgeMs;
    const bool isDead = m_deadSinceMs != kNever;
    const qint64 heardMs = std::max(earliestMs, m_beatSeenMs >= 0 ? m_beatSeenMs
                                                : isDead          ? m_deadSinceMs
                                                                  : m_followedMs);
    LiveMessage live = m_live;
    live.state = LiveState::Alive;
    messages.push_back({heardMs, liveTopic, Encode(live)});
    BeatMessage beat{m_epoch, {}};
    for (const auto& [number, channel] : m_channels) {
        beat.numbers.push_back({number, channel->GetNumber()});
        if (!channel->IsJoined())
            continue;
        StateCut cut{m_epoch, channel->GetNumber(), {}, m_topics.State(m_settings.branch, number), kPartBytes,
                     0};
        for (const auto& [id, item] : channel->Items().All())
            cut.snapshot.items.push_back(
                {id, item.path, item.type, IsCollection(item.type) ? contentOf(item.path) : item.Whole()});
        for (Publication& part : Pack(cut))
            messages.push_back({heardMs, std::move(part.topic), std::move(part.payload)});
    }
    if (m_beatSeenMs >= 0)
        messages.push_back({heardMs, m_topics.Beat(m_settings.branch), Encode(beat)});
    live.state = LiveState::Dead;
    if (isDead)
        messages.push_back({std::max(earliestMs, m_deadSinceMs), liveTopic, Encode(live)});
    return messages;
}

} // namespace distribution
