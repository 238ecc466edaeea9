#include "commands.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/resourcedemandclassobserver.h>

#include <QLocale>

namespace KoltaCli {

using Kolta::eAppType;
using Kolta::ResourceDemandClassObserver;
using RESOURCEMANAGEMENT::ResourceDemandClass;
using RESOURCEMANAGEMENT::Tuner;

namespace {

/// A type is meant by its name or its number.
const QStringList kAppTypeNames{QStringLiteral("scp"), QStringLiteral("mcp"), QStringLiteral("ffp"),
                                QStringLiteral("dsc"), QStringLiteral("fhp"), QStringLiteral("fha"),
                                QStringLiteral("1"),   QStringLiteral("2"),   QStringLiteral("3"),
                                QStringLiteral("4"),   QStringLiteral("5"),   QStringLiteral("6")};
constexpr int kAppTypes = 6;

QString scaled(bool isSet, double value, double unit)
{
    return isSet ? QString::number(value / unit, 'g', QLocale::FloatingPointShortest) : QString();
}

void printTable(const QVector<ResourceDemandClass>& classes, const QString& defaultName)
{
    Table table({QStringLiteral("CLASS"), QStringLiteral("MAX MHz"), QStringLiteral("HARDWARE"),
                 QStringLiteral("CUSTOM"), QStringLiteral("CREDITS"), QStringLiteral("RAM MB"),
                 QStringLiteral("DEFAULT"), QStringLiteral("INFO")});
    table.alignRight({1, 4, 5});
    for (const ResourceDemandClass& entry : classes) {
        table.addRow({entry.GetDemandClassName(),
                      scaled(entry.IsMaxBandwidthSet(), entry.GetMaxBandwidth(), 1e6),
                      yes(entry.GetHardwareProcessing()), yes(entry.GetIsCustom()),
                      scaled(entry.IsCPUCreditsSet(), entry.GetCPUCredits(), 1.0),
                      scaled(entry.IsRAMSet(), entry.GetRAM(), 1e6),
                      yes(entry.GetDemandClassName() == defaultName), entry.GetInfo()});
    }
    table.print();
}

/// One object per class; what is unset is missing.
void printObjects(const QVector<ResourceDemandClass>& classes, const QString& defaultName)
{
    for (const ResourceDemandClass& entry : classes) {
        QJsonObject object{{QStringLiteral("name"), entry.GetDemandClassName()},
                           {QStringLiteral("kind"), entry.GetAppType()},
                           {QStringLiteral("hardware"), entry.GetHardwareProcessing()},
                           {QStringLiteral("custom"), entry.GetIsCustom()},
                           {QStringLiteral("default"), entry.GetDemandClassName() == defaultName},
                           {QStringLiteral("info"), entry.GetInfo()}};
        if (entry.IsMaxBandwidthSet())
            object[QStringLiteral("maxBandwidth")] = entry.GetMaxBandwidth();
        if (entry.IsCPUCreditsSet())
            object[QStringLiteral("cpuCredits")] = entry.GetCPUCredits();
        if (entry.IsRAMSet())
            object[QStringLiteral("ram")] = entry.GetRAM();
        printJson(object);
    }
}

int demandClasses(const CommandLine& line, const EmbeddedInstallation& installation)
{
    if (!line.isSet("app-type"))
        return line.usageError(QStringLiteral("--app-type is missing"));
    const auto appType = static_cast<eAppType>(Kolta::eAppSCP + line.choice("app-type") % kAppTypes);
    ResourceDemandClassObserver observer;
    Kolta::KoltaResourceObserver resources;
    if (!installation.mirror(observer, Kolta::ServerNodes::eDemandClasses) ||
        !installation.mirror(resources, Kolta::ServerNodes::eResources))
        return eExitFailed;
    QVector<ResourceDemandClass> classes;
    const QString name = line.value("tuner");
    if (name.isEmpty()) {
        classes = observer.GetDemandClassesForAppType(appType, false);
    } else if (const Tuner* const tuner = findTuner(resources, installation.firstName(), name)) {
        classes = observer.GetDemandClassesForAppType(appType, *tuner);
    } else {
        return eExitFailed;
    }
    const QString& defaultName = ResourceDemandClassObserver::GetDefaultDemandClassName(appType);
    if (line.json())
        printObjects(classes, defaultName);
    else
        printTable(classes, defaultName);
    return eExitOk;
}

} // namespace

Command demandClassesCommand()
{
    return {"demand-classes",
            "list the demand classes that an application may use",
            "Lists the resource demand classes that an application may use, narrow ones first, of the "
            "installation.",
            {},
            EmbeddedInstallation::options(
                {choice("app-type", "type", "Type of the application, by name or number.", kAppTypeNames),
                 text("tuner", "tuner", "Only what this tuner, by GUID or name, can feed.")}),
            with(EmbeddedInstallation::start, demandClasses)};
}

} // namespace KoltaCli
