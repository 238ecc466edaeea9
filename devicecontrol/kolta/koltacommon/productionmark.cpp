#include <koltacommon/productionmark.h>

#include <koltacommon/koltaprocessorobserver.h>

#include <QStringList>

namespace Kolta {

namespace {

QStringList ffpsWith(const QString& name, const QString& mcp, const KoltaProcessorObserver& processors)
{
    QStringList guids;
    const RunningProcessor found = processors.FindProcessor(mcp);
    if (found.kind != eAppMCP)
        return guids;
    for (const auto& ffp : static_cast<const RESOURCEMANAGEMENT::MCP*>(found.object)->GetFFP()) {
        const auto& identity = ffp.GetKoltaProcessor().GetTavikResource();
        if (identity.GetDisplayName() == name)
            guids.append(identity.GetGUID());
    }
    return guids;
}

} // namespace

ProductionMark ProductionMark::ofTop(const QUuid& production)
{
    ProductionMark mark;
    mark.m_production = production.toString();
    return mark;
}

ProductionMark ProductionMark::ofFfp(const QString& mcp, const QString& name,
                                     const KoltaProcessorObserver& processors)
{
    ProductionMark mark;
    mark.m_mcp = mcp;
    mark.m_name = name;
    const QStringList before = ffpsWith(name, mcp, processors);
    mark.m_before = QSet<QString>(before.begin(), before.end());
    return mark;
}

QString ProductionMark::processorIn(const KoltaProcessorObserver& processors) const
{
    if (m_mcp.isEmpty())
        return processors.GetGUIDForProductionID(m_production);
    for (const QString& guid : ffpsWith(m_name, m_mcp, processors)) {
        if (!m_before.contains(guid))
            return guid;
    }
    return QString();
}

} // namespace Kolta
