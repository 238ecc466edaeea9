#pragma once

#include <distribution/carrier.h>
#include <distribution/defaults.h>
#include <distribution/export.h>

#include <values/bytestream.h>
#include <values/command.h>
#include <values/lifetime.h>
#include <values/observable.h>
#include <values/utf8.h>

#include <QString>
#include <QStringList>
#include <QUuid>

#include <limits>
#include <memory>
#include <optional>
#include <vector>

/// \file
/// The messages of a distributed branch and their bytes; docs/distribution.md describes them for peers in any
/// language. Readers refuse what does not fit exactly, and nothing of a refused message is used.

namespace distribution {

/// Content of a value as it is transmitted, shared between the tables, rings and messages of one process.
/// Null counts as empty. A string value's is its UTF-8 text (a lone surrogate as three bytes), a selection's
/// `i32` selected key, `u32` count and { `i32` key, `u32` bytes and UTF-8 }, a collection's the commands that
/// fill an empty one; a node has none.
using Content = std::shared_ptr<const Bytes>;
inline const Bytes& BytesOf(const Content& content)
{
    static const Bytes empty;
    return content ? *content : empty;
}
inline Content MakeContent(Bytes bytes)
{
    return std::make_shared<Bytes>(std::move(bytes));
}

/// Values of other types than these are collections, which are changed by commands.
inline bool IsCollection(qint32 type)
{
    return type != 0 && type != values::eTypeString && type != values::eTypeSelection;
}

/// What happens to an item. The numbers travel.
enum class Operation : quint8 {
    Add = 1,
    Remove = 2,
    Set = 3,
    Delta = 4,
    Announce = 5,
    Commands = 6,
    Order = 7
};

struct TextEdit;

/// One change of one item. Which members mean something:
/// path: everywhere in a program; it travels in wishes and with Add only, otherwise the owner's `id` does;
/// type: Add (0: a node without a value); code: Announce;
/// content: Add, Set, Order, Commands (command after command), Delta (runs, see textdelta.h);
/// checksum: Delta, CRC-32 of the resulting content;
/// compare, scope, author: only in a program, of its own changes: see below.
struct Change
{
    Operation operation = Operation::Set;
    quint32 id = 0; ///< given by the owner, from 1, for the epoch
    QString path;
    qint32 type = 0;
    qint32 code = 0;
    quint32 checksum = 0;
    /// Set in a wish: the channel's number at which the writer saw the value, 0 when it does not care.
    quint64 base = 0;
    /// Announce in the log: it is what the wish asked for, not what the owner did by itself; the writer does
    /// not announce it twice.
    bool byWish = false;
    Content content;
    /// In a mirror, of a Delta that was resolved: the part that it replaces, instead of a content.
    std::shared_ptr<TextEdit> edit;
    /// In an owner's program, of a Set: a large text that is not in bytes yet, instead of a content.
    QString text;

    /// Set by a program that writes back what it has read: refused when the value has changed meanwhile.
    bool compare = false;
    /// Commands by a program: what they write.
    values::CommandScope scope;
    /// Who is told what becomes of it, an IWishAuthor; null: nobody.
    values::Weak<IObserver> author;
};
using Changes = std::vector<Change>;

KOLTA_DISTRIBUTION_EXPORT Change AddChange(const QString& path, qint32 type, Content content);
KOLTA_DISTRIBUTION_EXPORT Change RemoveChange(const QString& path);
KOLTA_DISTRIBUTION_EXPORT Change SetChange(const QString& path, Content content, bool compare = false);
/// Only in a wish: Set, or Announce with code eChangeValue where the owner has that content already.
KOLTA_DISTRIBUTION_EXPORT Change OrderChange(const QString& path, Content content);
KOLTA_DISTRIBUTION_EXPORT Change AnnounceChange(const QString& path, qint32 code, bool byWish = false);
KOLTA_DISTRIBUTION_EXPORT Change CommandsChange(const QString& path, Content commands,
                                                values::CommandScope scope = {});

/// What became of a change that was wished for. The numbers of the first three travel.
enum class WishResult : quint8 {
    Executed = 0,
    Refused = 1,   ///< without rights, or it cannot be done
    Conflict = 2,  ///< the value had changed since the writer saw it
    TooLate = 3,   ///< it did not leave in time and was never executed
    Unknown = 4,   ///< it left, but the owner's answer did not come in time
    Restarted = 5, ///< the owner's epoch ended before an answer
    Overflow = 6   ///< too much waits already
};

/// A change of a wish that was not executed.
struct Failure
{
    /// Instead of an index, in tables: of each change of this wish and of all before it nobody knows any more
    /// whether it has failed.
    static constexpr quint32 kEveryChange = 0xFFFFFFFF;

