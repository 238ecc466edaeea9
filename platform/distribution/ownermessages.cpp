#include <distribution/branchowner.h>

#include <distribution/ownerchannel.h>

#include <startup/tracesource.h>

#include <algorithm>
#include <utility>

/// \file
/// What an owner says of itself, of its log and of its states.

namespace distribution {

namespace {

constexpr qint64 kStateRenewMs = 60000; ///< after which a changed state is renewed though nobody asks
/// Room that a message needs beside its content.
constexpr std::size_t kPartHeadBytes = 1024;
constexpr std::size_t kPartBytes = 512U << 10U;

enum eTracePoint : int { eLargeState = 1 };
constexpr Startup::TraceSource kTrace("platform/distribution/ownermessages", Startup::eTraceWarning);

} // namespace

LiveMessage BranchOwner::liveMessage(LiveState state) const
{
    LiveMessage message;
    message.epoch = m_settings.epoch;
    message.state = state;
    message.host = m_settings.host;
    message.beatMs = static_cast<quint32>(m_settings.beatMs);
    message.roots = m_settings.roots;
    message.sentinel = m_settings.sentinel;
    for (const auto& [number, channel] : m_channels)
        message.channels.push_back({number, channel->GetPath()});
    return message;
}

void BranchOwner::publishLive(LiveState state)
{
    m_out.publish.push_back(
        {m_topics.Live(m_settings.branch), Encode(liveMessage(state)), Delivery::AtLeastOnce, true, 0});
    m_liveAtMs = kNever;
}

void BranchOwner::publishBeat(qint64 nowMs)
{
    m_out.publish.push_back({m_topics.Beat(m_settings.branch),
                             Encode(BeatMessage{m_settings.epoch, GetNumbers()}), Delivery::AtMostOnce, false,
                             0});
    m_beatAtMs = nowMs + m_settings.beatMs;
}

void BranchOwner::publishLogs()
{
    for (const auto& channel : m_channels)
        publishLog(*channel.second, channel.second->TakeUnsent(m_settings.epoch, m_maximumPayload));
}

void BranchOwner::publishLog(const OwnerChannel& channel, std::vector<Bytes> messages)
{
    for (Bytes& message : messages) {
        m_out.publish.push_back({m_topics.Log(m_settings.branch, channel.GetChannel()), std::move(message),
                                 Delivery::AtLeastOnce, false, 0});
    }
}

void BranchOwner::publishAnswers(OwnerChannel& channel, qint64 nowMs)
{
    auto& asks = channel.asks;
    if (nowMs >= asks.replayAtMs) {
        asks.replayAtMs = kNever;
        if (channel.CanReplay(asks.replayFrom))
            publishLog(channel, channel.Replay(m_settings.epoch, asks.replayFrom, m_maximumPayload));
        else
            askState(channel, nowMs);
    }
    if (asks.stateNumber != 0 && asks.stateNumber != channel.GetNewest())
        asks.stateAtMs = std::min(asks.stateAtMs, asks.stateSaidMs + kStateRenewMs);
    if (nowMs < asks.stateAtMs)
        return;
    asks.stateAtMs = kNever;
    asks.stateSaidMs = nowMs;
    StateCut cut;
    cut.epoch = m_settings.epoch;
    cut.snapshot = channel.MakeSnapshot(contentOf(channel));
    cut.number = asks.stateNumber = channel.GetNewest();
    cut.topic = m_topics.State(m_settings.branch, channel.GetChannel());
    cut.partBytes = std::min(kPartBytes, m_maximumPayload - std::min(m_maximumPayload / 2, kPartHeadBytes));
    cut.clearUpTo = asks.statePartsBound;
    const std::size_t bytes = SizeBound(cut.snapshot);
    if (bytes > Defaults::kStateBytes)
        m_complaints(
            kTrace, eLargeState,
            QStringLiteral("%1: a state of about %2 bytes is more than others take unless they are told")
                .arg(channel.GetPath().isEmpty() ? m_settings.branch : channel.GetPath(),
                     QString::number(bytes)),
            nowMs);
    const auto parts = static_cast<quint32>(bytes / cut.partBytes + 1);
    asks.statePartsBound = std::max(asks.statePartsBound, parts);
    m_out.states.push_back(std::move(cut));
}

} // namespace distribution
