#include <distribution/fieldreader.h>
#include <distribution/messages.h>

#include <libdeflate.h>

#include <utility>

namespace distribution {

using values::AppendInteger;
using values::AppendUuid;
using values::ByteReader;

namespace {

constexpr quint8 kMinorVersion = 0;
constexpr std::size_t kUnitBytes = 3; ///< that a unit of UTF-16 makes at most

/// How changes name their items: writers do not know the identifier of what they have just made.
enum class Naming { ById, ByPath };

Bytes headOf(MessageKind kind, const QUuid& epoch)
{
    Bytes out;
    AppendInteger(out, kind);
    AppendInteger(out, kMinorVersion);
    AppendUuid(out, epoch);
    return out;
}

void appendBlock(Bytes& out, const Bytes& bytes)
{
    AppendInteger(out, static_cast<quint32>(bytes.size()));
    out += bytes;
}

void appendShort(Bytes& out, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    AppendInteger(out, static_cast<quint32>(bytes.size()));
    out.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

void appendFailure(Bytes& out, const Failure& failure)
{
    AppendInteger(out, failure.index);
    AppendInteger(out, failure.result);
    appendShort(out, failure.reason.left(FieldReader::kReasonUnits));
}

void appendChange(Bytes& out, const Change& change, Naming naming)
{
    AppendInteger(out, change.operation);
    if (naming == Naming::ById)
        AppendInteger(out, change.id);
    if (naming == Naming::ByPath || change.operation == Operation::Add)
        appendShort(out, change.path);
    switch (change.operation) {
    case Operation::Add:
        AppendInteger(out, change.type);
        break;
    case Operation::Remove:
        return;
    case Operation::Set:
        if (naming == Naming::ByPath)
            AppendInteger(out, change.base);
        break;
    case Operation::Delta:
        AppendInteger(out, change.checksum);
        break;
    case Operation::Announce:
        AppendInteger(out, change.code);
        if (naming == Naming::ById)
            AppendInteger(out, static_cast<quint8>(change.byWish));
        return;
    case Operation::Commands:
    case Operation::Order:
        break;
    }
    appendBlock(out, BytesOf(change.content));
}

/// A reader behind the head, and the epoch in it.
FieldReader openMessage(const Bytes& bytes, MessageKind kind, QUuid& epoch)
{
    FieldReader in(ByteReader(bytes.data(), bytes.size()));
    if (in.Integer<quint8>() != static_cast<quint8>(kind) || bytes.size() > kLargestPayload)
        in.Refuse();
    in.Integer<quint8>(); // a newer minor version differs in what blocks have at their ends
    epoch = in.Uuid();
    return in;
}

template<class Message>
std::optional<Message> finished(const FieldReader& in, Message& message)
{
    if (!in.FitsExactly())
        return std::nullopt;
    return std::move(message);
}

void readAnnouncement(FieldReader& in, Naming naming, Change& change)
{
    change.code = in.Integer<qint32>();
    const auto byWish = naming == Naming::ById ? in.Integer<quint8>() : quint8(0);
    if (byWish > 1)
        in.Refuse();
    change.byWish = byWish == 1;
}

Change readChange(FieldReader& in, Naming naming)
{
    Change change;
    const auto operation = in.Integer<quint8>();
    if (operation < quint8(Operation::Add) || operation > quint8(Operation::Order))
        in.Refuse();
    change.operation = in.Fits() ? static_cast<Operation>(operation) : Operation::Remove;
    if (naming == Naming::ById && (change.id = in.Integer<quint32>()) == 0)
        in.Refuse();
    if (naming == Naming::ByPath || change.operation == Operation::Add)
        change.path = in.Path();
    switch (change.operation) {
    case Operation::Add:
        change.type = in.Integer<qint32>();
        break;
    case Operation::Remove:
        return change;
    case Operation::Set:
        if (naming == Naming::ByPath)
            change.base = in.Integer<quint64>();
        break;
    case Operation::Delta:
        if (naming == Naming::ByPath)
            in.Refuse();
        change.checksum = in.Integer<quint32>();
        break;
    case Operation::Announce:
        readAnnouncement(in, naming, change);
        return change;
    case Operation::Order:
        if (naming == Naming::ById)
            in.Refuse();
        break;
    case Operation::Commands:
        break;
    }
    change.content = in.ContentBlock();
    return change;
}

Changes readChanges(FieldReader& in, Naming naming)
{
    Changes changes;
    while (in.HasMore())
        changes.push_back(readChange(in, naming));
    return changes;
}

} // namespace

Bytes Encode(const LiveMessage& message)
{
    Bytes out = headOf(MessageKind::Live, message.epoch);
    AppendInteger(out, message.state);
    Bytes block;
    appendShort(block, message.host);
    AppendInteger(block, message.beatMs);
    AppendInteger(block, static_cast<quint16>(message.roots.size()));
    for (const QString& root : message.roots)
        appendShort(block, root);
    appendShort(block, message.sentinel);
    AppendInteger(block, static_cast<quint16>(message.channels.size()));
    for (const ChannelName& name : message.channels) {
        AppendInteger(block, name.channel);
        appendShort(block, name.path);
    }
    appendBlock(out, block);
    return out;
}

/// The epoch stands at the same place in every message, see headOf().
void ShiftEpoch(Bytes& message, quint32 generation)
{
    constexpr std::size_t kEpochEnd = 2 + 16;
    if (message.size() < kEpochEnd)
        return;
    for (std::size_t i = 0; i < sizeof generation; ++i)
        message[kEpochEnd - 1 - i] ^= static_cast<char>(generation >> (8U * static_cast<unsigned>(i)));
}

std::optional<LiveMessage> DecodeLive(const Bytes& bytes)
{
    LiveMessage message;
    FieldReader in = openMessage(bytes, MessageKind::Live, message.epoch);
    const auto state = in.Integer<quint8>();
    if (state > quint8(LiveState::Withdrawn))
        in.Refuse();
    message.state = in.Fits() ? static_cast<LiveState>(state) : LiveState::Dead;
    FieldReader block(in.Block());
    message.host = block.ShortText(Limits::kPathBytes);
    message.beatMs = block.Integer<quint32>();
    for (std::size_t roots = block.Count<quint16>(4, 1000); roots > 0 && block.Fits(); --roots)
        message.roots.append(block.Path());
    message.sentinel = block.ShortText(Limits::kPathBytes);
    for (std::size_t channels = block.Count<quint16>(6, 65535); channels > 0 && block.Fits(); --channels) {
        const auto channel = block.Integer<quint16>();
        message.channels.push_back({channel, block.ShortText(Limits::kPathBytes)});
    }
    if (!block.Fits() || message.beatMs == 0)
        in.Refuse();
    return finished(in, message);
}

Bytes Encode(const BeatMessage& message)
{
    Bytes out = headOf(MessageKind::Beat, message.epoch);
    AppendInteger(out, static_cast<quint16>(message.numbers.size()));
    for (const ChannelNumber& number : message.numbers) {
        AppendInteger(out, number.channel);
        AppendInteger(out, number.number);
    }
    return out;
}

std::optional<BeatMessage> DecodeBeat(const Bytes& bytes)
{
    BeatMessage message;
    FieldReader in = openMessage(bytes, MessageKind::Beat, message.epoch);
    for (std::size_t count = in.Count<quint16>(10, 65535); count > 0; --count) {
        const auto channel = in.Integer<quint16>();
        message.numbers.push_back({channel, in.Integer<quint64>()});
    }
    return finished(in, message);
}

Bytes EncodeLogHead(const QUuid& epoch, quint64 first, quint32 count)
{
    Bytes out = headOf(MessageKind::Log, epoch);
    AppendInteger(out, first);
    AppendInteger(out, count);
    return out;
}

std::optional<LogMessage> DecodeLog(const Bytes& bytes)
{
    LogMessage message;
    FieldReader in = openMessage(bytes, MessageKind::Log, message.epoch);
    message.first = in.Integer<quint64>();
    message.count = in.Integer<quint32>();
    if (message.first == 0 || (message.count == 0 && in.HasMore()))
        in.Refuse();
    // Cut into entries now, so that a message is used whole or not at all.
    message.entries = in.Rest();
    for (quint32 i = 0; i < message.count && in.Fits(); ++i)
        in.Block();
    return finished(in, message);
}

Bytes EncodeEntry(const Entry& entry)
{
    Bytes out;
    AppendInteger(out, quint32(0));
    AppendUuid(out, entry.session);
    AppendInteger(out, entry.wish);
    AppendInteger(out, static_cast<quint32>(entry.failures.size()));
    for (const Failure& failure : entry.failures)
        appendFailure(out, failure);
    for (const Change& change : entry.changes)
        appendChange(out, change, Naming::ById);
    values::PatchUInt32(out, 0, static_cast<quint32>(out.size() - sizeof(quint32)));
    return out;
}

std::optional<Entry> DecodeEntry(ByteReader& in)
{
    FieldReader message(in);
    FieldReader fields(message.Block());
    in = message.Rest();
    Entry entry;
    entry.session = fields.Uuid();
    entry.wish = fields.Integer<quint64>();
    for (std::size_t count = fields.Count<quint32>(9, Limits::kItems); count > 0 && fields.Fits(); --count)
        entry.failures.push_back(fields.ReadFailure(false));
    entry.changes = readChanges(fields, Naming::ById);
    return finished(fields, entry);
}

Bytes Encode(const StatePart& part)
{
    Bytes out = headOf(MessageKind::State, part.epoch);
    AppendInteger(out, part.number);
    AppendInteger(out, part.part);
    AppendInteger(out, part.parts);
    AppendInteger(out, static_cast<quint8>(part.packed));
    AppendInteger(out, part.wholeBytes);
    AppendInteger(out, part.checksum);
    out.append(part.bytes.Position(), part.bytes.Remaining());
    return out;
}

std::optional<StatePart> DecodeStatePart(const Bytes& bytes)
{
    StatePart part;
    FieldReader in = openMessage(bytes, MessageKind::State, part.epoch);
    part.number = in.Integer<quint64>();
    part.part = in.Integer<quint16>();
    part.parts = in.Integer<quint16>();
    const auto packed = in.Integer<quint8>();
    part.packed = packed == 1;
    part.wholeBytes = in.Integer<quint32>();
    part.checksum = in.Integer<quint32>();
    part.bytes = in.Rest();
    if (!in.Fits() || part.part >= part.parts || packed > 1)
        return std::nullopt;
    return part;
}

Bytes Encode(const WishMessage& message)
{
    Bytes out = headOf(MessageKind::Wish, message.epoch);
    AppendInteger(out, message.channel);
    AppendInteger(out, message.number);
    for (const Change& change : message.changes)
        appendChange(out, change, Naming::ByPath);
    return out;
}

std::optional<WishMessage> DecodeWish(const Bytes& bytes)
{
    WishMessage message;
    FieldReader in = openMessage(bytes, MessageKind::Wish, message.epoch);
    message.channel = in.Integer<quint16>();
    message.number = in.Integer<quint64>();
    if (message.number == 0)
        in.Refuse();
    message.changes = readChanges(in, Naming::ByPath);
    if (message.changes.size() > Limits::kWishChanges)
        in.Refuse();
    return finished(in, message);
}

Bytes Encode(const AskMessage& message)
{
    Bytes out = headOf(MessageKind::Ask, message.epoch);
    AppendInteger(out, message.channel);
    AppendInteger(out, message.from);
    return out;
}

std::optional<AskMessage> DecodeAsk(const Bytes& bytes)
{
    AskMessage message;
    FieldReader in = openMessage(bytes, MessageKind::Ask, message.epoch);
    message.channel = in.Integer<quint16>();
    message.from = in.Integer<quint64>();
    return finished(in, message);
}

Bytes Encode(const PresenceMessage& message)
{
    Bytes out = headOf(MessageKind::Presence, QUuid());
    appendShort(out, message.host);
    appendShort(out, message.program);
    return out;
}

std::optional<PresenceMessage> DecodePresence(const Bytes& bytes)
{
    PresenceMessage message;
    QUuid none;
    FieldReader in = openMessage(bytes, MessageKind::Presence, none);
    message.host = in.ShortText(Limits::kPathBytes);
    message.program = in.ShortText(Limits::kPathBytes);
    return finished(in, message);
}

Bytes EncodeSnapshot(const Snapshot& snapshot)
{
    Bytes out;
    out.reserve(SizeBound(snapshot));
    AppendInteger(out, static_cast<quint32>(snapshot.sessions.size()));
    for (const SessionNumber& session : snapshot.sessions) {
        AppendUuid(out, session.session);
        AppendInteger(out, session.wish);
        AppendInteger(out, static_cast<quint32>(session.failures.size()));
        for (const auto& [wish, failure] : session.failures) {
            AppendInteger(out, wish);
            appendFailure(out, failure);
        }
    }
    AppendInteger(out, static_cast<quint32>(snapshot.items.size()));
    for (const SnapshotItem& item : snapshot.items) {
        AppendInteger(out, item.id);
        appendShort(out, item.path);
        AppendInteger(out, item.type);
        appendBlock(out, BytesOf(item.content));
    }
    return out;
}

std::size_t BoundOf(const Change& change)
{
    return 100 + kUnitBytes * static_cast<std::size_t>(change.path.size()) + BytesOf(change.content).size();
}

std::size_t SizeBound(const Snapshot& snapshot)
{
    std::size_t size = 2 * sizeof(quint32);
    for (const SessionNumber& session : snapshot.sessions) {
        size += 28;
        for (const auto& failure : session.failures)
            size += 17 + kUnitBytes * static_cast<std::size_t>(failure.second.reason.size());
    }
    for (const SnapshotItem& item : snapshot.items)
        size += 16 + kUnitBytes * static_cast<std::size_t>(item.path.size()) + BytesOf(item.content).size();
    return size;
}

std::optional<Snapshot> DecodeSnapshot(const Bytes& bytes)
{
    Snapshot snapshot;
    FieldReader in(ByteReader(bytes.data(), bytes.size()));
    for (std::size_t count = in.Count<quint32>(28, Limits::kSessions); count > 0 && in.Fits(); --count) {
        SessionNumber session;
        session.session = in.Uuid();
        session.wish = in.Integer<quint64>();
        for (std::size_t failures = in.Count<quint32>(17, Limits::kItems); failures > 0 && in.Fits();
             --failures) {
            const auto wish = in.Integer<quint64>();
            session.failures.emplace_back(wish, in.ReadFailure(true));
        }
        snapshot.sessions.push_back(std::move(session));
    }
    quint32 lastId = 0;
    const std::size_t items = in.Count<quint32>(16, Limits::kItems);
    snapshot.items.reserve(items);
    for (std::size_t i = 0; i < items && in.Fits(); ++i) {
        SnapshotItem item;
        item.id = in.Integer<quint32>();
        item.path = in.Path();
        item.type = in.Integer<qint32>();
        item.content = in.ContentBlock();
        if (item.id <= std::exchange(lastId, item.id))
            in.Refuse();
        snapshot.items.push_back(std::move(item));
    }
    return finished(in, snapshot);
}

std::optional<MessageKind> KindOf(const Bytes& bytes)
{
    if (bytes.empty() || bytes[0] < char(MessageKind::Live) || bytes[0] > char(MessageKind::Presence))
        return std::nullopt;
    return static_cast<MessageKind>(bytes[0]);
}

quint32 Checksum(const Bytes& bytes)
{
    return libdeflate_crc32(0, bytes.data(), bytes.size());
}

} // namespace distribution
