#include <simulation/hardwarelist.h>

#include <startup/tracesource.h>

#include <QSet>

#include <algorithm>

namespace KoltaSimulation {

namespace {

enum eTracePoint : int { eNoList = 60 };
constexpr Startup::TraceSource kTrace("simulation/hardwarelist", Startup::eTraceWarning);

} // namespace

using RESOURCEMANAGEMENT::HWProcessing;
using RESOURCEMANAGEMENT::HWProcessingOverview;

QString HardwareList::amend(const QString& current, const QStringList& added, const QStringList& removed)
{
    if (added.isEmpty() && removed.isEmpty())
        return current;
    read(current);
    auto& entries = m_overview.EditHWProcessing();
    QSet<QString> listed;
    for (const HWProcessing& entry : qAsConst(entries))
        listed.insert(entry.GetGUID());
    bool changed = m_text != current;
    for (const QString& mcp : added) {
        if (listed.contains(mcp))
            continue;
        HWProcessing entry;
        entry.SetGUID(mcp);
        entry.SetType(QStringLiteral("MCP"));
        entry.SetStatus(QStringLiteral("running"));
        entries.append(entry);
        changed = true;
    }
    const QSet<QString> gone(removed.begin(), removed.end());
    const auto isGone = [&gone](const HWProcessing& entry) { return gone.contains(entry.GetGUID()); };
    const auto end = std::remove_if(entries.begin(), entries.end(), isGone);
    changed = changed || end != entries.end();
    entries.erase(end, entries.end());
    if (changed)
        m_text = m_overview.GetXmlString();
    return m_text;
}

void HardwareList::clear()
{
    *this = HardwareList();
}

void HardwareList::read(const QString& text)
{
    if (text == m_text)
        return;
    HWProcessingOverview overview;
    try {
        overview.SetXmlString(text, true);
    } catch (const REPORTGENERATOR::RGException& failure) {
        kTrace(eNoList, QStringLiteral("HardwareProcessing holds no list: %1").arg(failure.GetText()));
        return;
    }
    m_overview = overview;
    m_text = text;
}

} // namespace KoltaSimulation
