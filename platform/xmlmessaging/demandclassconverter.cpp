#include "demandclassconverter.h"

#include "converterparts.h"

#include <cmath>

using XmlCommon::CConstElement;
using XmlCommon::CDataTree;
using XmlCommon::CElement;
using XmlCommon::CMsgFragment;
using XmlCommon::shortest;

namespace ResourceConverter {

namespace {

using DemandClass = CResourceDemandClasses::ResourceDemandClass;

constexpr char kComponentName[] = "ResourceDemandClasses";

/// -1 for what is missing or no number of 32 bits.
qint32 numberAttribute(CConstElement element, const char* name)
{
    bool ok = false;
    const qint32 number = element.attribute(name).toInt(&ok);
    return ok ? number : -1;
}

std::optional<QString> optionalText(CConstElement element)
{
    return element ? std::optional<QString>(element.text()) : std::nullopt;
}

/// Nothing for what is missing, no number or not finite.
std::optional<double> optionalNumber(CConstElement element)
{
    bool ok = false;
    const double number = element.text().toDouble(&ok);
    return ok && std::isfinite(number) ? std::optional<double>(number) : std::nullopt;
}

std::optional<CResourceDemandClasses::CpuData> optionalCpu(CConstElement element)
{
    if (!element)
        return std::nullopt;
    CResourceDemandClasses::CpuData cpu;
    cpu.credits = element.attribute("credits").toInt();
    cpu.allocationMode = element.attribute("allocationMode").toInt();
    return cpu;
}

DemandClass readClass(CConstElement element)
{
    DemandClass read;
    read.name = element.childText("Name");
    read.info = optionalText(element.child("Info"));
    read.displayInfo = optionalText(element.child("DisplayInfo"));
    read.traits =
        static_cast<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS>(numberAttribute(element, "traits"));
    read.hardwareProcessing = element.attribute("hardwareProcessing") == QLatin1String("true");
    read.cpu = optionalCpu(element.child("Cpu"));
    read.ram = optionalNumber(element.child("Ram"));
    read.maxBandwidth = optionalNumber(element.child("MaxBandwidth"));
    return read;
}

void writeClass(CElement element, const DemandClass& written)
{
    element.setAttribute("traits", QString::number(written.traits));
    element.setAttribute("hardwareProcessing", XmlCommon::truthText(written.hardwareProcessing));
    element.append("Name", written.name);
    if (written.info)
        element.append("Info", *written.info);
    if (written.displayInfo)
        element.append("DisplayInfo", *written.displayInfo);
    if (written.cpu) {
        CElement cpu = element.append("Cpu");
        cpu.setAttribute("credits", QString::number(written.cpu->credits));
        cpu.setAttribute("allocationMode", QString::number(written.cpu->allocationMode));
    }
    if (written.ram)
        element.append("Ram", shortest(*written.ram));
    if (written.maxBandwidth)
        element.append("MaxBandwidth", shortest(*written.maxBandwidth));
}

} // namespace

CMsgFragment CResourceDemandClasses::makeFragment()
{
    return XmlCommon::requestFragment(kComponentName, CDataTree(QLatin1String("GetDemandClasses")));
}

bool CResourceDemandClasses::isQuery(const CMsgFragment& fragment)
{
    return XmlCommon::asksFor(fragment, kComponentName, "GetDemandClasses");
}

void CResourceDemandClasses::fillReply(CMsgFragment& fragment, const QVector<Application>& applications)
{
    CDataTree tree(QLatin1String("DemandClasses"));
    CElement root = tree.editRoot();
    for (const Application& application : applications) {
        CElement element = root.append("Application");
        element.setAttribute("component", QString::number(application.getComponent()));
        for (const DemandClass& demandClass : application.getResourceDemandClasses())
            writeClass(element.append("DemandClass"), demandClass);
    }
    fragment.setDataTree(tree);
}

CResourceDemandClasses::CResourceDemandClasses(const CMsgFragment& fragment)
{
    const CConstElement root = fragment.getDataTree().root();
    m_compatible =
        fragment.getComponentName() == QLatin1String(kComponentName) && root.hasName("DemandClasses");
    m_failure = !m_compatible || fragment.hasFaultTree();
    if (m_failure)
        return;
    for (CConstElement entry = root.child("Application"); entry; entry = entry.next("Application")) {
        QVector<ResourceDemandClass> classes;
        for (CConstElement inner = entry.child("DemandClass"); inner; inner = inner.next("DemandClass"))
            classes.append(readClass(inner));
        m_applications.append(
            Application(static_cast<eCOMPONENTS>(numberAttribute(entry, "component")), classes));
    }
}

} // namespace ResourceConverter
