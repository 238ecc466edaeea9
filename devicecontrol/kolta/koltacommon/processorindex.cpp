#include <koltacommon/processorindex.h>

#include <koltacommon/processorwalk.h>

#include <vector>

namespace Kolta {

using namespace RESOURCEMANAGEMENT;
using ProcessorWalk::isA;

namespace {

template<class Node>
constexpr eAppType kindOf()
{
    if constexpr (isA<Node, SCP>)
        return eAppSCP;
    else if constexpr (isA<Node, MCP>)
        return eAppMCP;
    else if constexpr (isA<Node, FFP>)
        return eAppFFP;
    else if constexpr (isA<Node, DSC>)
        return eAppDSC;
    else if constexpr (isA<Node, FHP>)
        return eAppFHP;
    else
        return eAppFHA;
}

/// Calls `function` with the processor as the class that its kind says.
template<class Function>
auto withType(const ProcessorIndex::Processor& processor, const Function& function)
{
    switch (processor.kind) {
    case eAppSCP:
        return function(static_cast<const SCP&>(*processor.object));
    case eAppMCP:
        return function(static_cast<const MCP&>(*processor.object));
    case eAppFFP:
        return function(static_cast<const FFP&>(*processor.object));
    case eAppDSC:
        return function(static_cast<const DSC&>(*processor.object));
    case eAppFHP:
        return function(static_cast<const FHP&>(*processor.object));
    default:
        return function(static_cast<const FHA&>(*processor.object));
    }
}

template<class Element>
bool isSameList(const QVector<Element>& a, const QVector<Element>& b)
{
    return a.size() == b.size() && a.constData() == b.constData();
}

} // namespace

ProcessorIndex::ProcessorIndex(const ProcessorOverview& overview) : m_overview(overview)
{
    flatten(0);
    m_byGuid.rebuild(m_processors);
}

ProcessorIndex::ProcessorIndex(const ProcessorOverview& overview, const ProcessorIndex& earlier)
    : m_overview(overview)
{
    flatten(earlier.m_processors.size());
    makeIndex(earlier);
}

/// Goes along both lists: a processor that is not the one expected is another state of it, or has come, or
/// some before it have gone.
void ProcessorIndex::makeIndex(const ProcessorIndex& earlier)
{
    constexpr int kMostGone = 16; // at one place; more are found as new ones
    const QVector<Processor>& before = earlier.m_processors;
    std::vector<int> newPlaces(static_cast<std::size_t>(before.size()), -1);
    std::vector<int> fresh;
    int expected = 0;
    for (int place = 0; place < m_processors.size(); ++place) {
        int old = expected;
        while (old < expected + kMostGone && !isUnchanged(place, earlier, old))
            ++old;
        if (old == expected + kMostGone)
            old = expected;
        const bool isKnown = old < before.size() && (isUnchanged(place, earlier, old) ||
                                                     m_processors.at(place).guid() == before.at(old).guid());
        if (isKnown) {
            newPlaces[static_cast<std::size_t>(old)] = place;
            expected = old + 1;
        } else {
            fresh.push_back(place);
        }
    }
    m_byGuid.rebuild(m_processors, earlier.m_byGuid, newPlaces, fresh);
}

void ProcessorIndex::flatten(int expected)
{
    m_processors.reserve(expected);
    std::vector<int> holders;
    const ProcessorOverview& overview = m_overview;
    const auto enter = [this, &holders](const auto& node, const auto&) {
        Processor processor;
        processor.kind = kindOf<std::decay_t<decltype(node)>>();
        processor.holder = holders.empty() ? -1 : holders.back();
        processor.object = &node;
        processor.record = &node.GetKoltaProcessor();
        holders.push_back(m_processors.size());
        m_processors.append(processor);
        return ProcessorWalk::eInto;
    };
    ProcessorWalk::Plan plan;
    plan.fhpOfScp = true;
    ProcessorWalk::walk(overview, plan, enter, [&holders](const auto&) { holders.pop_back(); });
}

bool ProcessorIndex::isFor(const ProcessorOverview& overview) const
{
    return isSameList(m_overview.GetSCP(), overview.GetSCP()) &&
           isSameList(m_overview.GetMCP(), overview.GetMCP());
}

int ProcessorIndex::find(const QString& guid, int hint) const
{
    return guid.isEmpty() ? -1 : m_byGuid.indexOf(guid, hint);
}

bool ProcessorIndex::isFirst(int place) const
{
    return find(m_processors.at(place).guid(), place) == place;
}

QString ProcessorIndex::holderGuid(int place) const
{
    const int holder = m_processors.at(place).holder;
    return holder < 0 ? QString() : m_processors.at(holder).guid();
}

int ProcessorIndex::findProduction(const QString& productionId) const
{
    makeCrossReferences();
    return m_byProduction.value(productionId, -1);
}

QVector<int> ProcessorIndex::findFedBy(const QString& tunerGuid) const
{
    makeCrossReferences();
    return m_byTuner.value(tunerGuid);
}

bool ProcessorIndex::sameAt(int place, const ProcessorIndex& other, int otherPlace) const
{
    const Processor& mine = m_processors.at(place);
    const Processor& theirs = other.m_processors.at(otherPlace);
    if (mine.isSameAs(theirs))
        return true;
    return mine.kind == theirs.kind && holderGuid(place) == other.holderGuid(otherPlace) &&
           withType(mine, [&theirs](const auto& node) {
               using Node = std::decay_t<decltype(node)>;
               return ProcessorWalk::sameOwnData(node, static_cast<const Node&>(*theirs.object));
           });
}

void ProcessorIndex::makeCrossReferences() const
{
    if (m_crossReferenced)
        return;
    m_crossReferenced = true;
    for (int place = 0; place < m_processors.size(); ++place) {
        withType(m_processors.at(place), [this, place](const auto& node) {
            using Node = std::decay_t<decltype(node)>;
            if constexpr (isA<Node, SCP> || isA<Node, MCP>) {
                if (node.IsProductionIDSet() && !m_byProduction.contains(node.GetProductionID()))
                    m_byProduction.insert(node.GetProductionID(), place);
                m_byTuner[node.GetDataSource().GetTunerGUID()].append(place);
            } else if constexpr (isA<Node, FFP>) {
                m_byTuner[node.GetTunerGUID()].append(place);
            }
        });
    }
}

} // namespace Kolta
