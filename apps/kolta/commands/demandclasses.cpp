#include "commands.h"

#include <kolta/application/embeddedinstallation.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/resourcedemandclassobserver.h>

#include <QLocale>

#include <iterator>
#include <optional>

namespace KoltaCli {

using Kolta::eAppType;
using Kolta::ResourceDemandClassObserver;
using RESOURCEMANAGEMENT::ResourceDemandClass;
using RESOURCEMANAGEMENT::Tuner;

namespace {

const char* const appTypeNames[] = {"unknown", "scp", "mcp", "ffp", "dsc", "fhp", "fha"};

QString wantedNames()
{
    QStringList names;
    for (const char* name : appTypeNames)
        names.append(QLatin1String(name));
    return names.mid(1).join(QStringLiteral(", "));
}

/// Reads --app-type: a name in any case or the number of a type.
std::optional<eAppType> readAppType(const CommandLine& line)
{
    const QString text = line.value(QStringLiteral("app-type"));
    for (int type = Kolta::eAppSCP; type < static_cast<int>(std::size(appTypeNames)); ++type) {
        if (text == QString::number(type) ||
            text.compare(QLatin1String(appTypeNames[type]), Qt::CaseInsensitive) == 0)
            return static_cast<eAppType>(type);
    }
    const QString wish = QStringLiteral("--app-type wants one of %1 or its number from 1").arg(wantedNames());
    line.usageError(text.isEmpty() ? wish : wish + QStringLiteral(", not \"%1\"").arg(text));
    return std::nullopt;
}

QString yes(bool value)
{
    return value ? QStringLiteral("yes") : QString();
}

QString scaled(bool isSet, double value, double unit)
{
    return isSet ? QString::number(value / unit, 'g', QLocale::FloatingPointShortest) : QString();
}

void printTable(const QVector<ResourceDemandClass>& classes, const QString& defaultName)
{
    Table table({QStringLiteral("CLASS"), QStringLiteral("MAX MHz"), QStringLiteral("HARDWARE"),
                 QStringLiteral("CUSTOM"), QStringLiteral("CREDITS"), QStringLiteral("RAM MB"),
                 QStringLiteral("DEFAULT"), QStringLiteral("INFO")});
    for (const int column : {1, 4, 5})
        table.alignRight(column);
    for (const ResourceDemandClass& entry : classes) {
        table.addRow({entry.GetDemandClassName(),
                      scaled(entry.IsMaxBandwidthSet(), entry.GetMaxBandwidth(), 1e6),
                      yes(entry.GetHardwareProcessing()), yes(entry.GetIsCustom()),
                      scaled(entry.IsCPUCreditsSet(), entry.GetCPUCredits(), 1.0),
                      scaled(entry.IsRAMSet(), entry.GetRAM(), 1e6),
                      yes(entry.GetDemandClassName() == defaultName), entry.GetInfo()});
    }
    printLine(table.toText());
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

/// The tuner whose GUID the user has given, in whatever form; null when there is none.
const Tuner* findTuner(const Kolta::KoltaResourceObserver& resources, const QString& guid)
{
    const QUuid uuid = Kolta::guidFromText(guid);
    return dynamic_cast<const Tuner*>(resources.FindResource(uuid.isNull() ? guid : uuid.toString()));
}

} // namespace

int runDemandClasses(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("demand-classes"),
                     QStringLiteral("Lists the resource demand classes that an application may use, narrow "
                                    "ones first, of a simulated installation inside this process."));
    line.addOption({QStringLiteral("app-type"),
                    QStringLiteral("Type of the application: %1.").arg(wantedNames()),
                    QStringLiteral("type")});
    line.addOption(
        {QStringLiteral("tuner"), QStringLiteral("Only what this tuner can feed."), QStringLiteral("GUID")});
    EmbeddedInstallation::declareOptions(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const std::optional<eAppType> appType = readAppType(line);
    if (!appType)
        return eExitUsage;
    const auto installation = EmbeddedInstallation::start(line);
    if (!installation)
        return eExitFailed;

    ResourceDemandClassObserver demandClasses;
    Kolta::KoltaResourceObserver resources;
    if (!installation->mirror(demandClasses, QStringLiteral("DemandClasses")) ||
        !installation->mirror(resources, QStringLiteral("Resources")))
        return eExitFailed;
    QVector<ResourceDemandClass> classes;
    const QString guid = line.value(QStringLiteral("tuner"));
    if (guid.isEmpty()) {
        classes = demandClasses.GetDemandClassesForAppType(*appType, false);
    } else if (const Tuner* const tuner = findTuner(resources, guid)) {
        classes = demandClasses.GetDemandClassesForAppType(*appType, *tuner);
    } else {
        printError(QStringLiteral("there is no tuner with the GUID \"%1\"").arg(guid));
        return eExitFailed;
    }
    const QString& defaultName = ResourceDemandClassObserver::GetDefaultDemandClassName(*appType);
    if (line.json())
        printObjects(classes, defaultName);
    else
        printTable(classes, defaultName);
    return eExitOk;
}

} // namespace KoltaCli
