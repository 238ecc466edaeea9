#pragma once

#include <values/command.h>
#include <values/export.h>
#include <values/pendingchanges.h>

#include <QUuid>

#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace values {

class ReplicaLink;

/// Which end of a link has the last word. Replicas form a tree: a replica has at most one link at which it is
/// the secondary end. The order of changes at the root is that of all.
enum class LinkRole { Primary, Secondary };

/// What a link does with a remote change to a key, or a request, that has own changes on their way to the
/// peer.
enum class RemoteChange { Apply, Drop };

struct Conflict
{
    LinkRole role;          ///< of this end
    const QUuid& origin;    ///< replica at which the remote change was made
    const Command& command; ///< the remote change
    const std::string& key; ///< key field or request, as in the command's scope
};
/// Asked in the middle of applying a group: it changes nothing.
using ConflictPolicy = std::function<RemoteChange(const Conflict&)>;

/// One value's replica in this process: gives recorded changes to all links but the one that brought them,
/// and applies what links bring. While it has links it is the value's recorder. Value, replica and links may
/// die in any order, also while a change is applied. One thread, that of the value.
class KOLTA_VALUES_EXPORT Replica final : public ICommandRecorder
{
public:
    /// `id` names this replica as the origin of its changes.
    explicit Replica(ValueBase& value, const QUuid& id = QUuid::createUuid());
    ~Replica() override;

    /// Null once it has died.
    ValueBase* GetValue() const noexcept { return m_value.Get(); }
    const QUuid& GetId() const noexcept { return m_id; }

    void OnCommand(ValueBase& value, std::unique_ptr<Command> command) override;
    void OnContentReplaced(ValueBase& value) override;

    Replica(const Replica&) = delete;
    Replica& operator=(const Replica&) = delete;

private:
    friend class ReplicaLink;
    class Origin;
    /// One command of a group and whence it came.
    struct Entry
    {
        const Command* command;
        const Origin* origin; ///< null for a change made here
    };
    using Group = std::vector<Entry>;

    bool add(ReplicaLink& link);
    void remove(const ReplicaLink& link);
    std::size_t firstFor(const ReplicaLink& link) const;
    void encodeFrom(std::size_t first);

    Weak<ValueBase> m_value;
    QUuid m_id;
    std::vector<ReplicaLink*> m_links;
    Group m_group;      ///< the one that is being sent, kept for its memory; so is the next
    std::string m_body; ///< its sections, encoded
};

/// One end of a connection between two replicas of a value. It makes and takes whole messages; a carrier
/// brings them to the other end in their order. When messages were lost, both ends are replaced by new ones:
/// own changes that were not acknowledged are then overwritten by the primary's state. docs/replication.md
/// has the bytes.
///
/// The secondary end begins by asking for the state. From then on both ends send numbered groups of changes
/// and acknowledge each other's. A message is decoded whole before anything of it is executed; one that does
/// not fit breaks the link and changes nothing. Own changes are on their way until they are acknowledged.
/// With the default policy the secondary end drops remote changes to their keys, and the primary end applies
/// all, so that concurrent writers end with one content.
class KOLTA_VALUES_EXPORT ReplicaLink
{
public:
    /// An empty `policy` is the default one. The link is broken from the start when the value is gone or has
    /// another recorder.
    ReplicaLink(Replica& replica, LinkRole role, ConflictPolicy policy = {});
    ~ReplicaLink();

    LinkRole GetRole() const noexcept { return m_role; }
    /// The replica at the other end; null until it has spoken.
    const QUuid& GetPeer() const noexcept { return m_peer; }
    /// A broken link neither sends nor takes anything any more. Why it broke has been traced.
    bool IsBroken() const noexcept { return m_broken; }
    /// Whether the secondary end has asked for the state (primary), or the state has come (secondary).
    bool IsActive() const noexcept { return m_active; }

    bool HasOutgoing() const;
    /// The next message for the peer; empty when there is none.
    std::string TakeOutgoing();
    /// Called when there may be something to take. It notes that or posts an event, no more: a value may be
    /// in the middle of a change.
    void SetWakeUp(std::function<void()> wakeUp) { m_wakeUp = std::move(wakeUp); }
    /// Own groups that the peer has not acknowledged, and bytes of messages that the carrier has not taken.
    quint64 GetUnacknowledged() const noexcept { return m_sent - m_acknowledged; }
    std::size_t GetQueuedBytes() const noexcept { return m_queuedBytes; }

    /// Takes one message and executes it. Observers are called and may delete anything, this included; a
    /// message that arrives meanwhile is executed after the one at hand. False when the link is of no use any
    /// more.
    bool Receive(const char* bytes, std::size_t size);
    bool Receive(const std::string& message) { return Receive(message.data(), message.size()); }

    /// For values::Weak.
    const Life& GetLife() const noexcept { return m_life; }

    ReplicaLink(const ReplicaLink&) = delete;
    ReplicaLink& operator=(const ReplicaLink&) = delete;

private:
    friend class Replica;
    using Origin = Replica::Origin;
    /// Consecutive commands of a group that were made at one replica.
    struct Section
    {
        std::shared_ptr<Origin> origin;
        std::unique_ptr<Command> command;
    };
    using Sections = std::vector<Section>;

    ValueBase* value() const noexcept { return m_replica ? m_replica->GetValue() : nullptr; }
    bool isListening() const noexcept { return !m_broken && (m_active || m_role == LinkRole::Secondary); }
    void send(const Replica::Group& group, std::size_t first, const std::string& body);
    void sendStateAnew();
    bool isStateReady() const;
    void requestState();
    void enqueue(std::string message);
    void wakeUp() const;

    bool process(ByteReader in);
    bool takeRequest(ByteReader& in);
    bool takeState(ByteReader& in);
    bool takeGroup(ByteReader& in);
    bool takeAcknowledgement(ByteReader& in);
    bool isSent(quint64 number) const noexcept { return number <= m_sent; }
    void acknowledged(quint64 number);
    std::shared_ptr<Origin> originFor(const QUuid& id);
    template<class ForEach>
    void apply(quint64 number, const ForEach& forEach);
    void execute(Command& command, Origin& origin);
    bool isDropped(const Conflict& conflict) const;
    void fail(int tracePoint, const QString& reason);

    Replica* m_replica; ///< null once it has died
    LinkRole m_role;
    ConflictPolicy m_policy;
    std::function<void()> m_wakeUp;
    Life m_life;
    QUuid m_peer;
    bool m_broken = false;
    bool m_active = false;
    bool m_receiving = false;
    bool m_stateDue = false;         ///< made when it is taken; nothing is queued until then
    bool m_acknowledgeDue = false;   ///< no queued message says what has been received
    quint64 m_sent = 0;              ///< number of the last own group
    quint64 m_acknowledged = 0;      ///< number of the last own group that the peer has taken
    quint64 m_received = 0;          ///< number of the peer's last group
    std::deque<std::string> m_queue; ///< messages that nobody has taken
    std::size_t m_queuedBytes = 0;
    std::deque<std::string> m_incoming; ///< arrived while another was executed
    PendingChanges m_pending;           ///< kept where the policy may ask
    std::map<QUuid, std::shared_ptr<Origin>> m_origins;
};

} // namespace values
