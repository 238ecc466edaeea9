#include <koltacommon/additionalconverters.h>

#include <koltacommon/reportexceptiontext.h>

#include <startup/tracesource.h>

#include <algorithm>

namespace Kolta {

using ResourceConverter::CResourceDemandClasses;
using RESOURCEMANAGEMENT::ResourceDemandClass;

namespace {

/// Numbers of the trace points. Support tools match on them.
enum eTracePoint : int {
    eUnknownComponentText = 100,
    eUnknownComponentValue = 101,
    eUnknownTraitsText = 110,
    eUnknownTraitsValue = 111,
    eReportException = 120,
    eNameMissing = 130,
    eInvalidDemandClass = 131
};
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/additionalconverters");

template<class Value>
struct NamedValue
{
    Value value;
    const char* text;
};

constexpr NamedValue<CResourceDemandClasses::eCOMPONENTS> kComponents[] = {
    {CResourceDemandClasses::eDCP, "DCP"},
    {CResourceDemandClasses::eFFP, "FFP"},
    {CResourceDemandClasses::eDSC, "DSC"},
    {CResourceDemandClasses::eFHA, "FHA"},
    {CResourceDemandClasses::eFHP, "FHP"}};

constexpr NamedValue<GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS> kClassTraits[] = {
    {GLOBAL_TYPES::eRESOURCE_DEMAND_CLASS_PREDEFINED, "predefined"},
    {GLOBAL_TYPES::eRESOURCE_DEMAND_CLASS_CUSTOM, "custom"}};

/// Converts the text unless it is empty, else the value.
template<class Value, std::size_t size>
bool convert(const NamedValue<Value> (&table)[size], Value& value, QString& text)
{
    const auto matches = [&](const NamedValue<Value>& entry) {
        return text.isEmpty() ? entry.value == value : text == QLatin1String(entry.text);
    };
    const auto* const entry = std::find_if(std::begin(table), std::end(table), matches);
    if (entry == std::end(table))
        return false;
    value = entry->value;
    text = QLatin1String(entry->text);
    return true;
}

/// What a class without bandwidth data gets: nothing unless it is predefined, in software and well known.
void setDefaultBandwidth(ResourceDemandClass& demandClass, const QString& traits)
{
    if (traits != QLatin1String("predefined") || demandClass.GetHardwareProcessing())
        return;
    if (demandClass.GetDemandClassName() == QLatin1String("sw"))
        demandClass.SetMaxBandwidth(1e7);
    else if (demandClass.GetDemandClassName() == QLatin1String("sw_5MHz"))
        demandClass.SetMaxBandwidth(5e6);
}

/// The model's record of a class that has a name.
ResourceDemandClass toRecord(const CResourceDemandClasses::ResourceDemandClass& source, const QString& name)
{
    ResourceDemandClass record;
    record.SetDemandClassName(name);
    if (source.info)
        record.SetInfo(*source.info);
    if (source.displayInfo)
        record.SetDisplayInfo(*source.displayInfo);
    auto value = source.traits;
    QString traits;
    AdditionalConverters::ConvertClassTraits(value, traits);
    record.SetIsCustom(traits == QLatin1String("custom"));
    record.SetHardwareProcessing(source.hardwareProcessing);
    const CResourceDemandClasses::CpuData cpu = source.cpu.value_or(CResourceDemandClasses::CpuData());
    record.SetCPUCredits(cpu.credits);
    record.SetCPUAllocationMode(static_cast<ResourceDemandClass::CPUAllocationMode>(cpu.allocationMode));
    record.SetRAM(source.ram.value_or(0.0));
    if (source.maxBandwidth)
        record.SetMaxBandwidth(*source.maxBandwidth);
    else
        setDefaultBandwidth(record, traits);
    return record;
}

bool isValid(const ResourceDemandClass& demandClass)
{
    try {
        demandClass.Check();
        return true;
    } catch (const REPORTGENERATOR::RGException& exception) {
        kTrace(eInvalidDemandClass, QStringLiteral("Error: Invalid resource demand class. %1: %2")
                                        .arg(exception.GetTitle(), exception.GetText()));
        return false;
    }
}

} // namespace

AdditionalConverters::AdditionalConverters(QObject* parent) : QObject(parent) {}

AdditionalConverters::~AdditionalConverters() = default;

bool AdditionalConverters::ConvertComponent(CResourceDemandClasses::eCOMPONENTS& component, QString& text)
{
    if (convert(kComponents, component, text))
        return true;
    if (text.isEmpty())
        kTrace(eUnknownComponentValue, QStringLiteral("unknown Demandclass component"));
    else
        kTrace(eUnknownComponentText, QStringLiteral("unknown Tavik Demandclass component"));
    return false;
}

bool AdditionalConverters::ConvertClassTraits(GLOBAL_TYPES::eRESOURCE_DEMAND_CLASSES_TRAITS& traits,
                                              QString& text)
{
    if (convert(kClassTraits, traits, text))
        return true;
    if (text.isEmpty())
        kTrace(eUnknownTraitsValue,
               QStringLiteral("Unknown eRESOURCE_DEMAND_CLASSES_TRAITS in ConvertClassTraits"));
    else
        kTrace(eUnknownTraitsText, QStringLiteral("Unknown Type in ConvertClassTraits"));
    return false;
}

QVector<ResourceDemandClass> AdditionalConverters::GetDemandClassesForAppType(const QString& appType) const
{
    QVector<ResourceDemandClass> classes;
    for (const ResourceDemandClass& demandClass : m_demandClasses.GetResourceDemandClass()) {
        if (demandClass.GetAppType() == appType)
            classes.append(demandClass);
    }
    return classes;
}

const ResourceDemandClass* AdditionalConverters::GetDemandClassByName(const QString& appType,
                                                                      const QString& name) const
{
    for (const ResourceDemandClass& demandClass : m_demandClasses.GetResourceDemandClass()) {
        if (demandClass.GetAppType() == appType && demandClass.GetDemandClassName() == name)
            return &demandClass;
    }
    return nullptr;
}

int AdditionalConverters::GetDemandClassCount(const QString& appType) const
{
    const auto& classes = m_demandClasses.GetResourceDemandClass();
    return static_cast<int>(
        std::count_if(classes.begin(), classes.end(), [&appType](const ResourceDemandClass& candidate) {
            return candidate.GetAppType() == appType;
        }));
}

QString AdditionalConverters::GetDemandClassString() const
{
    try {
        return m_demandClasses.GetXmlString();
    } catch (const REPORTGENERATOR::RGException& exception) {
        kTrace(eReportException, reportExceptionText(exception));
        return QString();
    }
}

void AdditionalConverters::sl_SetQueryResourceDemandClasses(CResourceDemandClasses* answer)
{
    if (!answer || answer->isFailure())
        return;
    m_demandClasses.ResetResourceDemandClass();
    int unnamed = 0;
    for (const CResourceDemandClasses::Application& application : answer->getApplications()) {
        auto component = application.getComponent();
        QString appType;
        const bool known = ConvertComponent(component, appType);
        for (const auto& source : application.getResourceDemandClasses()) {
            QString name = source.name;
            if (name.isEmpty()) {
                kTrace(eNameMissing, QStringLiteral("Error: ResourceDemandClass without name."));
                name = QStringLiteral("Unnamed_class_%1").arg(++unnamed);
            }
            ResourceDemandClass record = toRecord(source, name);
            // Without an application type the check below refuses the class.
            if (known)
                record.SetAppType(appType);
            if (isValid(record))
                m_demandClasses.EditResourceDemandClass().append(record);
        }
    }
    Q_EMIT si_DemandClassesChanged();
}

} // namespace Kolta
