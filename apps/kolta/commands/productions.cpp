#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/servers.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/units.h>

namespace KoltaCli {

namespace {

bool isInHardware(const ProcessorEntry& entry)
{
    return entry.server->getHWProcessingObserver().findActiveHWProcessors(entry.guid) != nullptr;
}

QString resourceName(const ProcessorEntry& entry, const QString& guid)
{
    return entry.server->getResourceObserver().GetDisplayNameByGUID(guid);
}

QString megahertz(double hertz)
{
    return hertz > 0 ? Kolta::megahertzToText(hertz) : QString();
}

void printObject(const ProcessorEntry& entry)
{
    QJsonObject object{{QStringLiteral("server"), entry.server->getAddress()},
                       {QStringLiteral("kind"), entry.kind},
                       {QStringLiteral("name"), entry.name},
                       {QStringLiteral("processor"), entry.guid},
                       {QStringLiteral("depth"), entry.depth},
                       {QStringLiteral("demandClass"), entry.demandClass},
                       {QStringLiteral("unit"), resourceName(entry, entry.unit)},
                       {QStringLiteral("hardware"), isInHardware(entry)}};
    const QString task = entry.server->getProductionControl().getTaskIDForGuid(entry.guid);
    const QPair<const char*, QString> texts[] = {{"production", entry.production},
                                                 {"mcp", entry.mcp},
                                                 {"tuner", resourceName(entry, entry.tuner)},
                                                 {"tunerGuid", entry.tuner},
                                                 {"task", task}};
    for (const auto& [name, text] : texts) {
        if (!text.isEmpty())
            object[QLatin1String(name)] = text;
    }
    if (entry.frequency > 0)
        object[QStringLiteral("frequency")] = entry.frequency;
    if (entry.bandwidth > 0)
        object[QStringLiteral("bandwidth")] = entry.bandwidth;
    printJson(object);
}

void printEntries(const QVector<ProcessorEntry>& entries)
{
    Table table({QStringLiteral("PROCESSOR"), QStringLiteral("KIND"), QStringLiteral("SERVER"),
                 QStringLiteral("TUNER"), QStringLiteral("MHz"), QStringLiteral("BAND MHz"),
                 QStringLiteral("DEMAND"), QStringLiteral("UNIT"), QStringLiteral("HARDWARE"),
                 QStringLiteral("GUID"), QStringLiteral("PRODUCTION")});
    table.alignRight({4, 5});
    for (const ProcessorEntry& entry : entries)
        table.addRow({QString(2 * entry.depth, QLatin1Char(' ')) + entry.name, entry.kind,
                      entry.server->getAddress(), resourceName(entry, entry.tuner),
                      megahertz(entry.frequency), megahertz(entry.bandwidth), entry.demandClass,
                      resourceName(entry, entry.unit),
                      isInHardware(entry) ? QStringLiteral("yes") : QString(), entry.guid, entry.production});
    printTable(table, QStringLiteral("nothing runs"));
}

int productions(const CommandLine& line, const Servers& servers)
{
    const ProcessorDirectory directory(servers.all());
    if (!line.json()) {
        printEntries(directory.all());
        return eExitOk;
    }
    for (const ProcessorEntry& entry : directory.all())
        printObject(entry);
    return eExitOk;
}

} // namespace

Command productionsCommand()
{
    return {"productions",
            "list what runs",
            "Lists what runs on the servers of the installation: productions and the "
            "processors within them.",
            {},
            Servers::options(),
            with(Servers::startUp, productions)};
}

} // namespace KoltaCli
