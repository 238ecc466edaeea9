#include "commands.h"

#include <kolta/application/servers.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/terminationjob.h>

#include <algorithm>

namespace KoltaCli {

using Kolta::TerminationJob;

namespace {

Server* find(const QString& name, const Servers& servers)
{
    const auto& all = servers.all();
    const auto found = std::find_if(all.begin(), all.end(), [&name](const Server* server) {
        return server->getAddress().compare(name, Qt::CaseInsensitive) == 0;
    });
    if (found != all.end())
        return *found;
    printError(QStringLiteral("there is no server \"%1\"; known: %2").arg(name, listed(servers.names())));
    return nullptr;
}

int terminate(const CommandLine& line, Servers& servers, TerminationJob::Action action)
{
    const bool isReset = action == TerminationJob::Action::Reset;
    const Users users(servers.installation(), line);
    if (!users.areKnown() ||
        !users.may(isReset ? Kolta::UserAction::ResetServer : Kolta::UserAction::QuitServer))
        return eExitFailed;
    Server* const server = find(line.argument(0), servers);
    if (!server)
        return eExitFailed;
    const QString name = server->getAddress(); // which it may take along
    TerminationJob job(*server, action, nullptr);
    const bool done = await(job, line.timeoutMs());
    if (line.json()) {
        QJsonObject object{
            {QStringLiteral("server"), name},
            {QStringLiteral("action"), isReset ? QStringLiteral("reset") : QStringLiteral("quit")}};
        addEnd(object, job);
        printJson(object);
    } else if (done) {
        printLine(isReset ? QStringLiteral("%1 has restarted").arg(name)
                          : QStringLiteral("%1 has ended").arg(name));
    }
    if (!done)
        printError(problemOf(job));
    return done ? eExitOk : eExitFailed;
}

Run terminating(TerminationJob::Action action)
{
    return with(Servers::startUp, [action](const CommandLine& line, Servers& servers) {
        return terminate(line, servers, action);
    });
}

} // namespace

Command serverCommand()
{
    const Argument name{"SERVER", "Its name."};
    return {"server",
            "restart or end a server",
            "Asks a server to restart or to end, and waits until it has; give a slow one more --timeout. "
            "Everything that runs on it is stopped, whoever started it.",
            {},
            Servers::options({Users::option()}),
            nullptr,
            {{"reset", {name}, "Restarts it.", terminating(TerminationJob::Action::Reset)},
             {"quit", {name}, "Ends it for good.", terminating(TerminationJob::Action::Quit)}}};
}

} // namespace KoltaCli
