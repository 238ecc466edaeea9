#include "commands.h"

#include <kolta/application/serverfigures.h>
#include <kolta/application/servers.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/units.h>

namespace KoltaCli {

using RESOURCEMANAGEMENT::ProcessingUnit;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::StorageUnit;
using RESOURCEMANAGEMENT::Tuner;

namespace {

QString stateOf(const Tuner& tuner)
{
    return Kolta::TunerModel::stateText(Kolta::TunerBookingManager::reportedState(tuner));
}

template<class Unit>
QString stateOf(const Unit& unit)
{
    return isRegistered(unit) ? QStringLiteral("registered") : QStringLiteral("not registered");
}

QString megahertz(bool isSet, double hertz)
{
    return isSet ? Kolta::megahertzToText(hertz) : QString();
}

void printTuners(const QVector<Server*>& servers)
{
    Table table({QStringLiteral("TUNER"), QStringLiteral("SERVER"), QStringLiteral("TYPE"),
                 QStringLiteral("SW MHz"), QStringLiteral("HW MHz"), QStringLiteral("ADDRESS"),
                 QStringLiteral("STATE")});
    table.alignRight({3, 4});
    for (Server* server : servers) {
        for (const Tuner& tuner : server->getResourceObserver().GetCurrentResources().GetTuner())
            table.addRow({tuner.GetTavikResource().GetDisplayName(), server->getAddress(), tuner.GetType(),
                          megahertz(tuner.IsMaxSWBandwidthSet(), tuner.GetMaxSWBandwidth()),
                          megahertz(tuner.IsMaxHWBandwidthSet(), tuner.GetMaxHWBandwidth()),
                          tuner.GetTavikResource().GetAddress(), stateOf(tuner)});
    }
    printTable(table, QStringLiteral("there are no tuners"));
}

template<class Units>
void addUnits(Table& table, const Server& server, const QString& kind, const Units& units)
{
    for (const auto& unit : units)
        table.addRow({unit.GetTavikResource().GetDisplayName(), server.getAddress(), kind,
                      unit.GetTavikResource().GetAddress(), stateOf(unit)});
}

void printUnits(const QVector<Server*>& servers)
{
    Table table({QStringLiteral("UNIT"), QStringLiteral("SERVER"), QStringLiteral("KIND"),
                 QStringLiteral("ADDRESS"), QStringLiteral("STATE")});
    for (Server* server : servers) {
        const ResourceOverview& resources = server->getResourceObserver().GetCurrentResources();
        addUnits(table, *server, QStringLiteral("processing"), resources.GetProcessingUnit());
        addUnits(table, *server, QStringLiteral("storage"), resources.GetStorageUnit());
    }
    printTable(table, QStringLiteral("there are no units"));
}

template<class Resource>
QJsonObject toJson(const Server& server, const QString& kind, const Resource& resource)
{
    const auto& identity = resource.GetTavikResource();
    return {
        {QStringLiteral("server"), server.getAddress()},     {QStringLiteral("kind"), kind},
        {QStringLiteral("name"), identity.GetDisplayName()}, {QStringLiteral("guid"), identity.GetGUID()},
        {QStringLiteral("address"), identity.GetAddress()},  {QStringLiteral("state"), stateOf(resource)}};
}

void printObjects(Server& server)
{
    const ResourceOverview& resources = server.getResourceObserver().GetCurrentResources();
    for (const Tuner& tuner : resources.GetTuner()) {
        QJsonObject object = toJson(server, QStringLiteral("tuner"), tuner);
        object[QStringLiteral("state")] =
            QLatin1String(nameOf(Kolta::TunerBookingManager::reportedState(tuner)).json);
        object[QStringLiteral("type")] = tuner.GetType();
        if (tuner.IsMaxSWBandwidthSet())
            object[QStringLiteral("softwareBandwidth")] = tuner.GetMaxSWBandwidth();
        if (tuner.IsMaxHWBandwidthSet())
            object[QStringLiteral("hardwareBandwidth")] = tuner.GetMaxHWBandwidth();
        printJson(object);
    }
    for (const ProcessingUnit& unit : resources.GetProcessingUnit())
        printJson(toJson(server, QStringLiteral("processing"), unit));
    for (const StorageUnit& unit : resources.GetStorageUnit())
        printJson(toJson(server, QStringLiteral("storage"), unit));
}

int resources(const CommandLine& line, const Servers& servers)
{
    if (line.json()) {
        for (Server* server : servers.all())
            printObjects(*server);
        return eExitOk;
    }
    printTuners(servers.all());
    printLine(QString());
    printUnits(servers.all());
    return eExitOk;
}

} // namespace

Command resourcesCommand()
{
    return {"resources",
            "list tuners, processing and storage units",
            "Lists the tuners, processing and storage units of the installation's servers.",
            {},
            Servers::options(),
            with(Servers::startUp, resources)};
}

} // namespace KoltaCli
