#include <koltacommon/aftercare.h>

#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/operation.h>

#include <startup/tracesource.h>

#include <utility>

namespace Kolta {

namespace {

/// Numbers of the trace points.
enum eTracePoint : int { eGivenUp = 100 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/aftercare", Startup::eTraceWarning);

} // namespace

Aftercare::Aftercare(ServerDesk& ownDesk, const QUuid& production, const ProductionMark& mark, TunerPlan plan,
                     bool takeBack)
    : m_production(production), m_mark(mark), m_plan(std::move(plan)), m_takeBack(takeBack)
{
    attach(ownDesk);
    expect(production);
    m_limit = ringIn(kLimitMs, [this] {
        kTrace(eGivenUp,
               QStringLiteral("Nobody said what became of production %1").arg(m_production.toString()));
        finish();
    });
}

void Aftercare::look()
{
    if (desk() && !desk()->shown(m_mark).isEmpty())
        started();
}

void Aftercare::replied(const ServerReply& reply)
{
    if (reply.accepted)
        started();
    else
        finish();
}

void Aftercare::mirrorChanged(ServerDesk::Mirror mirror)
{
    if (mirror == ServerDesk::Mirror::Processors)
        look();
}

void Aftercare::operational(bool on)
{
    m_return.reset();
    if (!on)
        return;
    m_return = ringIn(kReturnMs, [this] { finish(); });
    look();
}

/// An answer may come back with the server before the server can be told to stop anything.
void Aftercare::started()
{
    ServerDesk* const ownDesk = desk();
    if (!ownDesk || !ownDesk->isConnected())
        return;
    detach(); // hears nothing of what the stop brings about
    ownDesk->keep(std::move(m_plan));
    const QPointer<ServerDesk> guard(ownDesk);
    if (m_takeBack)
        ownDesk->server().getProductionControl().StopProduction(m_production);
    if (guard)
        guard->drop(this);
}

/// With its plan.
void Aftercare::finish()
{
    if (ServerDesk* const ownDesk = desk())
        ownDesk->drop(this);
}

} // namespace Kolta
