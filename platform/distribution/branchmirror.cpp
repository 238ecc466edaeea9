#include <distribution/branchmirror.h>

#include <distribution/mirrorchannel.h>
#include <distribution/texts.h>

#include <startup/tracesource.h>

#include <algorithm>
#include <utility>

namespace distribution {

namespace {

constexpr qint64 kFirstPauseMs = 1000; ///< between asks for a beat, doubled
constexpr qint64 kLongestPauseMs = 10000;
/// For which nothing is sent on a line on which the broker has refused it, unless rights come anew.
constexpr qint64 kRefusedMs = 30000;

enum eTracePoint : int { eMalformed = 1, eOutside = 2 };
constexpr Startup::TraceSource kTrace("platform/distribution/branchmirror", Startup::eTraceWarning);

} // namespace

BranchMirror::BranchMirror(MirrorSettings settings, const Topics& topics, IMirroredTree& tree)
    : m_settings(std::move(settings)), m_topics(topics), m_tree(tree)
{
    ensureChannel(0);
}

BranchMirror::~BranchMirror() = default;

Output BranchMirror::OnUp(std::size_t maximumPayload, qint64 nowMs)
{
    m_nowMs = nowMs;
    m_online = true;
    m_onlineMs = nowMs;
    m_refusedUntilMs = 0;
    m_askBeatMs = m_askBeatPauseMs = 0;
    m_maximumPayload = maximumPayload;
    if (m_state == BranchState::Forbidden)
        setState(BranchState::Unknown);
    for (const auto& channel : m_channels)
        channel.second->OnUp();
    return finish();
}

Output BranchMirror::OnDown(qint64 nowMs)
{
    m_nowMs = nowMs;
    m_online = false;
    for (const auto& channel : m_channels)
        channel.second->OnDown();
    return finish();
}

Output BranchMirror::OnMessage(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    m_nowMs = nowMs;
    if (!m_online || payload.empty())
        return finish();
    if (!take(topic, payload))
        m_complaints(kTrace, eMalformed, QStringLiteral("%1: a malformed message").arg(m_settings.branch),
                     nowMs);
    return finish();
}

/// False when the message is malformed.
bool BranchMirror::take(const Topic& topic, const Bytes& payload)
{
    if (topic.kind == TopicKind::Live) {
        const auto live = DecodeLive(payload);
        if (live)
            takeLive(*live);
        return live.has_value();
    }
    if (topic.kind == TopicKind::Beat) {
        const auto beat = DecodeBeat(payload);
        if (beat)
            takeBeat(*beat);
        return beat.has_value();
    }
    if (topic.kind == TopicKind::Log)
        return takeLog(topic.channel, payload);
    if (topic.kind != TopicKind::State)
        return true;
    const auto part = DecodeStatePart(payload);
    // Without knowing the sentinel it could not be kept back.
    const bool usable = part && part->epoch == m_epoch && isOwnerKnown();
    MirrorChannel* const channel = usable ? ensureChannel(topic.channel) : nullptr;
    if (channel)
        channel->TakeStatePart(*part, m_nowMs);
    return part.has_value();
}

Output BranchMirror::OnRefused(const QString& reason, qint64 nowMs)
{
    m_nowMs = nowMs;
    m_refusedUntilMs = nowMs + kRefusedMs;
    m_refusedWhy = reason;
    for (const auto& channel : m_channels)
        channel.second->Refuse(reason, m_onlineMs);
    return finish();
}

Output BranchMirror::OnForbidden(qint64 nowMs)
{
    m_nowMs = nowMs;
    setState(BranchState::Forbidden);
    return finish();
}

Output BranchMirror::OnTime(qint64 nowMs)
{
    m_nowMs = nowMs;
    takeLocal();
    return finish();
}

void BranchMirror::Abandon()
{
    for (const Change& change : m_tree.TakeChanges())
        failed({WishResult::TooLate, change.path + Texts::tr(": the link has ended before it was sent"),
                change, nullptr});
    for (const auto& channel : m_channels)
        channel.second->Abandon();
}

void BranchMirror::HandOver()
{
    m_isHandedOver = true;
    for (const Change& change : m_tree.TakeChanges())
        tellAuthor(change, WishResult::Unknown);
    for (const auto& channel : m_channels)
        channel.second->HandOver();
}

std::vector<ChannelNumber> BranchMirror::GetNumbers() const
{
    std::vector<ChannelNumber> numbers;
    for (const auto& [number, channel] : m_channels)
        numbers.push_back({number, channel->GetNumber()});
    return numbers;
}

std::size_t BranchMirror::GetOpenWishes() const
{
    std::size_t open = 0;
    for (const auto& channel : m_channels)
        open += channel.second->CountOpenWishes();
    return open;
}

QString BranchMirror::PathOf(quint16 channel, quint32 id) const
{
    const auto found = m_channels.find(channel);
    const ItemTable::Item* const item =
        found == m_channels.end() ? nullptr : std::as_const(*found->second).Items().Find(id);
    return item ? item->path : QString();
}

int BranchMirror::CountParts() const
{
    return !m_epoch.isNull() && isOwnerKnown() ? static_cast<int>(m_channels.size()) : 0;
}

int BranchMirror::CountJoinedParts() const
{
    if (CountParts() == 0)
        return 0;
    return static_cast<int>(std::count_if(m_channels.begin(), m_channels.end(),
                                          [](const auto& channel) { return channel.second->IsCaughtUp(); }));
}

/// Own changes become wishes before anything else happens to the tree: what the program wrote first must not
/// be taken for something that it wrote upon what it is about to hear.
void BranchMirror::takeLocal()
{
    if (m_takingLocal)
        return;
    Changes changes = m_tree.TakeChanges();
    if (changes.empty())
        return;
    m_takingLocal = true;
    route(std::move(changes));
    m_takingLocal = false;
}

void BranchMirror::route(Changes changes)
{
    const bool writable =
        m_state == BranchState::Joining || m_state == BranchState::Live || m_state == BranchState::Suspect;
    std::map<MirrorChannel*, Changes> wishes;
    for (Change& change : changes) {
        MirrorChannel* const channel = channelOf(change.path);
        const bool ofCollection = change.operation == Operation::Commands ||
                                  (change.operation == Operation::Add && IsCollection(change.type));
        if (m_leftovers.count(change.path) > 0)
            failed({WishResult::Refused, change.path + Texts::tr(": the owner's content is not here yet"),
                    change, nullptr});
        else if (!m_settings.refusal.isEmpty())
            channel->Fail({change}, WishResult::Refused,
                          change.path + QStringLiteral(": ") + m_settings.refusal);
        else if (m_nowMs < m_refusedUntilMs)
            channel->Fail({change}, WishResult::Refused, change.path + QStringLiteral(": ") + m_refusedWhy);
        else if (!writable)
            channel->Fail({change}, WishResult::Refused, change.path + Texts::tr(": its owner is not there"));
        else if (ofCollection && (channel->GetChannel() == 0 || change.operation == Operation::Add))
            channel->Fail({change}, WishResult::Refused,
                          change.path + Texts::tr(": collections are made by their owner"));
        else
            wishes[channel].push_back(std::move(change));
    }
    for (auto& [channel, part] : wishes)
        channel->Wish(std::move(part), m_nowMs);
}

MirrorChannel* BranchMirror::channelOf(const QString& path) const
{
    const auto found =
        std::find_if(std::next(m_channels.begin()), m_channels.end(),
                     [&path](const auto& channel) { return channel.second->Items().Contains(path); });
    return found == m_channels.end() ? m_channels.at(0).get() : found->second.get();
}

bool BranchMirror::isElsewhere(const QString& path, const MirrorChannel& channel) const
{
    return std::any_of(m_channels.begin(), m_channels.end(), [&](const auto& other) {
        return other.second.get() != &channel && other.second->Items().Contains(path);
    });
}

/// Null for a collection when there are to be none.
MirrorChannel* BranchMirror::ensureChannel(quint16 channel)
{
    if (channel != 0 && !m_settings.collections)
        return nullptr;
    auto& found = m_channels[channel];
    if (!found) {
        found = std::make_unique<MirrorChannel>(*this, channel);
        found->GoOnWith(takeFormer(m_epoch, channel));
    }
    return found.get();
}

/// What was left of it when that owner was followed before.
FormerChannel BranchMirror::takeFormer(const QUuid& epoch, quint16 channel)
{
    const auto found = m_formerChannels.find({epoch, channel});
    if (found == m_formerChannels.end())
        return FormerChannel();
    FormerChannel former = std::move(*found->second);
    m_formerChannels.erase(found);
    return former;
}

/// Whatever its owner says, a branch writes below its roots only; false, and complained of, elsewhere.
bool BranchMirror::covers(const QString& path)
{
    if (IsAtOrBelow(path, m_live.roots))
        return true;
    m_complaints(kTrace, eOutside,
                 QStringLiteral("%1: \"%2\" is outside its roots").arg(m_settings.branch, path), m_nowMs);
    return false;
}

void BranchMirror::apply(const Change& change)
{
    if (m_isHandedOver)
        return;
    takeLocal();
    const bool isRemoval = change.operation == Operation::Remove;
    const bool isHidden = m_sentinelHidden && change.path == m_live.sentinel;
    // What lies in places that the owner has given up is gone already. Before any owner is known only the
    // program's own changes are taken back.
    const bool isGone = !m_live.epoch.isNull() && !IsAtOrBelow(change.path, m_live.roots);
    if (isRemoval ? isGone : isHidden || !covers(change.path))
        return;
    m_tree.Apply(change);
    if (!isRemoval)
        return;
    // The tree removes all that is below, but a collection has an order of its own and may have come anew
    // since.
    for (const auto& channel : m_channels) {
        const auto& items = channel.second->Items().All();
        if (channel.first != 0 && !items.empty() && items.begin()->second.path != change.path &&
            IsAtOrBelow(items.begin()->second.path, change.path))
            channel.second->NeedState(channel.second->GetNumber());
    }
}

/// False when the value has another text than the owner had; the whole has to follow.
bool BranchMirror::applySplice(const QString& path, const values::TextSplice& splice)
{
    if (m_isHandedOver)
        return true;
    takeLocal();
    return (m_sentinelHidden && path == m_live.sentinel) || !covers(path) || m_tree.ApplySplice(path, splice);
}

/// False when they do not fit the collection; its state has to follow.
bool BranchMirror::applyCommands(const QString& path, const Bytes& commands,
                                 const values::PendingChanges& own)
{
    if (m_isHandedOver)
        return true;
    takeLocal();
    return !covers(path) || m_tree.ApplyCommands(path, commands, own);
}

void BranchMirror::applyState(const QString& path, qint32 type, const Bytes& state,
                              const std::vector<Content>& own)
{
    if (m_isHandedOver || !covers(path))
        return;
    m_leftovers.erase(path);
    m_tree.ApplyState(path, type, state, own);
}

void BranchMirror::hideSentinel()
{
    if (std::exchange(m_sentinelHidden, true) || m_live.sentinel.isEmpty())
        return;
    apply(RemoveChange(m_live.sentinel));
}

void BranchMirror::showSentinel()
{
    if (!std::exchange(m_sentinelHidden, false))
        return;
    if (const ItemTable::Item* const item = m_channels.at(0)->Items().Find(m_live.sentinel))
        apply(AddChange(item->path, item->type, item->Whole()));
}

qint64 BranchMirror::silentAtMs() const
{
    return std::max(m_beatSeenMs, m_followedMs) + qint64(m_live.beatMs) * 5 / 2;
}

qint64 BranchMirror::lostAtMs() const
{
    const qint64 bySilence = m_silentSinceMs + m_settings.graceMs;
    return m_deadSinceMs == kNever ? bySilence : std::min(bySilence, m_deadSinceMs + m_settings.deathGraceMs);
}

bool BranchMirror::isComplete() const
{
    return CountParts() > 0 && CountJoinedParts() == CountParts();
}

/// Follows from what has been seen which state the branch is in.
void BranchMirror::update()
{
    if (m_state == BranchState::Forbidden || m_epoch.isNull())
        return;
    if (!m_online || m_deadSinceMs != kNever || m_nowMs > silentAtMs()) {
        // Whose line is gone may have slept: then the owner has been silent for long, and has let go of what
        // was this program's.
        m_silentSinceMs = std::min({m_silentSinceMs, m_nowMs, m_online ? m_nowMs : silentAtMs()});
        if (m_nowMs < lostAtMs()) {
            if (m_state != BranchState::Lost)
                setState(BranchState::Suspect);
        } else if (m_state != BranchState::Lost) {
            hideSentinel();
            setState(BranchState::Lost);
        }
        return;
    }
    m_silentSinceMs = kNever;
    // Once live it stays so while it is only behind; what was lost comes back whole.
    if (m_beatSeenMs < 0 || (m_sentinelHidden && !isComplete())) {
        setState(BranchState::Joining);
        return;
    }
    for (const auto& leftover : std::exchange(m_leftovers, {}))
        apply(RemoveChange(leftover.first));
    showSentinel();
    setState(BranchState::Live);
}

void BranchMirror::setState(BranchState state)
{
    if (std::exchange(m_state, state) != state)
        m_tree.OnStateChanged(state);
}

bool BranchMirror::maySend() const
{
    return m_online && m_nowMs >= m_refusedUntilMs &&
           (m_state == BranchState::Live || (m_state == BranchState::Joining && m_beatSeenMs >= 0));
}

/// Nothing is taken for alive before it has beaten, so a beat is asked for.
void BranchMirror::askForBeat(Output& out)
{
    const bool isBeating = m_deadSinceMs == kNever && m_beatSeenMs >= std::max(m_onlineMs, m_followedMs);
    if (isBeating && isOwnerKnown())
        return;
    if (m_nowMs >= m_askBeatMs) {
        if (!isOwnerKnown())
            out.subscribe.push_back(m_topics.Live(m_settings.branch));
        m_askBeatPauseMs =
            std::min(kLongestPauseMs, m_askBeatPauseMs == 0 ? kFirstPauseMs : 2 * m_askBeatPauseMs);
        m_askBeatMs = m_nowMs + m_askBeatPauseMs;
        const AskMessage ask{m_epoch, 0, AskMessage::kNothing};
        out.publish.push_back({upTopic(), Encode(ask), Delivery::AtLeastOnce, false,
                               static_cast<quint32>(m_settings.wishTimeoutMs)});
    }
    out.wakeAtMs = std::min(out.wakeAtMs, m_askBeatMs);
}

Output BranchMirror::finish()
{
    for (const auto& channel : m_channels)
        channel.second->GiveUpOld(m_nowMs);
    update();
    Output out;
    const bool following = !m_epoch.isNull() && m_state != BranchState::Forbidden;
    const bool maySpeak = following && m_online;
    for (const auto& [number, channel] : m_channels) {
        if (maySpeak)
            channel->Speak(out, maySend(), m_nowMs);
        out.wakeAtMs = std::min(out.wakeAtMs, channel->NextMs(maySpeak, maySpeak && maySend()));
    }
    if (maySpeak)
        askForBeat(out);
    if (!following || m_state == BranchState::Lost)
        return out;
    const bool silent = m_silentSinceMs != kNever;
    out.wakeAtMs = std::min(out.wakeAtMs, silent ? lostAtMs() : silentAtMs() + 1);
    return out;
}

} // namespace distribution
