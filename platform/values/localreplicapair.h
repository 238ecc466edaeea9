#pragma once

#include <values/export.h>
#include <values/replication.h>

#include <QObject>

namespace values {

/// Two replicas in one process, joined by a link: what one says is brought to the other from the event loop,
/// or at once by Deliver(). Replicas and values may die before it, and it may be deleted while a change is
/// applied.
class KOLTA_VALUES_EXPORT LocalReplicaPair
{
public:
    /// The policies are those of ReplicaLink.
    LocalReplicaPair(Replica& primary, Replica& secondary, ConflictPolicy primaryPolicy = {},
                     ConflictPolicy secondaryPolicy = {});

    ReplicaLink& GetPrimary() noexcept { return m_primary; }
    ReplicaLink& GetSecondary() noexcept { return m_secondary; }

    /// Delivers until both ends are silent, which takes for ever when observers at both ends go on answering
    /// each other's changes; the event loop delivers in portions. False when an end is of no use any more, or
    /// this was deleted meanwhile.
    bool Deliver();

    /// For values::Weak.
    const Life& GetLife() const noexcept { return m_life; }

    LocalReplicaPair(const LocalReplicaPair&) = delete;
    LocalReplicaPair& operator=(const LocalReplicaPair&) = delete;

private:
    void post();
    bool deliverRound();

    ReplicaLink m_primary;
    ReplicaLink m_secondary;
    QObject m_context; ///< whose death withdraws the posted call
    bool m_posted = false;
    Life m_life;
};

} // namespace values
