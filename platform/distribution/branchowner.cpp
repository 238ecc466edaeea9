#include <distribution/branchowner.h>

#include <distribution/ownerchannel.h>
#include <distribution/textdelta.h>
#include <distribution/textsearch.h>
#include <distribution/wishdesk.h>

#include <startup/tracesource.h>

#include <values/utf8.h>

#include <algorithm>
#include <utility>

namespace distribution {

namespace {

constexpr qint64 kGatherAsksMs = 50;
constexpr qint64 kStatePauseMs = 1000; ///< between two states of a channel
constexpr qint64 kLivePauseMs = 1000;  ///< between two claims of life
constexpr std::size_t kFlushBytes = 65536;
constexpr std::size_t kWillBytes = 65535; ///< the format's own limit

enum eTracePoint : int { eAnotherOwner = 1, eMalformedMessage = 2, eOversized = 3 };
constexpr Startup::TraceSource kTrace("platform/distribution/branchowner", Startup::eTraceWarning);

std::size_t sizeAfter(const values::TextSplice& splice)
{
    return splice.formerBytes - splice.removed.size() + splice.inserted.size();
}

void encodeText(Change& change)
{
    if (change.text.isEmpty())
        return;
    Bytes bytes;
    values::AppendUtf8(bytes, std::exchange(change.text, QString()));
    change.content = MakeContent(std::move(bytes));
}

/// Both make what the log says; false when the item has that content already.
bool adoptContent(ItemTable::Item& item, Change& change)
{
    if (item.IsEqual(BytesOf(change.content)))
        return false;
    const Content former = item.Whole();
    item.content = change.content;
    item.parts.reset();
    change = MakeContentChange(change.id, change.path, former, item.content);
    return true;
}

bool adoptSplice(ItemTable::Item& item, Change& change, values::TextSplice splice)
{
    if (splice.inserted == splice.removed)
        return false;
    change.operation = Operation::Delta;
    change.text.clear();
    change.content = MakeContent(MakeRuns(splice));
    TextEdit edit = item.Prepare(std::move(splice));
    change.checksum = item.parts->SumAfter(edit);
    item.parts->Apply(edit);
    return true;
}

} // namespace

BranchOwner::BranchOwner(OwnerSettings settings, const Topics& topics, IOwnedTree& tree,
                         std::unique_ptr<IWritePolicy> policy, Changes initial)
    : m_settings(std::move(settings))
    , m_topics(topics)
    , m_tree(tree)
    , m_desk(std::make_unique<WishDesk>(m_channels, m_collections, m_settings.roots, m_settings.graceMs,
                                        std::move(policy)))
{
    m_channels[0] = std::make_unique<OwnerChannel>(quint16(0), QString(), m_settings.logBytes);
    for (Change& change : initial) {
        if (!isBeyondLimits(change))
            adopt(channelFor(change), change);
    }
    for (const auto& channel : m_channels) {
        for (const auto& item : channel.second->Items().All())
            channel.second->Items().Find(item.first)->changedAt = channel.second->GetNewest();
    }
}

BranchOwner::~BranchOwner() = default;

Will BranchOwner::GetWill() const
{
    LiveMessage dead = liveMessage(LiveState::Dead);
    Bytes payload = Encode(dead);
    // The broker keeps no longer ones; who joins then sees no collections until the owner is back.
    if (payload.size() > kWillBytes) {
        dead.channels.clear();
        payload = Encode(dead);
    }
    return {m_topics.Live(m_settings.branch), std::move(payload)};
}

Output BranchOwner::OnUp(std::size_t maximumPayload, qint64 nowMs)
{
    if (isSilent())
        return finish(nowMs);
    m_online = true;
    m_maximumPayload = std::min(maximumPayload, kLargestPayload);
    m_out.subscribe = m_topics.OwnerFilters(m_settings.branch);
    m_desk->OnUp(nowMs);
    for (const auto& channel : m_channels)
        channel.second->DropUnsent();
    takeLocal();
    publishLive(LiveState::Alive);
    m_liveSaidMs = nowMs;
    m_beatAtMs = nowMs;
    return OnTime(nowMs);
}

Output BranchOwner::OnDown(DownReason reason, qint64 nowMs)
{
    m_online = false;
    if (reason == DownReason::Displaced)
        displace();
    return finish(nowMs);
}

void BranchOwner::displace()
{
    if (std::exchange(m_displaced, true))
        return;
    kTrace(eAnotherOwner, QStringLiteral("another owner publishes \"%1\" now").arg(m_settings.branch));
    m_out = Output();
    if (m_events.displaced)
        m_events.displaced();
}

Output BranchOwner::OnMessage(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    if (isSilent() || !m_online)
        return finish(nowMs);
    switch (topic.kind) {
    case TopicKind::Live:
        takeLive(payload, nowMs);
        break;
    case TopicKind::Beat:
        if (const auto beat = DecodeBeat(payload))
            takeForeignBeat(beat->epoch, nowMs);
        break;
    case TopicKind::Presence:
        m_desk->SetPresence(topic, payload, nowMs);
        break;
    case TopicKind::Up: {
        const auto wish = DecodeWish(payload);
        const auto ask = wish ? std::nullopt : DecodeAsk(payload);
        if (wish && wish->epoch == m_settings.epoch)
            takeWish(topic, *wish, nowMs);
        else if (ask && ask->epoch == m_settings.epoch)
            takeAsk(*ask, nowMs);
        else if (!wish && !ask)
            m_complaints(kTrace, eMalformedMessage,
                         QStringLiteral("a malformed message of %1").arg(QString::fromStdString(topic.user)),
                         nowMs);
        break;
    }
    case TopicKind::Log:
    case TopicKind::State:
        break;
    }
    return finish(nowMs);
}

Output BranchOwner::OnTime(qint64 nowMs)
{
    if (isSilent())
        return finish(nowMs);
    takeLocal();
    if (!m_online)
        return finish(nowMs);
    removeExpired(nowMs);
    publishLogs();
    if (nowMs >= m_liveAtMs) {
        publishLive(LiveState::Alive);
        m_liveSaidMs = nowMs;
    }
    for (const auto& channel : m_channels)
        publishAnswers(*channel.second, nowMs);
    if (nowMs >= m_beatAtMs)
        publishBeat(nowMs);
    return finish(nowMs);
}

Output BranchOwner::Withdraw(qint64 nowMs)
{
    if (!isSilent() && m_online) {
        for (const auto& [number, channel] : m_channels) {
            for (quint32 part = 0; part < channel->asks.statePartsBound; ++part) {
                m_out.publish.push_back(
                    {m_topics.State(m_settings.branch, number) + '/' + std::to_string(part), Bytes(),
                     Delivery::AtLeastOnce, true, 0});
            }
        }
        publishLive(LiveState::Withdrawn);
    }
    m_withdrawn = true;
    return finish(nowMs);
}

std::vector<ChannelNumber> BranchOwner::GetNumbers() const
{
    std::vector<ChannelNumber> numbers;
    for (const auto& [number, channel] : m_channels)
        numbers.push_back({number, channel->GetNewest()});
    return numbers;
}

Snapshot BranchOwner::GetSnapshot(quint16 channel)
{
    takeLocal();
    const OwnerChannel* const found = find(channel);
    return found ? found->MakeSnapshot(contentOf(*found)) : Snapshot();
}

OwnerChannel* BranchOwner::find(quint16 channel) const
{
    const auto found = m_channels.find(channel);
    return found == m_channels.end() ? nullptr : found->second.get();
}

/// A collection keeps its channel when it is removed and comes again.
OwnerChannel& BranchOwner::channelFor(const Change& change)
{
    const auto found = m_collections.find(change.path);
    if (found != m_collections.end())
        return *m_channels.at(found->second);
    if (change.operation != Operation::Add || !IsCollection(change.type))
        return *m_channels.at(0);
    const auto number = static_cast<quint16>(m_channels.rbegin()->first + 1);
    auto& channel = m_channels[number];
    channel = std::make_unique<OwnerChannel>(number, change.path, m_settings.logBytes);
    m_collections[change.path] = number;
    m_liveAtMs = 0;
    return *channel;
}

Content BranchOwner::contentOf(const OwnerChannel& channel) const
{
    return channel.Items().Size() > 0 && !channel.GetPath().isEmpty()
               ? m_tree.ReadCollection(channel.GetPath())
               : nullptr;
}

/// Enters a change into the channel's items and turns it into what the log says. False when there is nothing
/// to say.
bool BranchOwner::adopt(OwnerChannel& channel, Change& change)
{
    ItemTable& items = channel.Items();
    change.id = items.IdOf(change.path);
    if (change.operation == Operation::Add) {
        if (isOversized(change, BytesOf(change.content).size()))
            change.content = nullptr;
        change.id = ++m_lastId;
        const bool plain = !IsCollection(change.type);
        items.Insert(
            change.id,
            {change.path, change.type, plain ? change.content : nullptr, channel.GetNewest() + 1, {}});
        return true;
    }
    if (change.id == 0)
        return false;
    if (change.operation == Operation::Remove) {
        items.Erase(change.id);
        m_desk->GetLeases().Remove(change.path);
        return true;
    }
    if (change.operation != Operation::Set)
        return true;
    ItemTable::Item& item = *items.Find(change.id);
    auto splice = change.text.isEmpty() ? std::nullopt : FindSplice(item, change.text);
    if (!splice)
        encodeText(change);
    if (isOversized(change, splice ? sizeAfter(*splice) : BytesOf(change.content).size()))
        return false;
    if (!(splice ? adoptSplice(item, change, std::move(*splice)) : adoptContent(item, change)))
        return false;
    item.changedAt = channel.GetNewest() + 1;
    item.changedBy = QUuid();
    return true;
}

/// An item that no mirror would read is left out, so that all the rest can go on; told once.
bool BranchOwner::isBeyondLimits(const Change& change)
{
    if (change.operation != Operation::Add)
        return false;
    const bool isTooMany = IsCollection(change.type) ? m_channels.size() > Limits::kCollections &&
                                                           m_collections.count(change.path) == 0
                                                     : m_channels.at(0)->Items().Size() >= Limits::kItems;
    if (!isTooMany && static_cast<std::size_t>(change.path.toUtf8().size()) <= Limits::kPathBytes)
        return false;
    if (!std::exchange(m_hasLeftOut, true))
        kTrace(eOversized,
               QStringLiteral("%1 is not published, and perhaps more: ").arg(change.path.left(200)) +
                   (isTooMany ? QStringLiteral("there are too many items")
                              : QStringLiteral("its path is too long")));
    return true;
}

/// Mirrors keep what such a value had before, so that all the rest can go on; told once until it fits again.
bool BranchOwner::isOversized(const Change& change, std::size_t size)
{
    if (size <= Limits::kValueBytes || IsCollection(change.type)) {
        m_oversized.remove(change.path);
        return false;
    }
    if (!m_oversized.contains(change.path))
        kTrace(eOversized,
               QStringLiteral("%1 is not published: %2 bytes are too many, %3 may be")
                   .arg(change.path, QString::number(size), QString::number(Limits::kValueBytes)));
    m_oversized.insert(change.path);
    return true;
}

/// Makes entries of changes, one per channel. A wish's entry is made even if nothing has changed, since the
/// writer waits for it.
void BranchOwner::record(Changes changes, OwnerChannel* wishChannel, Entry wishEntry)
{
    std::map<OwnerChannel*, Entry> entries;
    if (wishChannel)
        entries[wishChannel] = std::move(wishEntry);
    for (Change& change : changes) {
        if (isBeyondLimits(change))
            continue;
        OwnerChannel& channel = channelFor(change);
        if (adopt(channel, change))
            entries[&channel].changes.push_back(std::move(change));
    }
    for (const auto& [channel, entry] : entries)
        channel->Append(entry);
}

void BranchOwner::takeLocal()
{
    Changes changes = m_tree.TakeChanges();
    if (!changes.empty())
        record(std::move(changes), nullptr, {});
}

void BranchOwner::takeWish(const Topic& topic, const WishMessage& wish, qint64 nowMs)
{
    OwnerChannel* const channel = find(wish.channel);
    if (!channel || !m_desk->Admits(*channel, topic, wish.number, nowMs))
        return;
    takeLocal();
    const WishDesk::Review review = m_desk->Look(topic, *channel, wish);
    IOwnedTree::Executed executed = m_desk->Execute(review, m_tree);
    QSet<QString> added;
    for (const Change& change : executed.changes) {
        if (change.operation == Operation::Add)
            added.insert(change.path);
    }
    record(std::move(executed.changes), channel, {topic.session, wish.number, executed.failures, {}});
    m_desk->NoteAuthor(*channel, review, added, nowMs);
    WishDesk::TellAll(review, wish, executed.failures, m_events.wishEnded);
}

void BranchOwner::takeAsk(const AskMessage& ask, qint64 nowMs)
{
    OwnerChannel* const channel = find(ask.channel);
    if (!channel)
        return;
    if (ask.from > channel->GetNewest()) {
        m_beatAtMs = std::min(m_beatAtMs, nowMs + kGatherAsksMs);
    } else if (ask.from == 0) {
        askState(*channel, nowMs);
    } else if (!channel->CanReplay(ask.from) || channel->IsDearerThanState(ask.from)) {
        publishLog(*channel, {EncodeLogHead(m_settings.epoch, ask.from, 0)}); // take the state instead
        askState(*channel, nowMs);
    } else {
        auto& asks = channel->asks;
        const bool waits = asks.replayAtMs != kNever;
        asks.replayFrom = waits ? std::min(asks.replayFrom, ask.from) : ask.from;
        asks.replayAtMs = waits ? asks.replayAtMs : nowMs + kGatherAsksMs;
    }
}

void BranchOwner::askState(OwnerChannel& channel, qint64 nowMs) const
{
    auto& asks = channel.asks;
    asks.stateAtMs =
        std::min(asks.stateAtMs, std::max(nowMs + kGatherAsksMs, asks.stateSaidMs + kStatePauseMs));
}

/// Whoever claims or denies this branch's life: the claim is said again. Nobody yields to a mere claim, which
/// a broker may have kept from an earlier life.
void BranchOwner::takeLive(const Bytes& payload, qint64 nowMs)
{
    const auto live = DecodeLive(payload);
    if (!live || live->epoch != m_settings.epoch || live->state != LiveState::Alive)
        m_liveAtMs = std::max(nowMs, m_liveSaidMs + kLivePauseMs);
}

/// Of two owners that beat, which bridged brokers make possible, the one with the greater epoch yields. The
/// last beats of a former life may still be on their way, so they must go on for a while.
void BranchOwner::takeForeignBeat(const QUuid& epoch, qint64 nowMs)
{
    if (epoch == m_settings.epoch)
        return;
    if (std::exchange(m_rival, epoch) != epoch)
        m_rivalSeenMs = nowMs;
    if (nowMs - m_rivalSeenMs >= m_settings.beatMs && epoch < m_settings.epoch)
        displace();
}

void BranchOwner::removeExpired(qint64 nowMs)
{
    Changes removals;
    for (const QString& path : m_desk->GetLeases().TakeExpired(nowMs))
        removals.push_back(RemoveChange(path));
    if (!removals.empty())
        record(m_tree.Execute(Writer(), removals).changes, nullptr, {});
}

Output BranchOwner::finish(qint64 nowMs)
{
    Output out = std::exchange(m_out, Output());
    if (!m_online || isSilent())
        return out;
    bool unsent = false;
    std::size_t unsentBytes = 0;
    out.wakeAtMs = std::min({m_beatAtMs, m_liveAtMs, m_desk->GetLeases().NextMs()});
    for (const auto& channel : m_channels) {
        unsent = unsent || channel.second->HasUnsent();
        unsentBytes += channel.second->GetUnsentBytes();
        out.wakeAtMs =
            std::min({out.wakeAtMs, channel.second->asks.replayAtMs, channel.second->asks.stateAtMs});
    }
    if (unsentBytes > kFlushBytes) {
        m_out = std::move(out);
        publishLogs();
        return finish(nowMs);
    }
    if (unsent)
        out.wakeAtMs = nowMs;
    return out;
}

} // namespace distribution
