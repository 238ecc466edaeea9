#include "commands.h"

#include <kolta/application/servers.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/powerjob.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace KoltaCli {

using Kolta::KoltaResourceObserver;
using Kolta::Operation;
using Kolta::PowerJob;

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
    bool on = false; ///< in the end
};

QVector<Unit> unitsOf(Server& server)
{
    const auto& resources = server.getResourceObserver().GetCurrentResources();
    QVector<Unit> units;
    const auto add = [&](const auto& list, const char* kind) {
        for (const auto& resource : list) {
            const auto& identity = resource.GetTavikResource();
            units.append({&server, identity.GetGUID(), identity.GetDisplayName(), QLatin1String(kind)});
        }
    };
    add(resources.GetTuner(), "tuner");
    add(resources.GetProcessingUnit(), "processing unit");
    add(resources.GetStorageUnit(), "storage unit");
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

/// Asks all servers, waits until they show what was asked for, and tells; returns an eExitCode.
int switchUnits(const Switch& wanted, QVector<Unit> units, const Servers& servers, const CommandLine& line)
{
    std::vector<std::unique_ptr<PowerJob>> jobs;
    QVector<Operation*> open;
    for (Server* server : servers.all()) {
        QStringList guids;
        for (const Unit& unit : qAsConst(units)) {
            if (unit.server == server)
                guids.append(unit.guid);
        }
        jobs.push_back(std::make_unique<PowerJob>(*server, wanted.command, guids, nullptr));
        if (!guids.isEmpty())
            open.append(jobs.back().get());
    }
    const bool done = await(open, line.timeoutMs());
    for (Unit& unit : units) {
        for (const PowerJob::Unit& seen : jobs.at(servers.all().indexOf(unit.server))->units()) {
            if (seen.guid == unit.guid)
                unit.on = seen.isDone == wanted.on;
        }
    }
    print(units, line.json());
    for (const Operation* job : qAsConst(open)) {
        if (job->state() != Operation::State::Done)
            printError(problemOf(*job));
    }
    return done ? eExitOk : eExitFailed;
}

int power(const CommandLine& line, const Servers& servers)
{
    const Users users(servers.installation(), line);
    QVector<Unit> units;
    if (!users.areKnown() || !users.may(Kolta::UserAction::SwitchPower) ||
        !findUnits(line.arguments().mid(1), unitsOf(servers), units))
        return eExitFailed;
    return switchUnits(kSwitches[line.choice(0)], units, servers, line);
}

} // namespace

Command powerCommand()
{
    return {"power",
            "switch units on or off",
            "Switches units of the installation on or off.",
            {{"SWITCH", "What to do.", Argument::eOnce, switchWords()},
             {"UNIT", "GUID or name of a tuner, processing or storage unit; also repeatedly.",
              Argument::eSeveral}},
            Servers::options({Users::option()}),
            with(Servers::startUp, power)};
}

} // namespace KoltaCli
