#include "commands.h"

#include <kolta/application/servers.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>

#include <algorithm>

namespace KoltaCli {

using Kolta::KoltaResourceObserver;

namespace {

struct Switch
{
    const char* word;
    KoltaResourceObserver::ePowerControlCommand command;
    bool on;
};

const Switch kSwitches[] = {
    {"on", KoltaResourceObserver::eUnitOn, true},
    {"off", KoltaResourceObserver::eUnitOff, false},
    {"supply-on", KoltaResourceObserver::eSupplyOn, true},
    {"supply-off", KoltaResourceObserver::eSupplyOff, false},
    {"devices-on", KoltaResourceObserver::eDevicesOn, true},
    {"devices-off", KoltaResourceObserver::eDevicesOff, false},
    {"programs-off", KoltaResourceObserver::eProgramsOff, false},
    {"system-off", KoltaResourceObserver::eSystemOff, false},
};

QStringList switchWords()
{
    QStringList words;
    for (const Switch& one : kSwitches)
        words.append(QLatin1String(one.word));
    return words;
}

/// Something with a power switch.
struct Unit
{
    Server* server;
    QString guid;
    QString name;
    QString kind;
    bool on;
};

template<class Resource>
Unit makeUnit(Server& server, const Resource& resource, const char* kind, bool on)
{
    const auto& identity = resource.GetTavikResource();
    return {&server, identity.GetGUID(), identity.GetDisplayName(), QLatin1String(kind), on};
}

QVector<Unit> unitsOf(Server& server)
{
    using namespace RESOURCEMANAGEMENT;
    const ResourceOverview& resources = server.getResourceObserver().GetCurrentResources();
    QVector<Unit> units;
    for (const Tuner& tuner : resources.GetTuner())
        units.append(makeUnit(server, tuner, "tuner", tuner.GetAccessible()));
    for (const ProcessingUnit& unit : resources.GetProcessingUnit())
        units.append(
            makeUnit(server, unit, "processing unit", unit.GetRegistration() == ProcessingUnit::eRegistered));
    for (const StorageUnit& unit : resources.GetStorageUnit())
        units.append(
            makeUnit(server, unit, "storage unit", unit.GetRegistration() == StorageUnit::eRegistered));
    return units;
}

QVector<Unit> unitsOf(const Servers& servers)
{
    QVector<Unit> units;
    for (Server* server : servers.all())
        units += unitsOf(*server);
    return units;
}

/// The units that the words mean, by GUID or name. False, with an error printed, when one means none or
/// several.
bool findUnits(const QStringList& words, const QVector<Unit>& all, QVector<Unit>& found)
{
    for (const QString& word : words) {
        const QUuid guid = Kolta::guidFromText(word);
        QVector<Unit> meant;
        std::copy_if(all.begin(), all.end(), std::back_inserter(meant), [&](const Unit& unit) {
            return guid.isNull() ? unit.name == word : Kolta::guidFromText(unit.guid) == guid;
        });
        if (meant.size() != 1) {
            printError(meant.isEmpty()
                           ? QStringLiteral("there is no tuner, processing or storage unit \"%1\"").arg(word)
                           : QStringLiteral("%1 units are called \"%2\", give its GUID or --server")
                                 .arg(QString::number(meant.size()), word));
            return false;
        }
        found += meant;
    }
    return true;
}

/// The units as their servers show them now; one that has gone counts as off.
QVector<Unit> look(const QVector<Unit>& units, const Servers& servers)
{
    const QVector<Unit> all = unitsOf(servers);
    QVector<Unit> seen = units;
    for (Unit& unit : seen) {
        const auto now = std::find_if(all.begin(), all.end(), [&unit](const Unit& one) {
            return one.server == unit.server && one.guid == unit.guid;
        });
        unit.on = now != all.end() && now->on;
    }
    return seen;
}

void ask(const Servers& servers, const QVector<Unit>& units,
         KoltaResourceObserver::ePowerControlCommand command)
{
    for (Server* server : servers.all()) {
        QStringList guids;
        for (const Unit& unit : units) {
            if (unit.server == server)
                guids.append(unit.guid);
        }
        server->getResourceObserver().powerControl(command, guids);
    }
}

void print(const QVector<Unit>& units, bool json)
{
    Table table(
        {QStringLiteral("UNIT"), QStringLiteral("KIND"), QStringLiteral("SERVER"), QStringLiteral("POWER")});
    for (const Unit& unit : units) {
        if (json)
            printJson({{QStringLiteral("server"), unit.server->getAddress()},
                       {QStringLiteral("kind"), unit.kind},
                       {QStringLiteral("name"), unit.name},
                       {QStringLiteral("guid"), unit.guid},
                       {QStringLiteral("on"), unit.on}});
        table.addRow({unit.name, unit.kind, unit.server->getAddress(),
                      unit.on ? QStringLiteral("on") : QStringLiteral("off")});
    }
    if (!json)
        table.print();
}

/// Asks, waits until the servers show what was asked for, and tells; returns an eExitCode.
int switchUnits(const Switch& wanted, const QVector<Unit>& units, const Servers& servers,
                const CommandLine& line)
{
    QVector<Unit> seen;
    ask(servers, units, wanted.command);
    const bool done = waitUntil(
        [&] {
            seen = look(units, servers);
            return std::all_of(seen.begin(), seen.end(),
                               [&wanted](const Unit& unit) { return unit.on == wanted.on; });
        },
        line.timeoutMs());
    print(seen, line.json());
    if (!done)
        printError(orInterrupted(QStringLiteral("not everything is %1 within %2")
                                     .arg(wanted.on ? QStringLiteral("on") : QStringLiteral("off"),
                                          secondsText(line.timeoutMs()))));
    return done ? eExitOk : eExitFailed;
}

int power(const CommandLine& line, const Servers& servers)
{
    QVector<Unit> units;
    if (!findUnits(line.arguments().mid(1), unitsOf(servers), units))
        return eExitFailed;
    return switchUnits(kSwitches[line.choice(0)], units, servers, line);
}

} // namespace

Command powerCommand()
{
    return {"power",
            "switch units on or off",
            "Switches units of a simulated installation inside this process on or off.",
            {{"SWITCH", "What to do.", Argument::Once, switchWords()},
             {"UNIT", "GUID or name of a tuner, processing or storage unit; also repeatedly.",
              Argument::Several}},
            Servers::options(),
            with(Servers::startUp, power)};
}

} // namespace KoltaCli
