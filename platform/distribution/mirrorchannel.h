#pragma once

#include <distribution/branchmirror.h>
#include <distribution/itemtable.h>
#include <distribution/ownchanges.h>

#include <functional>
#include <map>
#include <optional>

namespace distribution {

/// One channel of a mirrored branch: brings what the owner says into the order of its numbers, asks for what
/// is missing, and keeps own changes visible until the owner has dealt with them.
class MirrorChannel
{
public:
    MirrorChannel(BranchMirror& mirror, quint16 channel);

    quint16 GetChannel() const noexcept { return m_channel; }
    /// Whether the content is that of the followed epoch.
    bool IsJoined() const noexcept { return m_joined; }
    /// Joined, and up to what the owner is known to have.
    bool IsCaughtUp() const noexcept
    {
        // A collection that is too large for this program does not keep it from the others.
        return m_isTooLarge ? m_channel != 0 : m_joined && !m_stateNeeded && m_number >= m_target;
    }
    quint64 GetNumber() const noexcept { return m_number; }
    /// Something that has come waits for something that has not.
    bool IsWaiting() const noexcept { return !m_held.empty() || !m_assembler.IsEmpty(); }
    std::size_t CountOpenWishes() const { return m_own.CountOpen(); }
    /// The owner's content. Collections' contents are in the tree alone.
    const ItemTable& Items() const noexcept { return m_items; }

    /// Another epoch: everything begins anew, but the content stays until the new one has come. `next` is
    /// what was left of that epoch when it was followed before; the result is what is left of this one.
    FormerChannel Restart(const QString& reason, FormerChannel next);
    /// Of a new channel: `former` as for Restart().
    void GoOnWith(FormerChannel former)
    {
        m_own.Wishes() = std::move(former.wishes);
        m_toldBefore = former.told;
    }
    /// The owner has left and taken its content along.
    void RemoveAll();
    /// See BranchMirror.
    void Abandon();
    void HandOver();
    void OnUp();
    void OnDown();

    void TakeLog(const LogMessage& message, const Bytes& bytes, qint64 nowMs);
    void TakeBeat(quint64 number, qint64 nowMs);
    void TakeStatePart(const StatePart& part, qint64 nowMs);
    /// Own changes, which are visible already.
    void Wish(Changes changes, qint64 nowMs);
    /// Own changes that cannot go up.
    void Fail(const Changes& changes, WishResult result, const QString& reason);
    /// The owner's content is to be fetched as it is after the entries that are here.
    void NeedState(quint64 number);

    void GiveUpOld(qint64 nowMs);
    /// The broker refuses what is sent; `upMs` is when the line came up.
    void Refuse(const QString& reason, qint64 upMs);
    /// What is to be said to the owner now. `maySend`: wishes too.
    void Speak(Output& out, bool maySend, qint64 nowMs);
    qint64 NextMs(bool maySpeak, bool maySend) const;

private:
    using Paths = OwnChanges::Paths;

    void addWish(Changes changes, qint64 nowMs);
    void report(const OpenWish& wish, const Failures& failures);
    void giveUp(const std::function<bool(const OpenWish&)>& isOver,
                const std::function<void(const OpenWish&)>& report);
    void reportAll(const OpenWish& wish, WishResult result, const QString& reason);
    bool isShadowed(const QString& path);
    Content truthOf(const QString& path) const;
    void showTruth(const QString& path);
    void remove(const QString& path);
    void dropHeld();
    void play(qint64 nowMs);
    bool playMessage(const LogMessage& message);
    void apply(const Entry& entry, quint64 number);
    void commit(const Change& change, bool own);
    void applyState(StateAssembler::State state, qint64 nowMs);
    void settleByTable(const Snapshot& snapshot, quint64 stateNumber);
    void startAnew(Paths& settled);
    void replaceItems(const Snapshot& snapshot, const Paths& settled);
    std::vector<Content> ownCommands();
    void noteTarget(quint64 number, qint64 askAtMs);

    BranchMirror& m_mirror;
    quint16 m_channel;
    ItemTable m_items;
    quint64 m_number = 0; ///< of the last entry that has been applied
    quint64 m_toldBefore =
        0; ///< up to here the program has heard announcements when it followed this epoch before
    quint64 m_target = 0;     ///< of the newest entry that is known to exist
    quint64 m_beatNumber = 0; ///< highest that a beat has said
    qint64 m_beatMs = 0;      ///< time of the last beat that said as much
    bool m_joined = false;
    bool m_stateNeeded = true;  ///< entries wait until a state has come
    quint64 m_neededNumber = 0; ///< least number of that state
    bool m_subscribed = false;  ///< to the states
    bool m_isTooLarge = false;  ///< the last state was
    bool m_isInDoubt = false;   ///< whether the owner knows this program still
    qint64 m_doubtedMs = -kNever / 2;
    qint64 m_askStateMs = 0;
    qint64 m_askPauseMs = 0;
    qint64 m_askReplayMs = kNever;
    int m_replayAsks = 0;
    std::map<quint64, Bytes> m_held; ///< log messages that wait, by their first number
    std::size_t m_heldBytes = 0;
    StateAssembler m_assembler;
    OwnChanges m_own;
};

} // namespace distribution
