#include <simulation/demandclassanswer.h>

#include <koltacommon/additionalconverters.h>

#include <QHash>

namespace KoltaSimulation {

using ResourceConverter::CResourceDemandClasses;
using RESOURCEMANAGEMENT::ResourceDemandClass;

namespace {

CResourceDemandClasses::ResourceDemandClass toMessage(const ResourceDemandClass& record)
{
    CResourceDemandClasses::ResourceDemandClass message;
    message.name = record.GetDemandClassName();
    if (record.IsInfoSet())
        message.info = record.GetInfo();
    if (record.IsDisplayInfoSet())
        message.displayInfo = record.GetDisplayInfo();
    if (record.GetIsCustom())
        message.traits = GLOBAL_TYPES::eRESOURCE_DEMAND_CLASS_CUSTOM;
    message.hardwareProcessing = record.GetHardwareProcessing();
    if (record.IsCPUCreditsSet() || record.IsCPUAllocationModeSet())
        message.cpu = {record.GetCPUCredits(), record.GetCPUAllocationMode()};
    if (record.IsRAMSet())
        message.ram = record.GetRAM();
    if (record.IsMaxBandwidthSet())
        message.maxBandwidth = record.GetMaxBandwidth();
    return message;
}

} // namespace

QVector<CResourceDemandClasses::Application>
demandClassAnswer(const RESOURCEMANAGEMENT::ResourceDemandClassOverview& overview)
{
    QVector<CResourceDemandClasses::eCOMPONENTS> order;
    QHash<int, QVector<CResourceDemandClasses::ResourceDemandClass>> classes;
    for (const ResourceDemandClass& record : overview.GetResourceDemandClass()) {
        auto component = CResourceDemandClasses::eDCP;
        QString kind = record.GetAppType();
        if (kind.isEmpty() || !Kolta::AdditionalConverters::ConvertComponent(component, kind))
            continue;
        if (!order.contains(component))
            order.append(component);
        classes[component].append(toMessage(record));
    }
    QVector<CResourceDemandClasses::Application> applications;
    for (const auto component : qAsConst(order))
        applications.append({component, classes.value(component)});
    return applications;
}

} // namespace KoltaSimulation
