#include "processordirectory.h"

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processorwalk.h>

#include <algorithm>

namespace KoltaCli {

namespace Walk = Kolta::ProcessorWalk;
using Kolta::guidFromText;

namespace {

/// Walks meet every processor.
constexpr Walk::Plan kEveryProcessor{false, false, true, true};

template<class Node>
ProcessorEntry describe(const Node& node)
{
    ProcessorEntry entry;
    const auto& record = node.GetKoltaProcessor();
    entry.guid = record.GetTavikResource().GetGUID();
    entry.name = record.GetTavikResource().GetDisplayName();
    entry.kind = node.GetObjectName();
    entry.demandClass = record.GetDemandClassName();
    entry.unit = record.GetUsedProcessingUnit().GetGUID();
    if constexpr (Walk::isA<Node, Walk::SCP> || Walk::isA<Node, Walk::MCP>) {
        entry.production = node.GetProductionID();
        entry.tuner = node.GetDataSource().GetTunerGUID();
    } else if constexpr (Walk::isA<Node, Walk::FFP>) {
        entry.tuner = node.GetTunerGUID();
    }
    if constexpr (Walk::isA<Node, Walk::SCP> || Walk::isA<Node, Walk::MCP> || Walk::isA<Node, Walk::FFP>) {
        entry.frequency = node.GetFrequency();
        entry.bandwidth = node.GetBandwidth();
    }
    return entry;
}

} // namespace

ProcessorDirectory::ProcessorDirectory(const QVector<Server*>& servers)
{
    for (Server* server : servers)
        add(*server);
    for (int place = 0; place < m_entries.size(); ++place) {
        const ProcessorEntry& entry = m_entries.at(place);
        for (const QString& text : {entry.guid, entry.production}) {
            const QUuid guid = guidFromText(text);
            if (!guid.isNull() && !m_byGuid.contains(guid, place))
                m_byGuid.insert(guid, place);
        }
        m_byName.insert(entry.name, place);
    }
}

void ProcessorDirectory::add(Server& server)
{
    int depth = 0;
    QString mcp;
    const auto enter = [&](const auto& node, const auto&) {
        ProcessorEntry entry = describe(node);
        entry.server = &server;
        entry.depth = depth++;
        entry.mcp = mcp;
        if (entry.kind == QLatin1String("MCP"))
            mcp = entry.guid;
        m_entries.append(entry);
        return Walk::eInto;
    };
    const auto leave = [&](const auto&) {
        if (--depth == 0)
            mcp.clear();
    };
    // A server that has gone runs nothing that anybody knows of.
    if (server.getState() != Kolta::SERVER_STATES::eDisconnected)
        Walk::walk(server.getProcessorObserver().GetCurrentProcessors(), kEveryProcessor, enter, leave);
}

const ProcessorEntry* ProcessorDirectory::find(const QString& text, const QString& kind,
                                               QString& problem) const
{
    const QUuid guid = guidFromText(text);
    const QList<int> candidates = guid.isNull() ? m_byName.values(text) : m_byGuid.values(guid);
    QVector<int> places;
    std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(places),
                 [&](int place) { return kind.isEmpty() || m_entries.at(place).kind == kind; });
    if (places.size() == 1)
        return &m_entries.at(places.first());
    const QString what = kind.isEmpty() ? QStringLiteral("processor") : kind;
    problem = places.isEmpty() ? QStringLiteral("no %1 \"%2\" runs").arg(what, text)
                               : QStringLiteral("%1 processors are called \"%2\", give its GUID or --server")
                                     .arg(QString::number(places.size()), text);
    return nullptr;
}

const ProcessorEntry* ProcessorDirectory::findOnly(const QString& kind, QString& problem) const
{
    const auto isOfKind = [&kind](const ProcessorEntry& entry) { return entry.kind == kind; };
    const auto count = std::count_if(m_entries.begin(), m_entries.end(), isOfKind);
    if (count == 1)
        return &*std::find_if(m_entries.begin(), m_entries.end(), isOfKind);
    problem = count == 0 ? QStringLiteral("no %1 runs").arg(kind)
                         : QStringLiteral("%1 %2s run, name one with --%3")
                               .arg(QString::number(count), kind, kind.toLower());
    return nullptr;
}

} // namespace KoltaCli
