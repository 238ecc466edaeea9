#include <simulation/audit.h>

#include <startup/tracesource.h>

namespace KoltaSimulation {

namespace {

enum eTracePoint : int { eOrder = 10 };
constexpr Startup::TraceSource kTrace("simulation/audit", Startup::eTraceInfo);

Orderer& orderer()
{
    static Orderer current;
    return current;
}

} // namespace

const Orderer& currentOrderer()
{
    return orderer();
}

OrdererScope::OrdererScope(const Orderer& inner) : m_outer(orderer())
{
    orderer() = inner;
}

OrdererScope::~OrdererScope()
{
    orderer() = m_outer;
}

void audit(const QString& who, const QString& where, const QString& what, const QString& result)
{
    kTrace(eOrder, QStringLiteral("%1 from %2: %3: %4")
                       .arg(who.isEmpty() ? QStringLiteral("unknown user") : who, where, what, result));
}

} // namespace KoltaSimulation
