#include <simulation/runningprocessors.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/processorconverter.h>
#include <koltacommon/processorwalk.h>

#include <type_traits>
#include <utility>

namespace KoltaSimulation {

using namespace RESOURCEMANAGEMENT;
namespace Walk = Kolta::ProcessorWalk;

namespace {

template<class Node>
QUuid keyOf(const Node& node)
{
    return Kolta::guidFromText(Walk::guidOf(node));
}

template<class Node>
ProcessorFacts factsOf(const Node& node)
{
    const auto& record = node.GetKoltaProcessor();
    const auto& unit = record.GetUsedProcessingUnit();
    ProcessorFacts facts{keyOf(node),
                         node.GetObjectName(),
                         unit.GetGUID(),
                         unit.GetCredits(),
                         Walk::tunerOf(node),
                         record.GetDemandClassName(),
                         0.0,
                         0.0};
    if constexpr (Walk::isA<Node, FFP> || Walk::isA<Node, SCP> || Walk::isA<Node, MCP>) {
        facts.frequency = node.GetFrequency();
        facts.bandwidth = node.GetBandwidth();
    }
    return facts;
}

/// Takes `node` out of its parent; it must not be used any more.
template<class Parent, class Node>
void erase(Parent& parent, const Node& node)
{
    const auto eraseFrom = [&node](auto& list) { list.removeAt(static_cast<int>(&node - list.constData())); };
    if constexpr (Walk::isA<Parent, SCP>) {
        if constexpr (Walk::isA<Node, FFP>)
            parent.ResetFFP();
        else if constexpr (Walk::isA<Node, DSC>)
            parent.ResetDSC();
        else
            parent.ResetFHP();
    } else if constexpr (Walk::isA<Node, FFP>) {
        eraseFrom(parent.EditFFP());
    } else if constexpr (Walk::isA<Node, FHA>) {
        eraseFrom(parent.EditFHA());
    } else if constexpr (Walk::isA<Node, DSC>) {
        eraseFrom(parent.EditDSC());
    } else {
        eraseFrom(parent.EditFHP());
    }
}

/// Takes the processor `guid` out of the tree below `root`.
template<class Root>
QVector<ProcessorFacts> removeBelow(Root& root, const QUuid& guid)
{
    QVector<ProcessorFacts> removed;
    Walk::walk(root, kEveryProcessor, [&](auto& node, auto& parent) {
        using Parent = std::remove_reference_t<decltype(parent)>;
        if constexpr (!Walk::isA<Parent, Walk::NoParent>) {
            if (keyOf(node) == guid) {
                removed = factsOfAll(std::as_const(node));
                erase(parent, node);
                return Walk::eStop;
            }
        }
        return Walk::eInto;
    });
    return removed;
}

} // namespace

template<class Node>
QVector<ProcessorFacts> factsOfAll(const Node& node)
{
    QVector<ProcessorFacts> all;
    Walk::walk(
        node, kEveryProcessor, [](const auto&, const auto&) { return Walk::eInto; },
        [&all](const auto& left) { all.append(factsOf(left)); });
    return all;
}

template QVector<ProcessorFacts> factsOfAll(const SCP&);
template QVector<ProcessorFacts> factsOfAll(const MCP&);
template QVector<ProcessorFacts> factsOfAll(const FFP&);

void RunningProcessors::add(const SCP& scp)
{
    Place top;
    top.kind = Kind::Scp;
    top.scp = m_scps.insert(m_scps.end(), scp);
    Place below = top;
    below.kind = Kind::InScp;
    index(scp, top, below);
}

void RunningProcessors::add(const MCP& mcp)
{
    Place top;
    top.kind = Kind::Mcp;
    top.mcp = m_mcps.insert(m_mcps.end(), Mcp{mcp, {}});
    top.mcp->record.ResetFFP();
    Place below = top;
    below.kind = Kind::InMcp;
    index(std::as_const(top.mcp->record), top, below);
    for (const FFP& ffp : mcp.GetFFP())
        addFfp(keyOf(mcp), ffp);
}

bool RunningProcessors::addFfp(const QUuid& mcp, const FFP& ffp)
{
    const Place* const found = placeOf(mcp, Kind::Mcp);
    if (!found)
        return false;
    Place place = *found;
    place.kind = Kind::Ffp;
    place.ffp = place.mcp->ffps.insert(place.mcp->ffps.end(), ffp);
    m_places.insert(keyOf(ffp), place);
    return true;
}

bool RunningProcessors::moveFfp(const FFP& changed, const QUuid& mcp)
{
    const auto place = m_places.find(keyOf(changed));
    const Place* const target = placeOf(mcp, Kind::Mcp);
    if (place == m_places.end() || place->kind != Kind::Ffp || !target)
        return false;
    auto& list = target->mcp->ffps;
    list.splice(list.end(), place->mcp->ffps, place->ffp);
    *place->ffp = changed;
    place->mcp = target->mcp;
    return true;
}

QVector<ProcessorFacts> RunningProcessors::remove(const QUuid& guid)
{
    const auto found = m_places.constFind(guid);
    if (found == m_places.constEnd())
        return {};
    const Place place = *found;
    QVector<ProcessorFacts> removed;
    switch (place.kind) {
    case Kind::Scp:
        removed = factsOfAll(std::as_const(*place.scp));
        m_scps.erase(place.scp);
        break;
    case Kind::Mcp:
        for (const FFP& ffp : place.mcp->ffps)
            removed += factsOfAll(ffp);
        removed += factsOfAll(std::as_const(place.mcp->record));
        m_mcps.erase(place.mcp);
        break;
    case Kind::Ffp:
        removed = factsOfAll(std::as_const(*place.ffp));
        place.mcp->ffps.erase(place.ffp);
        break;
    case Kind::InScp:
        removed = removeBelow(*place.scp, guid);
        break;
    case Kind::InMcp:
        removed = removeBelow(place.mcp->record, guid);
        break;
    }
    for (const ProcessorFacts& facts : qAsConst(removed))
        m_places.remove(facts.guid);
    return removed;
}

void RunningProcessors::clear()
{
    m_places.clear();
    m_scps.clear();
    m_mcps.clear();
}

const RunningProcessors::Place* RunningProcessors::placeOf(const QUuid& guid, Kind kind) const
{
    const auto place = m_places.constFind(guid);
    return place != m_places.constEnd() && place->kind == kind ? &*place : nullptr;
}

const MCP* RunningProcessors::mcp(const QUuid& guid) const
{
    const Place* const place = placeOf(guid, Kind::Mcp);
    return place ? &place->mcp->record : nullptr;
}

const SCP* RunningProcessors::scp(const QUuid& guid) const
{
    const Place* const place = placeOf(guid, Kind::Scp);
    return place ? &*place->scp : nullptr;
}

const FFP* RunningProcessors::ffp(const QUuid& guid) const
{
    const Place* const place = placeOf(guid, Kind::Ffp);
    return place ? &*place->ffp : nullptr;
}

QUuid RunningProcessors::mcpOfFfp(const QUuid& ffp) const
{
    const Place* const place = placeOf(ffp, Kind::Ffp);
    return place ? keyOf(place->mcp->record) : QUuid();
}

QVector<ProcessorFacts> RunningProcessors::tops() const
{
    QVector<ProcessorFacts> all;
    for (const SCP& scp : m_scps)
        all.append(factsOf(scp));
    for (const Mcp& mcp : m_mcps)
        all.append(factsOf(mcp.record));
    return all;
}

ProcessorOverview RunningProcessors::overview() const
{
    ProcessorOverview overview;
    for (const SCP& scp : m_scps)
        overview.EditSCP().append(scp);
    for (const Mcp& mcp : m_mcps) {
        MCP record = mcp.record;
        for (const FFP& ffp : mcp.ffps)
            record.EditFFP().append(ffp);
        overview.EditMCP().append(record);
    }
    Kolta::ProcessorConverter::setCorrectNumberOfFFPs(overview);
    return overview;
}

template<class Node>
void RunningProcessors::index(const Node& node, const Place& top, const Place& below)
{
    Walk::walk(node, kEveryProcessor, [&](const auto& inner, const auto& parent) {
        using Parent = std::remove_const_t<std::remove_reference_t<decltype(parent)>>;
        m_places.insert(keyOf(inner), Walk::isA<Parent, Walk::NoParent> ? top : below);
        return Walk::eInto;
    });
}

} // namespace KoltaSimulation
