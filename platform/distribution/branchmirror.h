#pragma once

#include <distribution/defaults.h>
#include <distribution/export.h>
#include <distribution/output.h>
#include <distribution/topics.h>

#include <startup/throttledtrace.h>
#include <values/pendingchanges.h>

#include <QHash>
#include <QString>
#include <QUuid>

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace distribution {

class MirrorChannel;
struct FormerChannel;

/// How a mirror stands to its branch.
enum class BranchState {
    Unknown,   ///< no owner has been heard of
    Joining,   ///< an owner is followed, but not all of its content is here
    Live,      ///< the content is here and the owner beats
    Suspect,   ///< the owner was not heard of for a while; changes wait
    Lost,      ///< it is taken for dead; the content stays but for the sentinel, changes are refused
    Withdrawn, ///< it has left by itself and taken its content along
    Forbidden  ///< the broker does not let this user read the branch
};

/// A change by this program that was not executed. It has been undone here, or will be when the owner's
/// content has come: that of collections is asked for.
struct FailedWish
{
    WishResult result = WishResult::Refused;
    QString reason; ///< one line
    Change change;  ///< with the scope in which requests must end now
    Content valid;  ///< Conflict: the owner's content of the value
};

/// The tree of a branch as a mirror needs it. Whatever it is told to do it does with an originator of its
/// own, whose changes it does not take for those of the program. Observers are called, which may change
/// anything.
class KOLTA_DISTRIBUTION_EXPORT IMirroredTree
{
public:
    virtual ~IMirroredTree() = default;
    /// What the program has changed below the branch's roots since the last call, in its order; Commands with
    /// their scope.
    virtual Changes TakeChanges() = 0;
    /// Makes the tree as the change says: Add also sets what exists already, Remove may find nothing, Set may
    /// find the same. Only Add, Remove, Set and Announce of nodes and plain values, and Remove of
    /// collections.
    virtual void Apply(const Change& change) = 0;
    /// Replaces a part of a value's text. False, and nothing happens, when the value has another text: a Set
    /// of the whole follows then.
    virtual bool ApplySplice(const QString& path, const values::TextSplice& splice) = 0;
    /// Executes commands on a collection, but leaves alone the keys and requests of `own`, which have own
    /// changes on their way. Also called, without commands, when `own` has become smaller. False, and nothing
    /// happens, when they do not fit the collection: its state follows then.
    virtual bool ApplyCommands(const QString& path, const Bytes& commands,
                               const values::PendingChanges& own) = 0;
    /// Makes the collection, where it is missing, and gives it the content that `state` and after it each of
    /// `own` would leave in an empty one, as a difference. Requests that are open here and in neither of them
    /// end.
    virtual void ApplyState(const QString& path, qint32 type, const Bytes& state,
                            const std::vector<Content>& own) = 0;
    virtual void OnWishFailed(const FailedWish& wish) = 0;
    /// A change that has an author was executed, or nobody will hear what became of it (Unknown).
    virtual void OnAuthorsWish(const Change& /*change*/, WishResult /*result*/) {}
    virtual void OnStateChanged(BranchState state) = 0;
};

struct MirrorSettings
{
    QString branch;
    Bytes user;    ///< under which this process is known to the broker
    QUuid session; ///< of this life of this process
    bool collections = true;
    qint64 graceMs = Defaults::kGraceMs;
    qint64 deathGraceMs = Defaults::kDeathGraceMs;
    qint64 wishTimeoutMs = Defaults::kWishTimeoutMs;
    std::size_t stateBytes = Defaults::kStateBytes; ///< largest unpacked state and content
    QString refusal; ///< why no change of this program can be executed; empty: it can
};

/// A message that a mirror has heard, or would have to hear, at a time of its clock.
struct TimedMessage
{
    qint64 timeMs = 0;
    Bytes topic;
    Bytes payload;
};

/// Mirror of one branch of another process: follows its owner, repeats in the own tree what the owner's log
/// says, and sends the program's own changes to the owner as wishes. Own changes stay visible until the owner
/// has dealt with them; then the owner's content counts.
///
/// Like BranchOwner it has no clock and does no input or output. Its inputs are the messages of the topics of
/// Topics::MirrorFilters(), which its owner subscribes before OnUp(), and of those that its output asks for.
/// Never called from within IMirroredTree. One thread, that of the tree.
class KOLTA_DISTRIBUTION_EXPORT BranchMirror
{
public:
    /// `tree` is not owned.
    BranchMirror(MirrorSettings settings, const Topics& topics, IMirroredTree& tree);
    ~BranchMirror();

    /// The connection is up. `maximumPayload` in bytes.
    Output OnUp(std::size_t maximumPayload, qint64 nowMs);
    Output OnDown(qint64 nowMs);
    /// A message of the branch: live, beat, log or state.
    Output OnMessage(const Topic& topic, const Bytes& payload, qint64 nowMs);
    /// The broker has refused what was wished for since the line came up: none of it has reached the owner.
    /// For a while, or until the line comes up anew, changes are refused here for the same reason.
    Output OnRefused(const QString& reason, qint64 nowMs);
    /// The broker has refused to let the branch be read.
    Output OnForbidden(qint64 nowMs);
    /// A turn of the event loop in which the tree changed has ended, or the time of Output::wakeAtMs has
    /// come.
    Output OnTime(qint64 nowMs);

    /// The link ends: changes that are not answered yet have failed, or their outcome is unknown.
    void Abandon();
    /// This process takes the branch over: what its tree has counts, open changes included. Authors are told
    /// that nobody will hear what becomes of theirs.
    void HandOver();

    BranchState GetState() const noexcept { return m_state; }
    /// Owner that is followed; null: none.
    const QUuid& GetEpoch() const noexcept { return m_epoch; }
    /// What the owner has said of itself, as far as it has.
    const LiveMessage& GetOwner() const noexcept { return m_live; }
    /// Time of the followed owner's last beat; -1: none yet.
    qint64 GetLastBeatMs() const noexcept { return m_beatSeenMs; }
    /// Numbers of the last entries that have been applied.
    std::vector<ChannelNumber> GetNumbers() const;
    /// Own changes that the owner has not dealt with.
    std::size_t GetOpenWishes() const;
    /// From the latest own change that was sent and decided on to the entry that decided; -1 before the
    /// first.
    qint64 GetRoundTripMs() const noexcept { return m_roundTripMs; }
    /// Of the branch's content: the plain values and each collection. 0 until an owner has named them.
    int CountParts() const;
    /// Of these, the ones that are here as the owner is known to have them. The branch is live once all are;
    /// a collection that is too large for this program is not waited for.
    int CountJoinedParts() const;
    /// The owner's channel 0 as far as it is known here, in the form in which the owner gives it.
    Snapshot GetSnapshot() const;
    /// Of an item of the owner's; empty for one that is not here.
    QString PathOf(quint16 channel, quint32 id) const;
    /// What another mirror would have to hear at which times to be where this one is now: a claim of life,
    /// the states of all channels, the last beat, and a claim of death where there was one. `contentOf` gives
    /// collections' contents. What is longer ago than kLongestAgeMs is said to be as long ago as that.
    std::vector<TimedMessage> GetJoin(const std::function<Content(const QString& path)>& contentOf) const;
    static constexpr qint64 kLongestAgeMs = 3600 * 1000;
    /// Nothing that has come waits for something that has not.
    bool IsSettled() const;
    /// The roots of the branch, as far as they are known: where the tree's changes concern this mirror.
    const QStringList& GetRoots() const noexcept { return m_live.roots; }

    BranchMirror(const BranchMirror&) = delete;
    BranchMirror& operator=(const BranchMirror&) = delete;

private:
    friend class MirrorChannel;
    using Channels = std::map<quint16, std::unique_ptr<MirrorChannel>>;

    // For the channels.
    void takeLocal();
    bool covers(const QString& path);
    void apply(const Change& change);
    bool applySplice(const QString& path, const values::TextSplice& splice);
    bool applyCommands(const QString& path, const Bytes& commands, const values::PendingChanges& own);
    void applyState(const QString& path, qint32 type, const Bytes& state, const std::vector<Content>& own);
    void failed(const FailedWish& wish) { m_tree.OnWishFailed(wish); }
    void tellAuthor(const Change& change, WishResult result)
    {
        if (change.author)
            m_tree.OnAuthorsWish(change, result);
    }
    void noteRoundTrip(qint64 sentMs) { m_roundTripMs = m_nowMs - sentMs; }
    Bytes upTopic() const { return m_topics.Up(m_settings.branch, m_settings.user, m_settings.session); }

    void route(Changes changes);
    MirrorChannel* channelOf(const QString& path) const;
    /// Whether another channel has an item there.
    bool isElsewhere(const QString& path, const MirrorChannel& channel) const;
    MirrorChannel* ensureChannel(quint16 channel);
    void takeLive(const LiveMessage& live);
    void takeWithdrawalOfOther();
    void adopt(const LiveMessage& live);
    void takeBeat(const BeatMessage& beat);
    bool takeLog(quint16 channel, const Bytes& payload);
    bool take(const Topic& topic, const Bytes& payload);
    void claim(const QUuid& epoch);
    void follow(const QUuid& epoch);
    FormerChannel takeFormer(const QUuid& epoch, quint16 channel);
    void dropCollections();
    void withdraw(const QUuid& epoch);
    bool isOwnerGone() const;
    void update();
    void setState(BranchState state);
    void hideSentinel();
    void showSentinel();
    bool isOwnerKnown() const noexcept { return m_live.epoch == m_epoch; }
    bool isComplete() const;
    bool maySend() const;
    void askForBeat(Output& out);
    qint64 silentAtMs() const;
    qint64 lostAtMs() const;
    Output finish();

    MirrorSettings m_settings;
    Topics m_topics;
    IMirroredTree& m_tree;
    Channels m_channels;
    std::map<QString, qint32> m_leftovers; ///< collections of a former epoch that this one has not shown yet
    /// Of owners that were followed before, by epoch and channel.
    std::map<std::pair<QUuid, quint16>, std::unique_ptr<FormerChannel>> m_formerChannels;
    QUuid m_epoch;
    QUuid m_withdrawn;       ///< epoch that has left; it never comes back
    LiveMessage m_live;      ///< of the followed owner, or still of the former one
    LiveMessage m_otherLive; ///< last claim of another one
    BranchState m_state = BranchState::Unknown;
    std::size_t m_maximumPayload = 0;
    qint64 m_nowMs = 0; ///< time of the input at hand
    qint64 m_beatSeenMs = -1;
    qint64 m_roundTripMs = -1;
    qint64 m_followedMs = 0;
    qint64 m_onlineMs = 0;
    qint64 m_refusedUntilMs = 0; ///< the broker takes no wishes of this user
    QString m_refusedWhy;
    qint64 m_askBeatMs = 0;
    qint64 m_askBeatPauseMs = 0;
    qint64 m_silentSinceMs = kNever;
    qint64 m_deadSinceMs = kNever; ///< the broker has said that the followed owner is dead
    bool m_online = false;
    bool m_sentinelHidden = true;
    bool m_takingLocal = false;
    bool m_isHandedOver = false;          ///< perhaps by who is told of what is being done here
    Startup::ThrottledTrace m_complaints; ///< of the channels, too
};

} // namespace distribution
