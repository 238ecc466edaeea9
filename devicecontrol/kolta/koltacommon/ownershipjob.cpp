#include <koltacommon/ownershipjob.h>

#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaserverinterface.h>

#include <utility>

namespace Kolta {

OwnershipJob::OwnershipJob(KoltaServerInterface& server, const QString& guid, Action action, QObject* parent)
    : ServerOperation(server, parent), m_guid(guid), m_action(action)
{
    setTimeLimit(kLimitMs);
}

OwnershipJob::~OwnershipJob()
{
    const bool takes = wasAsked() && !isFinished() && m_action == Action::Take && !m_isGivingBack;
    detach();
    if (takes && server())
        request(Action::Release);
}

bool OwnershipJob::request(Action action)
{
    KoltaOwnerObserver& owners = server()->getGuiOwnerObserver();
    return action == Action::Take ? owners.requestOwnership(m_guid) : owners.releaseOwnership(m_guid);
}

bool OwnershipJob::isOwner() const
{
    return server()->getGuiOwnerObserver().IsOwnedBy(m_guid, server()->getClientId());
}

void OwnershipJob::ask()
{
    if (isOwner() == (m_action == Action::Take))
        return settleDone();
    setAsked();
    setProgress(tr("waiting for %1 to show the owner").arg(serverName()));
    const QPointer<OwnershipJob> guard(this);
    const bool requested = request(m_action);
    if (guard && !requested)
        refuse(Reason::NotConnected, tr("%1 takes no requests").arg(serverName()));
}

void OwnershipJob::evaluate()
{
    if (!wasAsked() || isFinished() || !desk() || !desk()->isConnected())
        return;
    if (m_isGivingBack && !isOwner())
        return settleGivenUp(Effect::None, QString());
    if (isOwner() != (m_action == Action::Take) || m_isGivingBack)
        return;
    if (!isCancelled())
        return settleDone();
    m_isGivingBack = true;
    request(Action::Release); // the answer may end this
}

void OwnershipJob::mirrorChanged(ServerDesk::Mirror mirror)
{
    if (mirror == ServerDesk::Mirror::Owners)
        evaluate();
}

/// What was asked of a server that has gone was not heard, unless the mirror shows it.
void OwnershipJob::operational(bool on)
{
    const QPointer<OwnershipJob> guard(this);
    if (on)
        evaluate();
    if (on && guard && wasAsked() && !isFinished() && !isCancelled())
        request(m_action);
}

void OwnershipJob::cancelBegun()
{
    if (m_action == Action::Release)
        settleGivenUp(Effect::Unknown, QString());
    else
        setProgress(tr("waiting for the ownership, to give it back"));
}

void OwnershipJob::timeIsOver()
{
    const bool isConnected = server() && desk() && desk()->isConnected();
    const RESOURCEMANAGEMENT::Owner* const owner =
        isConnected ? server()->getGuiOwnerObserver().FindOwner(m_guid) : nullptr;
    if (m_action == Action::Take && !isCancelled() && owner && !isOwner())
        return settle(State::Refused, Effect::None, Reason::Conflict,
                      tr("owned by %1 at %2").arg(owner->GetName(), owner->GetHost()));
    // What comes of it later nobody waits for any more.
    const QPointer<OwnershipJob> guard(this);
    if (m_action == Action::Take && isConnected && !std::exchange(m_isGivingBack, true))
        request(Action::Release);
    if (guard)
        settleGivenUp(Effect::Unknown, QString());
}

} // namespace Kolta
