#include <values/localreplicapair.h>

#include <QMetaObject>

#include <utility>

namespace values {

LocalReplicaPair::LocalReplicaPair(Replica& primary, Replica& secondary, ConflictPolicy primaryPolicy,
                                   ConflictPolicy secondaryPolicy)
    : m_primary(primary, LinkRole::Primary, std::move(primaryPolicy))
    , m_secondary(secondary, LinkRole::Secondary, std::move(secondaryPolicy))
{
    m_primary.SetWakeUp([this] { post(); });
    m_secondary.SetWakeUp([this] { post(); });
    post();
}

bool LocalReplicaPair::Deliver()
{
    const Weak<LocalReplicaPair> self(this);
    while (m_primary.HasOutgoing() || m_secondary.HasOutgoing()) {
        if (!deliverRound())
            return false;
    }
    return !m_primary.IsBroken() && !m_secondary.IsBroken();
}

void LocalReplicaPair::post()
{
    if (std::exchange(m_posted, true))
        return;
    QMetaObject::invokeMethod(
        &m_context,
        [this] {
            m_posted = false;
            const Weak<LocalReplicaPair> self(this);
            if (deliverRound() && self && (m_primary.HasOutgoing() || m_secondary.HasOutgoing()))
                post();
        },
        Qt::QueuedConnection);
}

/// One message each way. False when an end is of no use any more, or this is gone.
bool LocalReplicaPair::deliverRound()
{
    const Weak<LocalReplicaPair> self(this);
    for (const bool up : {true, false}) {
        ReplicaLink& from = up ? m_secondary : m_primary;
        ReplicaLink& to = up ? m_primary : m_secondary;
        if (!from.HasOutgoing())
            continue;
        const bool usable = to.Receive(from.TakeOutgoing());
        if (!self || !usable)
            return false;
    }
    return true;
}

} // namespace values