    quint32 index = 0; ///< in the wish, from 0
    WishResult result = WishResult::Refused;
    QString reason;
};
using Failures = std::vector<Failure>;

/// First byte of each message.
enum class MessageKind : quint8 { Live = 1, Beat = 2, Log = 3, State = 4, Wish = 5, Ask = 6, Presence = 7 };

/// How an owner stands to its branch.
enum class LiveState : quint8 { Dead = 0, Alive = 1, Withdrawn = 2 };

/// One collection's channel; channel 0 carries all nodes and plain values and has no path.
struct ChannelName
{
    quint16 channel = 0;
    QString path;
};
/// An owner's claim of life, or the broker's of its death. It proves nothing; a beat does.
struct LiveMessage
{
    QUuid epoch;
    LiveState state = LiveState::Alive;
    QString host;
    quint32 beatMs = Defaults::kBeatMs;
    QStringList roots; ///< paths below which the branch has its items
    QString sentinel;  ///< path of the value that goes first and comes last; empty: none
    std::vector<ChannelName> channels;
};

struct ChannelNumber
{
    quint16 channel = 0;
    quint64 number = 0; ///< of the newest entry
};
/// Sign of life with the numbers of all channels.
struct BeatMessage
{
    QUuid epoch;
    std::vector<ChannelNumber> numbers;
};

/// What happened in one step: a wish with all that the owner's observers did in reaction, or one turn of the
/// owner's event loop.
struct Entry
{
    QUuid session; ///< of the writer; null: the owner itself
    quint64 wish = 0;
    Failures failures; ///< of the wish
    Changes changes;
};
/// Entries `first` to `first` + `count` - 1, still encoded in `entries`. Without any the entry `first` was
/// too large to be sent, and only a state contains it.
struct LogMessage
{
    QUuid epoch;
    quint64 first = 0;
    quint32 count = 0;
    values::ByteReader entries{nullptr, 0}; ///< in the message's bytes, which are not owned
};

/// One part of a state.
struct StatePart
{
    QUuid epoch;
    quint64 number = 0; ///< of the last entry that the state contains
    quint16 part = 0;
    quint16 parts = 1;
    bool packed = false;    ///< the whole is packed, in zlib's format
    quint32 wholeBytes = 0; ///< of all parts, unpacked
    quint32 checksum = 0;   ///< CRC-32 of the whole, unpacked
    values::ByteReader bytes{nullptr, 0};
};

/// A writer's changes that are to be executed together.
struct WishMessage
{
    QUuid epoch; ///< that the writer follows
    quint16 channel = 0;
    quint64 number = 0; ///< within epoch, session and channel, from 1
    Changes changes;    ///< may be empty: then it only takes its number
};

/// Asks for the entries from a number on, or for the state.
struct AskMessage
{
    QUuid epoch;
    quint16 channel = 0;
    /// Behind the last number of all, for who asks only for a sign of life.
    static constexpr quint64 kNothing = std::numeric_limits<quint64>::max();
    quint64 from = 0; ///< 0: the state
};

/// Who writes under a session.
struct PresenceMessage
{
    QString host;
    QString program;
};

/// How far the wishes of a session have been dealt with in a channel.
struct SessionNumber
{
    QUuid session;
    quint64 wish = 0;                                  ///< the last one
    std::vector<std::pair<quint64, Failure>> failures; ///< among the last 1,000 wishes, by wish number
};
struct SnapshotItem
{
    quint32 id = 0;
    QString path;
    qint32 type = 0;
    Content content;
};
/// A channel's whole content: parents before children, siblings in their order.
struct Snapshot
{
    std::vector<SessionNumber> sessions;
    std::vector<SnapshotItem> items;
};

/// Larger numbers from outside are refused.
struct KOLTA_DISTRIBUTION_EXPORT Limits
{
    static constexpr std::size_t kPathBytes = 4096;
    static constexpr std::size_t kValueBytes = 32U << 20U;    ///< content of a plain value
    static constexpr std::size_t kItems = 100000;             ///< of a channel
    static constexpr std::size_t kCollections = 10000;        ///< that a branch has ever had
    static constexpr std::size_t kSessions = 1000;            ///< of a table
    static constexpr std::size_t kWishChanges = 1000;         ///< of one wish
    static constexpr std::size_t kFailureBytes = 256U << 10U; ///< of a session's failures in a table, about
    static constexpr std::size_t kTableFailureBytes = 8U << 20U; ///< of those of all sessions, about
    static constexpr quint64 kOpenWishes = 1000;                 ///< of a session and channel on their way
    static constexpr std::size_t kSmallContent = 1024;           ///< up to so many bytes no delta is tried
};

/// No less than the bytes that a change takes in a wish.
KOLTA_DISTRIBUTION_EXPORT std::size_t BoundOf(const Change& change);
KOLTA_DISTRIBUTION_EXPORT Bytes Encode(const LiveMessage& message);
KOLTA_DISTRIBUTION_EXPORT Bytes Encode(const BeatMessage& message);
KOLTA_DISTRIBUTION_EXPORT Bytes Encode(const WishMessage& message);
KOLTA_DISTRIBUTION_EXPORT Bytes Encode(const AskMessage& message);
KOLTA_DISTRIBUTION_EXPORT Bytes Encode(const PresenceMessage& message);
/// An entry as the log and the owner's ring have it.
KOLTA_DISTRIBUTION_EXPORT Bytes EncodeEntry(const Entry& entry);
/// Head of a log message; encoded entries are appended to it.
KOLTA_DISTRIBUTION_EXPORT Bytes EncodeLogHead(const QUuid& epoch, quint64 first, quint32 count);
/// `part.bytes` are copied.
KOLTA_DISTRIBUTION_EXPORT Bytes Encode(const StatePart& part);
KOLTA_DISTRIBUTION_EXPORT Bytes EncodeSnapshot(const Snapshot& snapshot);
/// No less than the bytes that EncodeSnapshot() makes.
KOLTA_DISTRIBUTION_EXPORT std::size_t SizeBound(const Snapshot& snapshot);

/// Makes an encoded message one of another epoch: of a different one for each generation, of its own for 0.
void ShiftEpoch(Bytes& message, quint32 generation);

KOLTA_DISTRIBUTION_EXPORT std::optional<LiveMessage> DecodeLive(const Bytes& bytes);
KOLTA_DISTRIBUTION_EXPORT std::optional<BeatMessage> DecodeBeat(const Bytes& bytes);
KOLTA_DISTRIBUTION_EXPORT std::optional<LogMessage> DecodeLog(const Bytes& bytes);
KOLTA_DISTRIBUTION_EXPORT std::optional<StatePart> DecodeStatePart(const Bytes& bytes);
KOLTA_DISTRIBUTION_EXPORT std::optional<WishMessage> DecodeWish(const Bytes& bytes);
KOLTA_DISTRIBUTION_EXPORT std::optional<AskMessage> DecodeAsk(const Bytes& bytes);
KOLTA_DISTRIBUTION_EXPORT std::optional<PresenceMessage> DecodePresence(const Bytes& bytes);
/// Reads the next entry of a log message.
KOLTA_DISTRIBUTION_EXPORT std::optional<Entry> DecodeEntry(values::ByteReader& in);
KOLTA_DISTRIBUTION_EXPORT std::optional<Snapshot> DecodeSnapshot(const Bytes& bytes);

/// The kind that a message claims to be; nothing for an empty or foreign one.
KOLTA_DISTRIBUTION_EXPORT std::optional<MessageKind> KindOf(const Bytes& bytes);
KOLTA_DISTRIBUTION_EXPORT quint32 Checksum(const Bytes& bytes);

} // namespace distribution
