#include <koltacommon/terminationjob.h>

#include <koltacommon/koltaserverinterface.h>

namespace Kolta {

TerminationJob::TerminationJob(KoltaServerInterface& server, Action action, QObject* parent)
    : ServerOperation(server, parent), m_action(action)
{
}

void TerminationJob::ask()
{
    setAsked();
    setProgress(tr("waiting for %1 to end").arg(serverName()));
    const QPointer<TerminationJob> guard(this);
    const bool isAsked = m_action == Action::Reset ? server()->restartServer() : server()->quitServer();
    if (guard && !isAsked && !isFinished())
        refuse(Reason::NotConnected, tr("%1 takes no requests").arg(serverName()));
}

void TerminationJob::operational(bool on)
{
    if (!wasAsked() || isFinished())
        return;
    // A wish whose fate is not known is told as if the server had gone.
    if (!on && desk() && desk()->isConnected())
        return;
    if (!on) {
        m_hasGone = true;
        if (m_action == Action::Quit)
            return settleDone();
        setProgress(tr("waiting for %1 to return").arg(serverName()));
    } else if (m_hasGone) {
        settleDone();
    }
}

void TerminationJob::serverLost()
{
    if (wasAsked() && m_action == Action::Quit && !isFinished())
        return settleDone();
    ServerOperation::serverLost();
}

void TerminationJob::timeIsOver()
{
    settleGivenUp(m_hasGone ? Effect::Done : Effect::Unknown,
                  isCancelled() ? QString()
                  : m_hasGone   ? tr("%1 has ended, but not returned").arg(serverName())
                                : tr("%1 has not ended").arg(serverName()));
}

} // namespace Kolta
