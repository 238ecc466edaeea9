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
    const bool isTaking = wasAsked() && !isFinished() && takes() && !m_isGivingBack;
    detach();
    if (isTaking && server())
        request(Action::Release);
}

bool OwnershipJob::request(Action action)
{
    KoltaOwnerObserver& owners = server()->getGuiOwnerObserver();
    const bool isForced = action == Action::ForceTake || action == Action::ForceRelease;
    return action == Action::Take || action == Action::ForceTake ? owners.requestOwnership(m_guid, isForced)
                                                                 : owners.releaseOwnership(m_guid, isForced);
}

bool OwnershipJob::isOwner() const
{
    return server()->getGuiOwnerObserver().IsOwnedBy(m_guid, server()->getClientId());
}

bool OwnershipJob::isAsWished() const
{
    if (m_action == Action::ForceRelease)
        return !server()->getGuiOwnerObserver().FindOwner(m_guid);
    return isOwner() == takes();
}

void OwnershipJob::ask()
{
    if (isAsWished())
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
    if (!isAsWished() || m_isGivingBack)
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
    if (!takes())
        settleGivenUp(Effect::Unknown, QString());
    else
        setProgress(tr("waiting for the ownership, to give it back"));
}

void OwnershipJob::timeIsOver()
{
    const bool isConnected = server() && desk() && desk()->isConnected();
    const RESOURCEMANAGEMENT::Owner* const owner =
        isConnected ? server()->getGuiOwnerObserver().FindOwner(m_guid) : nullptr;
    if (takes() && !isCancelled() && owner && !isOwner())
        return settle(State::Refused, Effect::None, Reason::Conflict,
                      tr("owned by %1 at %2").arg(owner->GetName(), owner->GetHost()));
    // What comes of it later nobody waits for any more.
    const QPointer<OwnershipJob> guard(this);
    if (takes() && isConnected && !std::exchange(m_isGivingBack, true))
        request(Action::Release);
    if (guard)
        settleGivenUp(Effect::Unknown, QString());
}

} // namespace Kolta
