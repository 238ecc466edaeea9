#include <koltacommon/serveroperation.h>

#include <koltacommon/koltaserverinterface.h>

namespace Kolta {

ServerOperation::ServerOperation(KoltaServerInterface& server, QObject* parent)
    : Operation(parent), m_server(&server)
{
}

ServerOperation::~ServerOperation() = default;

KoltaServerInterface* ServerOperation::server() const
{
    return m_server;
}

QString ServerOperation::serverName() const
{
    return m_server ? m_server->getAddress() : QString();
}

void ServerOperation::begin()
{
    if (!m_server)
        return serverLost();
    attach(ServerDesk::of(*m_server));
    if (!desk()->isConnected())
        return refuse(Reason::NotConnected, tr("%1 is not connected").arg(serverName()));
    const ServerDesk::Asking asking(*this);
    ask();
}

void ServerOperation::cleanUp()
{
    detach();
}

void ServerOperation::serverLost()
{
    settle(State::Lost, m_asked ? Effect::Unknown : Effect::None, Reason::ServerGone,
           tr("the server is not known any more"));
}

/// One that may have happened is as if the server had gone and come back.
void ServerOperation::wishFailed(values::WishFailure failure, const QString& reason)
{
    const bool isRefused = failure == values::WishFailure::Refused;
    if (isRefused || failure == values::WishFailure::Conflict) {
        if (isCancelled())
            return settleGivenUp(effectSoFar(), reason);
        return settle(State::Refused, effectSoFar(), isRefused ? Reason::RefusedByOwner : Reason::Conflict,
                      reason);
    }
    const QPointer<ServerOperation> guard(this);
    operational(false);
    if (guard && !isFinished() && desk() && desk()->isConnected())
        operational(true);
}

} // namespace Kolta
