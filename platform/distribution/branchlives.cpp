#include <distribution/branchmirror.h>

#include <distribution/mirrorchannel.h>
#include <distribution/texts.h>

#include <algorithm>
#include <utility>

/// \file
/// The owners of a branch, one after the other, as BranchMirror sees them.

namespace distribution {

namespace {

constexpr std::size_t kMostFormerChannels = 1000;

} // namespace

void BranchMirror::takeLive(const LiveMessage& live)
{
    if (live.epoch == m_withdrawn)
        return;
    if (live.epoch != m_epoch) {
        m_otherLive = live;
        if (live.state == LiveState::Alive || (live.state == LiveState::Dead && m_epoch.isNull()))
            claim(live.epoch);
        else if (live.state == LiveState::Withdrawn)
            takeWithdrawalOfOther();
    }
    if (live.epoch != m_epoch)
        return;
    if (live.state == LiveState::Withdrawn) {
        withdraw(live.epoch);
        return;
    }
    // Who says for a displaced owner that it is dead does not know its roots.
    const bool isHearsay = live.state == LiveState::Dead && live.roots.isEmpty();
    if (!isHearsay)
        adopt(live);
    else if (isOwnerKnown())
        m_live.state = live.state;
    if (live.state == LiveState::Dead) {
        m_deadSinceMs = std::min(m_deadSinceMs, m_nowMs);
        return;
    }
    // That it is alive after all only a beat proves.
    if (m_deadSinceMs != kNever)
        m_askBeatMs = m_askBeatPauseMs = 0;
    for (const ChannelName& name : live.channels)
        ensureChannel(name.channel);
}

/// What the owner says of itself holds from now on. The places that it has given up are emptied before they
/// may be somebody else's.
void BranchMirror::adopt(const LiveMessage& live)
{
    QStringList outside;
    for (const auto& channel : m_channels) {
        for (const auto& item : channel.second->Items().All())
            outside.append(item.second.path);
    }
    for (const auto& leftover : m_leftovers)
        outside.append(leftover.first);
    outside.erase(std::remove_if(outside.begin(), outside.end(),
                                 [&live](const QString& path) { return IsAtOrBelow(path, live.roots); }),
                  outside.end());
    for (const QString& path : qAsConst(outside)) {
        apply(RemoveChange(path));
        m_leftovers.erase(path);
    }
    m_live = live;
    if (!m_live.sentinel.isEmpty() && !covers(m_live.sentinel))
        m_live.sentinel.clear();
}

/// A life that was never followed, perhaps because this machine slept all through it, has left. It was the
/// last one if the followed owner is not there either.
void BranchMirror::takeWithdrawalOfOther()
{
    if (m_epoch.isNull())
        setState(BranchState::Withdrawn);
    else if (isOwnerGone())
        withdraw(m_otherLive.epoch);
}

/// Who beats is followed. A claim counts only while the followed owner is known to be dead or has been
/// silent, since a broker or a bridge may bring the claim of a former life late, or for ever.
void BranchMirror::claim(const QUuid& epoch)
{
    if (epoch == m_epoch || epoch == m_withdrawn)
        return;
    if (m_epoch.isNull() || isOwnerGone())
        follow(epoch);
}

void BranchMirror::follow(const QUuid& epoch)
{
    const bool first = m_epoch.isNull();
    if (!m_sentinelHidden) {
        hideSentinel();
        setState(BranchState::Lost);
    }
    const QUuid former = std::exchange(m_epoch, epoch);
    m_followedMs = m_nowMs;
    m_beatSeenMs = -1;
    m_askBeatMs = m_askBeatPauseMs = 0;
    m_silentSinceMs = m_deadSinceMs = kNever;
    const QString reason =
        first ? Texts::tr("no owner was there") : Texts::tr("the owner was restarted before it answered");
    if (m_formerChannels.size() > kMostFormerChannels)
        m_formerChannels.clear();
    for (const auto& [number, channel] : m_channels) {
        FormerChannel left = channel->Restart(reason, number == 0 ? takeFormer(epoch, 0) : FormerChannel());
        m_formerChannels[{former, number}] = std::make_unique<FormerChannel>(std::move(left));
    }
    dropCollections();
    if (m_otherLive.epoch == epoch) {
        adopt(m_otherLive);
        for (const ChannelName& name : m_otherLive.channels)
            ensureChannel(name.channel);
    }
    setState(BranchState::Joining);
}

/// Channels of collections belong to an epoch, the collections do not.
void BranchMirror::dropCollections()
{
    for (auto channel = std::next(m_channels.begin()); channel != m_channels.end(); ++channel) {
        for (const auto& item : channel->second->Items().All())
            m_leftovers[item.second.path] = item.second.type;
    }
    m_channels.erase(std::next(m_channels.begin()), m_channels.end());
}

void BranchMirror::takeBeat(const BeatMessage& beat)
{
    claim(beat.epoch);
    if (beat.epoch != m_epoch)
        return;
    m_beatSeenMs = m_nowMs;
    m_deadSinceMs = kNever;
    for (const ChannelNumber& number : beat.numbers) {
        if (MirrorChannel* const channel = ensureChannel(number.channel))
            channel->TakeBeat(number.number, m_nowMs);
    }
}

bool BranchMirror::takeLog(quint16 number, const Bytes& payload)
{
    const auto log = DecodeLog(payload);
    if (!log)
        return false;
    claim(log->epoch);
    MirrorChannel* const channel = log->epoch == m_epoch ? ensureChannel(number) : nullptr;
    if (channel)
        channel->TakeLog(*log, payload, m_nowMs);
    return true;
}

void BranchMirror::withdraw(const QUuid& epoch)
{
    m_withdrawn = epoch;
    m_epoch = QUuid();
    hideSentinel();
    for (const auto& channel : m_channels) {
        channel.second->Restart(Texts::tr("the owner has left"), FormerChannel());
    }
    dropCollections();
    for (const auto& leftover : std::exchange(m_leftovers, {}))
        apply(RemoveChange(leftover.first));
    m_channels.at(0)->RemoveAll();
    setState(BranchState::Withdrawn);
}

/// Known to be dead, or silent for too long.
bool BranchMirror::isOwnerGone() const
{
    return m_deadSinceMs != kNever || m_nowMs > silentAtMs();
}

} // namespace distribution
