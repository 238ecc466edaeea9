#include <koltacommon/movejob.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/productionjob.h>

namespace Kolta {

MoveJob::MoveJob(KoltaServerInterface& server, const QUuid& ffp, const QUuid& mcp, QObject* parent)
    : ServerOperation(server, parent), m_ffp(ffp), m_mcp(mcp)
{
}

void MoveJob::ask()
{
    if (m_ffp.isNull() || m_mcp.isNull())
        return refuse(Reason::InvalidOrder, tr("a null GUID names no processor"));
    setAsked();
    expect(m_id);
    setProgress(tr("waiting for the answer of %1").arg(serverName()));
    const QPointer<MoveJob> guard(this);
    const QUuid request = server()->getProductionControl().requestFFPMove(m_ffp, m_mcp, m_id);
    if (guard && request.isNull())
        refuse(Reason::NotConnected, tr("%1 takes no requests").arg(serverName()));
}

bool MoveJob::isThere() const
{
    return guidFromText(server()->getProcessorObserver().GetMcpGUIDFor(m_ffp.toString())) == m_mcp;
}

void MoveJob::replied(const ServerReply& reply)
{
    if (reply.accepted)
        settleDone();
    else
        refuse(Reason::RefusedByServer, tr("%1 refuses: %2").arg(serverName(), reply.text));
}

void MoveJob::mirrorChanged(ServerDesk::Mirror mirror)
{
    if (mirror != ServerDesk::Mirror::Processors || !wasAsked())
        return;
    if (!isThere())
        m_show.reset();
    else if (m_isAway)
        settleDone();
    else if (!m_show)
        m_show = ringIn(ProductionJob::kShowMs, [this] { settleDone(); }); // the answer was lost
}

void MoveJob::operational(bool on)
{
    m_show.reset();
    m_return.reset();
    m_isAway = true;
    if (!on)
        return setProgress(tr("waiting for %1 to return").arg(serverName()));
    if (isThere())
        return settleDone();
    m_return = ringIn(ProductionJob::kReturnMs, [this] {
        settle(State::Lost, Effect::None, Reason::NotThereAfterReturn,
               tr("%1 came back without it").arg(serverName()));
    });
}

void MoveJob::cleanUp()
{
    m_show.reset();
    m_return.reset();
    ServerOperation::cleanUp();
}

} // namespace Kolta
