#pragma once

#include <koltacommon/export.h>

#include <QSet>
#include <QString>
#include <QUuid>

namespace Kolta {

class KoltaProcessorObserver;

/// By what a production is recognised in the mirror of running processors: an SCP or MCP by its production
/// ID; an FFP, whose production stands nowhere, as one in its MCP that has the name and was not there before.
class KOLTA_COMMON_EXPORT ProductionMark
{
public:
    ProductionMark() = default;
    static ProductionMark ofTop(const QUuid& production);
    /// What is there now counts as there before.
    static ProductionMark ofFfp(const QString& mcp, const QString& name,
                                const KoltaProcessorObserver& processors);

    /// GUID of the processor; empty when it is not shown.
    QString processorIn(const KoltaProcessorObserver& processors) const;

private:
    QString m_production;
    QString m_mcp;
    QString m_name;
    QSet<QString> m_before;
};

} // namespace Kolta
