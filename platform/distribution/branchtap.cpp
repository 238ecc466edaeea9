#include <distribution/branchtap.h>

#include <distribution/branchmirror.h>

#include <algorithm>

namespace distribution {

namespace {

constexpr std::size_t kMostSent = 10000; ///< wishes whose times are known

QString collectionOf(const BranchMirror& mirror, quint16 channel)
{
    const auto& names = mirror.GetOwner().channels;
    const auto found = std::find_if(names.begin(), names.end(),
                                    [channel](const ChannelName& name) { return name.channel == channel; });
    return found == names.end() ? QString() : found->path;
}

/// The changes of entries with their paths, which those that add items name for the ones behind them.
class PathFiller
{
public:
    PathFiller(const BranchMirror& mirror, quint16 channel) : m_mirror(mirror), m_channel(channel) {}

    void Fill(Change& change)
    {
        if (change.operation == Operation::Add)
            m_added.insert(change.id, change.path);
        else if (change.path.isEmpty())
            change.path = m_added.contains(change.id) ? m_added.value(change.id)
                                                      : m_mirror.PathOf(m_channel, change.id);
    }

private:
    const BranchMirror& m_mirror;
    const quint16 m_channel;
    QHash<quint32, QString> m_added;
};

void take(BranchMessage& message, Changes changes)
{
    message.changeCount += changes.size();
    for (Change& change : changes) {
        if (message.changes.size() == BranchMessage::kMostChanges)
            return;
        message.changes.push_back(std::move(change));
    }
}

} // namespace

bool BranchTap::IsIdle()
{
    const auto isGone = [](const Reader& reader) { return reader.context.isNull(); };
    m_readers.erase(std::remove_if(m_readers.begin(), m_readers.end(), isGone), m_readers.end());
    return m_readers.empty();
}

void BranchTap::OnReceived(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    tell(received(topic, payload, nowMs), payload.size());
}

void BranchTap::OnSent(const Bytes& payload, qint64 nowMs)
{
    tell(sent(payload, nowMs), payload.size());
}

std::optional<BranchMessage> BranchTap::received(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    if (topic.kind == TopicKind::Log)
        return entries(topic, payload, nowMs);
    BranchMessage message;
    if (topic.kind == TopicKind::Live) {
        const auto live = payload.empty() ? std::nullopt : DecodeLive(payload);
        message.kind = BranchMessage::Kind::Claim;
        message.live = live ? live->state : LiveState::Withdrawn;
        return live || payload.empty() ? std::make_optional(message) : std::nullopt;
    }
    const auto part =
        topic.kind == TopicKind::State && !payload.empty() ? DecodeStatePart(payload) : std::nullopt;
    if (!part)
        return std::nullopt;
    message.kind = BranchMessage::Kind::State;
    message.collection = collectionOf(m_mirror, topic.channel);
    message.number = part->number;
    message.part = part->part;
    message.count = part->parts;
    return message;
}

std::optional<BranchMessage> BranchTap::entries(const Topic& topic, const Bytes& payload, qint64 nowMs)
{
    auto log = DecodeLog(payload);
    if (!log)
        return std::nullopt;
    BranchMessage message;
    message.kind = BranchMessage::Kind::Entries;
    message.collection = collectionOf(m_mirror, topic.channel);
    message.number = log->first;
    message.count = log->count;
    PathFiller paths(m_mirror, topic.channel);
    for (quint32 i = 0; i < log->count; ++i) {
        auto entry = DecodeEntry(log->entries);
        if (!entry)
            break;
        for (Change& change : entry->changes)
            paths.Fill(change);
        take(message, std::move(entry->changes));
        if (entry->session != m_session)
            continue;
        for (const Failure& failure : entry->failures)
            message.reasons.push_back(failure.reason);
        const auto sent = m_sentMs.find({topic.channel, entry->wish});
        if (sent == m_sentMs.end())
            continue;
        message.tookMs = nowMs - sent->second;
        m_sentMs.erase(sent);
    }
    return message;
}

std::optional<BranchMessage> BranchTap::sent(const Bytes& payload, qint64 nowMs)
{
    BranchMessage message;
    message.isSent = true;
    if (auto wish = DecodeWish(payload)) {
        message.kind = BranchMessage::Kind::Wish;
        message.collection = collectionOf(m_mirror, wish->channel);
        message.number = wish->number;
        if (wish->epoch != std::exchange(m_epoch, wish->epoch) || m_sentMs.size() >= kMostSent)
            m_sentMs.clear();
        m_sentMs.insert({{wish->channel, wish->number}, nowMs}); // the first time, if it is sent again
        take(message, std::move(wish->changes));
        return message;
    }
    const auto ask = DecodeAsk(payload);
    if (!ask)
        return std::nullopt;
    message.kind =
        ask->from == AskMessage::kNothing ? BranchMessage::Kind::AskBeat : BranchMessage::Kind::Ask;
    message.collection = collectionOf(m_mirror, ask->channel);
    message.number = ask->from;
    return message;
}

/// A reader may go, or another one come, while it is told.
void BranchTap::tell(std::optional<BranchMessage> message, std::size_t bytes)
{
    if (!message)
        return;
    message->bytes = bytes;
    const auto readers = m_readers;
    for (const Reader& reader : readers) {
        if (reader.context)
            reader.read(*message);
    }
}

} // namespace distribution
