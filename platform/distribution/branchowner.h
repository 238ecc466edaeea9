#pragma once

#include <distribution/defaults.h>
#include <distribution/export.h>
#include <distribution/output.h>
#include <distribution/topics.h>
#include <distribution/writepolicy.h>

#include <startup/throttledtrace.h>

#include <QSet>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace distribution {

class OwnerChannel;
class WishDesk;

/// The tree of a branch as its owner needs it. Paths are those of the tree; contents are as in messages.h.
class KOLTA_DISTRIBUTION_EXPORT IOwnedTree
{
public:
    virtual ~IOwnedTree() = default;
    /// What has happened below the roots since the last call, other than in Execute(), in its order. Each
    /// item that is removed has a Remove of its own, those below first.
    virtual Changes TakeChanges() = 0;
    struct Executed
    {
        /// All that happened meanwhile, in its order: the wish's own changes and what observers did in
        /// reaction. A wish's own announcements are marked (Change::byWish). A change without effect leaves
        /// none.
        Changes changes;
        Failures failures; ///< what could not be done
    };
    /// Makes the changes in their order with an originator that stands for `writer`, who is told of the rest
    /// only by the log. What observers throw is traced and stops nothing.
    virtual Executed Execute(const Writer& writer, const Changes& changes) = 0;
    /// Commands that fill an empty collection with the content that the one at `path` has now; null when
    /// there is none.
    virtual Content ReadCollection(const QString& path) = 0;
};

struct KOLTA_DISTRIBUTION_EXPORT OwnerSettings
{
    QUuid epoch = QUuid::createUuid(); ///< of this life of the owner
    QString branch;
    QString host;
    QStringList roots;
    QString sentinel; ///< path of the value whose existence says that the owner lives; may be empty
    qint64 beatMs = Defaults::kBeatMs;
    qint64 graceMs = Defaults::kGraceMs;        ///< for which a vanished writer's items stay
    std::size_t logBytes = Defaults::kLogBytes; ///< of entries kept for replays, per channel
};

/// What happened to the publication, for those who show or report it.
struct KOLTA_DISTRIBUTION_EXPORT OwnerEvents
{
    std::function<void()> displaced; ///< another owner has taken the name; nothing is published any more
    /// What came of one change that somebody wished for; the failure's result is Executed when nothing
    /// failed.
    std::function<void(const Writer& writer, const Change& change, const Failure& failure)> wishEnded;
};

/// Owner of one branch: puts all its changes in order, its own and those that writers wish for, and publishes
/// them as numbered logs, one per channel. All nodes and plain values are channel 0, each collection is a
/// channel of its own, for as long as the epoch lasts.
///
/// It has no clock and does no input or output: who owns it hands in events with the time, in milliseconds of
/// a clock that only rises (and goes on while the machine sleeps), and does what the output says. Never
/// called from within IOwnedTree. One thread, that of the tree.
class KOLTA_DISTRIBUTION_EXPORT BranchOwner
{
public:
    /// `tree` is not owned. Its content, collections included, is given by `initial`: Add changes, parents
    /// first.
    BranchOwner(OwnerSettings settings, const Topics& topics, IOwnedTree& tree,
                std::unique_ptr<IWritePolicy> policy, Changes initial);
    ~BranchOwner();

    /// For ICarrier::Open(), with OwnerClientId().
    Will GetWill() const;

    /// The connection is up. `maximumPayload` in bytes.
    Output OnUp(std::size_t maximumPayload, qint64 nowMs);
    /// The connection is down. After DownReason::Displaced the owner stays silent for good.
    Output OnDown(DownReason reason, qint64 nowMs);
    /// A message of the own branch, or of a writer's presence.
    Output OnMessage(const Topic& topic, const Bytes& payload, qint64 nowMs);
    /// A turn of the event loop in which the tree changed has ended, or the time of Output::wakeAtMs has
    /// come.
    Output OnTime(qint64 nowMs);
    /// Leaves: everything is removed from the mirrors and from the broker. Nothing but ICarrier::Close() is
    /// to follow. The tree stays as it is.
    Output Withdraw(qint64 nowMs);

    bool IsDisplaced() const noexcept { return m_displaced; }
    const QUuid& GetEpoch() const noexcept { return m_settings.epoch; }
    /// Numbers of the newest entries.
    std::vector<ChannelNumber> GetNumbers() const;
    /// The channel as a joiner gets it now, for tests and diagnosis; empty for an unknown one.
    Snapshot GetSnapshot(quint16 channel);

    void SetEvents(OwnerEvents events) { m_events = std::move(events); }

    BranchOwner(const BranchOwner&) = delete;
    BranchOwner& operator=(const BranchOwner&) = delete;

private:
    using Channels = std::map<quint16, std::unique_ptr<OwnerChannel>>;

    OwnerChannel* find(quint16 channel) const;
    OwnerChannel& channelFor(const Change& change);
    Content contentOf(const OwnerChannel& channel) const;
    bool adopt(OwnerChannel& channel, Change& change);
    bool isBeyondLimits(const Change& change);
    bool isOversized(const Change& change, std::size_t size);
    void record(Changes changes, OwnerChannel* wishChannel, Entry wishEntry);
    void takeLocal();
    void takeWish(const Topic& topic, const WishMessage& wish, qint64 nowMs);
    void takeAsk(const AskMessage& ask, qint64 nowMs);
    void askState(OwnerChannel& channel, qint64 nowMs) const;
    void takeLive(const Bytes& payload, qint64 nowMs);
    void takeForeignBeat(const QUuid& epoch, qint64 nowMs);
    void displace();
    void removeExpired(qint64 nowMs);
    LiveMessage liveMessage(LiveState state) const;
    void publishLive(LiveState state);
    void publishBeat(qint64 nowMs);
    void publishLogs();
    void publishAnswers(OwnerChannel& channel, qint64 nowMs);
    void publishLog(const OwnerChannel& channel, std::vector<Bytes> messages);
    Output finish(qint64 nowMs);
    bool isSilent() const noexcept { return m_displaced || m_withdrawn; }

    OwnerSettings m_settings;
    Topics m_topics;
    IOwnedTree& m_tree;
    OwnerEvents m_events;
    Channels m_channels;
    std::map<QString, quint16> m_collections; ///< channel by path
    std::unique_ptr<WishDesk> m_desk;
    QSet<QString> m_oversized; ///< paths of values whose content is too large to be published
    Startup::ThrottledTrace m_complaints;
    Output m_out;
    std::size_t m_maximumPayload = 0;
    quint32 m_lastId = 0;
    qint64 m_beatAtMs = kNever;
    qint64 m_liveAtMs = kNever; ///< the claim of life is to be said again
    qint64 m_liveSaidMs = 0;
    QUuid m_rival;            ///< epoch of a foreign owner that beats
    qint64 m_rivalSeenMs = 0; ///< time of its first beat
    bool m_online = false;
    bool m_displaced = false;
    bool m_withdrawn = false;
    bool m_hasLeftOut = false;
};

} // namespace distribution
