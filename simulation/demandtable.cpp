#include <simulation/demandtable.h>

#include <simulation/installation.h>

#include <koltacommon/servernodes.h>
#include <resourcemodel/tunerclasses.h>

namespace KoltaSimulation {

DemandTable::DemandTable(const Installation& installation)
{
    const QString channels = kindOf(QStringLiteral("MCP"));
    for (const auto& demandClass : installation.demandClasses().GetResourceDemandClass()) {
        const QString name = demandClass.GetDemandClassName();
        m_credits.insert({demandClass.GetAppType(), name}, demandClass.GetCPUCredits());
        if (demandClass.GetHardwareProcessing() && demandClass.GetAppType() == channels)
            m_hardware.insert(name);
    }
    RESOURCEMANAGEMENT::TunerClassOverview classes;
    const QString text =
        installation.furtherOverviews().value(Kolta::ServerNodes::name(Kolta::ServerNodes::eTunerClasses));
    if (!text.isEmpty())
        classes.SetXmlString(text, true); // was read before when the installation was loaded
    for (const auto& tunerClass : classes.GetTunerClass()) {
        if (tunerClass.GetHWProcessingRDC())
            m_hardware.insert(tunerClass.GetRDC());
    }
}

std::optional<int> DemandTable::credits(const QString& processor, const QString& demandClass) const
{
    if (demandClass.isEmpty() || m_credits.isEmpty())
        return 0;
    const auto found = m_credits.constFind({kindOf(processor), demandClass});
    return found == m_credits.constEnd() ? std::nullopt : std::optional<int>(*found);
}

QString DemandTable::kindOf(const QString& processor)
{
    const bool isTop = processor == QLatin1String("MCP") || processor == QLatin1String("SCP");
    return isTop ? QStringLiteral("DCP") : processor;
}

} // namespace KoltaSimulation
