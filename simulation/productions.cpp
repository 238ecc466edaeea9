#include <simulation/productions.h>

#include <simulation/installation.h>
#include <simulation/productionrequest.h>
#include <simulation/resourcestate.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/processorwalk.h>
#include <koltacommon/tunerneeds.h>

#include <utility>

namespace KoltaSimulation {

using Kolta::guidFromText;
using RESOURCEMANAGEMENT::FFP;
using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::ProcessorOverview;
using RESOURCEMANAGEMENT::SCP;
using RESOURCEMANAGEMENT::Tuner;
namespace Walk = Kolta::ProcessorWalk;

namespace {

QString nameOf(const Tuner& tuner)
{
    const auto& identity = tuner.GetTavikResource();
    return identity.GetDisplayName().isEmpty() ? identity.GetGUID() : identity.GetDisplayName();
}

/// A task is reserved for so long from its start.
constexpr int kReservedSeconds = 3600;

QString nobodyHasRoom(int credits)
{
    return QStringLiteral("No processing unit has %1 credits left").arg(credits);
}

} // namespace

Productions::Productions(const Installation& installation, ResourceState& resources)
    : m_resources(resources), m_demand(installation), m_capacity(installation.creditsPerUnit())
{
}

void Productions::load(const ProcessorOverview& overview)
{
    m_capacity.setUnits(m_resources.overview().GetProcessingUnit());
    const auto loadTop = [this](auto top) {
        QUuid id = guidFromText(top.GetProductionID());
        if (id.isNull() || m_processors.contains(id))
            id = QUuid::createUuid();
        top.SetProductionID(id.toString());
        int credits = 0;
        problemOfDemand(top, credits);
        const bool placed = !top.GetKoltaProcessor().GetUsedProcessingUnit().GetGUID().isEmpty();
        equip(top, placed ? QString() : m_capacity.choose(credits), true);
        m_running.add(top);
        enter(top, id);
    };
    for (const SCP& scp : overview.GetSCP())
        loadTop(scp);
    for (const MCP& mcp : overview.GetMCP())
        loadTop(mcp);
}

void Productions::clear()
{
    const QHash<QString, int> users = std::exchange(m_tunerUsers, {});
    for (auto it = users.begin(); it != users.end(); ++it)
        m_resources.releaseTuner(it.key());
    m_running.clear();
    m_processors.clear();
    m_productions.clear();
    m_capacity.giveAll();
    m_changes = Changes();
}

QString Productions::fulfil(const ProductionRequest& request)
{
    m_capacity.setUnits(m_resources.overview().GetProcessingUnit());
    switch (request.kind) {
    case ProductionRequest::Kind::Scp:
        return startTop(request.scp, request.id);
    case ProductionRequest::Kind::Mcp:
        return startTop(request.mcp, request.id);
    case ProductionRequest::Kind::Ffp:
        return startFfp(request);
    case ProductionRequest::Kind::Move:
        return moveFfp(request);
    case ProductionRequest::Kind::Malformed:
        break;
    }
    return QStringLiteral("The request cannot be read: %1").arg(request.problem);
}

template<class Node>
QString Productions::startTop(const Node& asked, const QUuid& id)
{
    int credits = 0;
    QString problem = problemOfId(id);
    if (problem.isEmpty())
        problem = problemOf(asked, nullptr, credits);
    if (!problem.isEmpty())
        return problem;
    const QString unit = m_capacity.choose(credits);
    if (unit.isEmpty())
        return nobodyHasRoom(credits);
    Node started = asked;
    started.SetProductionID(id.toString());
    equip(started, unit, false);
    m_running.add(started);
    enter(started, id);
    return QString();
}

QString Productions::startFfp(const ProductionRequest& request)
{
    const MCP* const mcp = m_running.mcp(request.target);
    if (!mcp)
        return QStringLiteral("No MCP %1 runs").arg(request.target.toString());
    int credits = 0;
    QString problem = problemOfId(request.id);
    if (problem.isEmpty())
        problem = problemOf(request.ffp, mcp, credits);
    if (!problem.isEmpty())
        return problem;
    const QString unit = mcp->GetKoltaProcessor().GetUsedProcessingUnit().GetGUID();
    if (!m_capacity.hasRoom(unit, credits))
        return nobodyHasRoom(credits);
    FFP started = request.ffp;
    equip(started, unit, false);
    m_running.addFfp(request.target, started);
    enter(started, request.id);
    return QString();
}

QString Productions::moveFfp(const ProductionRequest& request)
{
    const FFP* const running = m_running.ffp(request.subject);
    const MCP* const target = m_running.mcp(request.target);
    if (!running)
        return QStringLiteral("No FFP %1 runs in an MCP").arg(request.subject.toString());
    if (!target)
        return QStringLiteral("No MCP %1 runs").arg(request.target.toString());
    const QUuid source = m_running.mcpOfFfp(request.subject);
    if (source == request.target)
        return QStringLiteral("The FFP %1 runs in that MCP already").arg(request.subject.toString());

    FFP moved = *running;
    const auto before = factsOfAll(*running).last();
    const QString unit = target->GetKoltaProcessor().GetUsedProcessingUnit().GetGUID();
    if (unit != before.unit && !m_capacity.hasRoom(unit, before.credits))
        return nobodyHasRoom(before.credits);
    moved.EditKoltaProcessor().EditUsedProcessingUnit().SetGUID(unit);
    // What was fed by the tuner of its MCP goes on with that of the next one.
    const QString newTuner = target->GetDataSource().GetTunerGUID();
    if (!before.tuner.isEmpty() && before.tuner == m_running.mcp(source)->GetDataSource().GetTunerGUID())
        moved.SetTunerGUID(newTuner);
    m_running.moveFfp(moved, request.target);

    const auto after = factsOfAll(moved).last();
    m_capacity.give(before.unit, before.credits);
    m_capacity.take(after.unit, after.credits);
    holdTuner(after.tuner);
    releaseTuner(before.tuner);
    m_changes.started.append(request.subject);
    return QString();
}

QString Productions::problemOfId(const QUuid& id) const
{
    if (id.isNull())
        return QStringLiteral("The request has no ID");
    return m_processors.contains(id) ? QStringLiteral("Production %1 runs already").arg(id.toString())
                                     : QString();
}

/// `shared`: it runs already for what the processor belongs to.
QString Productions::problemOfTuner(const ProcessorFacts& facts, bool shared) const
{
    const Tuner* const tuner = m_resources.tuner(facts.tuner);
    if (!tuner)
        return QStringLiteral("There is no tuner %1").arg(facts.tuner);
    if (!tuner->GetAccessible() && !shared)
        return QStringLiteral("Tuner %1 is not accessible").arg(nameOf(*tuner));
    if (!tuner->GetIdle() && !shared)
        return QStringLiteral("Tuner %1 is in use").arg(nameOf(*tuner));
    const bool isTop = DemandTable::kindOf(facts.type) == DemandTable::kindOf(QStringLiteral("MCP"));
    const bool inHardware = isTop && m_demand.isHardware(facts.demandClass);
    const QString misfit = Kolta::problemWith(*tuner, {facts.frequency, facts.bandwidth, inHardware});
    return misfit.isEmpty() ? QString()
                            : QStringLiteral("Tuner %1 does not fit: %2").arg(nameOf(*tuner), misfit);
}

/// What `asked` takes in all is added to `credits`; the problem when one of its demand classes is unknown.
template<class Node>
QString Productions::problemOfDemand(const Node& asked, int& credits) const
{
    QString problem;
    Walk::walk(asked, kEveryProcessor, [&](const auto& node, const auto&) {
        const QString demandClass = node.GetKoltaProcessor().GetDemandClassName();
        const std::optional<int> needed = m_demand.credits(node.GetObjectName(), demandClass);
        credits += needed.value_or(0);
        if (!needed)
            problem = QStringLiteral("There is no demand class %1 for %2")
                          .arg(demandClass, DemandTable::kindOf(node.GetObjectName()));
        return Walk::eInto;
    });
    return problem;
}

/// Why `asked` cannot be started; otherwise `credits` is what it takes in all. What is started in a running
/// MCP may share that one's tuner, and without a tuner of its own it must lie within that one's band.
template<class Node>
QString Productions::problemOf(const Node& asked, const MCP* mcp, int& credits) const
{
    QString problem = problemOfDemand(asked, credits);
    const QVector<ProcessorFacts> all = factsOfAll(asked);
    for (const ProcessorFacts& facts : all) {
        if (!problem.isEmpty())
            break;
        if (!facts.tuner.isEmpty())
            problem = problemOfTuner(facts, mcp && facts.tuner == mcp->GetDataSource().GetTunerGUID());
        else if (mcp)
            problem = Kolta::problemWithBand(mcp->GetFrequency(), mcp->GetBandwidth(),
                                             {facts.frequency, facts.bandwidth, false});
    }
    return problem;
}

/// Gives GUIDs to a processor and all below it, and a place on `unit` unless that is empty.
template<class Node>
void Productions::equip(Node& top, const QString& unit, bool keepGuids) const
{
    QSet<QUuid> taken;
    Walk::walk(top, kEveryProcessor, [&](auto& node, auto&) {
        auto& record = node.EditKoltaProcessor();
        QUuid guid = guidFromText(record.GetTavikResource().GetGUID());
        if (!keepGuids || guid.isNull() || taken.contains(guid) || m_running.contains(guid))
            guid = QUuid::createUuid();
        taken.insert(guid);
        record.EditTavikResource().SetGUID(guid.toString());
        if (!unit.isEmpty()) {
            const int credits =
                m_demand.credits(node.GetObjectName(), record.GetDemandClassName()).value_or(0);
            record.EditUsedProcessingUnit().SetGUID(unit);
            record.EditUsedProcessingUnit().SetCredits(credits);
        }
        return Walk::eInto;
    });
}

/// Takes for a processor that runs now what it needs.
template<class Node>
void Productions::enter(const Node& top, const QUuid& id)
{
    const QVector<ProcessorFacts> all = factsOfAll(top);
    for (const ProcessorFacts& facts : all) {
        m_capacity.take(facts.unit, facts.credits);
        holdTuner(facts.tuner);
    }
    const int task = ++m_lastTask;
    const QDateTime reserved = QDateTime::currentDateTimeUtc().addSecs(kReservedSeconds);
    const auto enterDriver = [&](const QUuid& guid, const QUuid& production) {
        m_productions.insert(guid, {production, task, reserved});
        m_changes.started.append(guid);
    };
    const QUuid guid = all.last().guid;
    m_processors.insert(id, guid);
    enterDriver(guid, id);
    if constexpr (Walk::isA<Node, MCP>) {
        for (const FFP& ffp : top.GetFFP())
            enterDriver(guidFromText(Walk::guidOf(ffp)), QUuid());
        if (m_demand.isHardware(top.GetKoltaProcessor().GetDemandClassName()))
            m_changes.hardware.append(guid);
    }
}

void Productions::holdTuner(const QString& tuner)
{
    if (!tuner.isEmpty() && m_tunerUsers[tuner]++ == 0)
        m_resources.holdTuner(tuner);
}

void Productions::releaseTuner(const QString& tuner)
{
    const auto users = m_tunerUsers.find(tuner);
    if (users == m_tunerUsers.end() || --*users > 0)
        return;
    m_tunerUsers.erase(users);
    m_resources.releaseTuner(tuner);
}

std::optional<QVector<QUuid>> Productions::stop(const QUuid& guid)
{
    const QUuid processor = m_processors.value(guid, guid);
    if (!m_running.contains(processor))
        return std::nullopt;
    return stopProcessor(processor);
}

QVector<QUuid> Productions::stopAll()
{
    QVector<QUuid> ended;
    for (const ProcessorFacts& top : m_running.tops())
        ended += stopProcessor(top.guid);
    return ended;
}

QVector<QUuid> Productions::stopLost()
{
    m_capacity.setUnits(m_resources.overview().GetProcessingUnit());
    QVector<QUuid> ended;
    for (const ProcessorFacts& top : m_running.tops()) {
        if (!top.unit.isEmpty() && !m_capacity.isRegistered(top.unit))
            ended += stopProcessor(top.guid);
    }
    return ended;
}

QVector<QUuid> Productions::stopProcessor(const QUuid& guid)
{
    QVector<QUuid> ended;
    for (const ProcessorFacts& facts : m_running.remove(guid)) {
        m_capacity.give(facts.unit, facts.credits);
        releaseTuner(facts.tuner);
        m_changes.stopped.append(facts.guid);
        const Production production = m_productions.take(facts.guid);
        if (!production.id.isNull()) {
            m_processors.remove(production.id);
            ended.append(production.id);
        }
    }
    return ended;
}

Productions::Changes Productions::takeChanges()
{
    return std::exchange(m_changes, Changes());
}

QString Productions::kindOf(const QUuid& guid) const
{
    const std::optional<Driver> known = driver(m_processors.value(guid, guid));
    return known ? known->type : QString();
}

std::optional<Driver> Productions::driver(const QUuid& guid) const
{
    const auto production = m_productions.constFind(guid);
    if (production == m_productions.constEnd())
        return std::nullopt;
    std::optional<Driver> driver;
    const auto describe = [&](const auto& node, const QString& tuner) {
        driver = Driver{guid,
                        node.GetObjectName(),
                        production->task,
                        production->reserved,
                        node.GetFrequency(),
                        node.GetBandwidth(),
                        tuner};
    };
    if (const SCP* const scp = m_running.scp(guid))
        describe(*scp, scp->GetDataSource().GetTunerGUID());
    else if (const MCP* const mcp = m_running.mcp(guid))
        describe(*mcp, mcp->GetDataSource().GetTunerGUID());
    else if (const FFP* const ffp = m_running.ffp(guid))
        describe(*ffp, ffp->IsTunerGUIDSet()
                           ? ffp->GetTunerGUID()
                           : m_running.mcp(m_running.mcpOfFfp(guid))->GetDataSource().GetTunerGUID());
    return driver;
}

} // namespace KoltaSimulation
