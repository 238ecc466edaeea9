#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <common/shellwords.h>
#include <koltacommon/frontendstart.h>
#include <koltacommon/guidtext.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaserverinterface.h>

#include <QJsonArray>

namespace KoltaCli {

using Kolta::FrontEndStart;

namespace {

void print(const ProcessorEntry& entry, const FrontEndStart& start, bool started, const CommandLine& line)
{
    if (line.json())
        printJson({{QStringLiteral("server"), entry.server->getAddress()},
                   {QStringLiteral("name"), entry.name},
                   {QStringLiteral("guid"), entry.guid},
                   {QStringLiteral("program"), start.executable},
                   {QStringLiteral("arguments"), QJsonArray::fromStringList(start.arguments)},
                   {QStringLiteral("folder"), start.workingDirectory},
                   {QStringLiteral("started"), started}});
    else if (started || line.isSet("dry-run"))
        printLine(QStringLiteral("%1 %2 in %3")
                      .arg(started ? QStringLiteral("started") : QStringLiteral("would start"),
                           KoltaApps::shellLine(QStringList{start.executable} + start.arguments),
                           start.workingDirectory));
}

int startFrontEnd(const CommandLine& line, Servers& servers)
{
    const Users users(servers.installation(), line);
    if (!users.areKnown() || !users.may(Kolta::UserAction::ShowFrontEnd))
        return eExitFailed;
    const ProcessorDirectory directory(servers.all());
    QString problem;
    const ProcessorEntry* const entry = directory.find(line.argument(0), QString(), problem);
    FrontEndStart start;
    if (entry &&
        !entry->server->getProductionControl().findGuiStartParameters(
            Kolta::guidFromText(entry->guid), start.executable, start.arguments, start.workingDirectory))
        problem = QStringLiteral("%1 has no driver that tells how it is reached").arg(entry->name);
    bool started = false;
    if (problem.isEmpty() && !line.isSet("dry-run")) {
        const QString failure = start.runOnItsOwn();
        started = failure.isEmpty();
        if (!started)
            problem = QStringLiteral("%1 cannot be started in %2: %3")
                          .arg(start.executable, start.workingDirectory, failure);
    }
    if (entry && !start.executable.isEmpty())
        print(*entry, start, started, line);
    if (problem.isEmpty())
        return eExitOk;
    printError(problem);
    return eExitFailed;
}

} // namespace

Command frontEndCommand()
{
    return {
        "front-end",
        "start the front end of a driver",
        "Starts the graphical front end of the driver that serves a processor: a program in the folder of "
        "this one, which goes on when this one has ended.",
        {{"PROCESSOR", "GUID or name of a processor."}},
        Servers::options({flag("dry-run", "Only tell what would be started."), Users::option()}),
        with(Servers::startUp, startFrontEnd)};
}

} // namespace KoltaCli
