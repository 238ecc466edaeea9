#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/stopjob.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace KoltaCli {

using Kolta::Operation;
using Kolta::StopJob;

namespace {

/// Something that is to be stopped.
struct Target
{
    Server* server = nullptr;
    QUuid guid;   ///< by which the server is asked
    QString name; ///< for people
    QString kind;
};

Target targetOf(const ProcessorEntry& entry)
{
    Target target;
    target.server = entry.server;
    const QUuid production = Kolta::guidFromText(entry.production);
    target.guid = production.isNull() ? Kolta::guidFromText(entry.guid) : production;
    target.name = entry.name;
    target.kind = entry.kind;
    return target;
}

/// What the words mean. The production of an FFP shows in no mirror: a GUID that nobody knows may be one.
bool findTargets(const QStringList& words, const Servers& servers, QVector<Target>& targets)
{
    const ProcessorDirectory directory(servers.all());
    for (const QString& word : words) {
        QString problem;
        const QUuid guid = Kolta::guidFromText(word);
        if (const ProcessorEntry* const entry = directory.find(word, QString(), problem)) {
            targets.append(targetOf(*entry));
        } else if (!guid.isNull()) {
            Target target;
            target.server = servers.only();
            target.guid = guid;
            target.name = guid.toString();
            if (!target.server)
                return false;
            targets.append(target);
        } else {
            printError(problem);
            return false;
        }
    }
    return true;
}

/// What one server is asked to stop.
std::unique_ptr<StopJob> makeJob(const QVector<Target>& targets, Server& server, bool all)
{
    if (all)
        return std::unique_ptr<StopJob>(StopJob::all(server, nullptr));
    QVector<QUuid> guids;
    for (const Target& target : targets) {
        if (target.server == &server)
            guids.append(target.guid);
    }
    return guids.isEmpty() ? nullptr : std::make_unique<StopJob>(server, guids, nullptr);
}

/// Prints what has become of one target.
bool tell(const Target& target, const StopJob& job, bool json)
{
    const auto& results = job.targets();
    const auto result = std::find_if(results.begin(), results.end(), [&target](const StopJob::Target& each) {
        return each.guid == target.guid;
    });
    const auto state = result == results.end() ? Operation::State::Running : result->state;
    const bool stopped = state == Operation::State::Done;
    if (json)
        printJson({{QStringLiteral("server"), target.server->getAddress()},
                   {QStringLiteral("guid"), target.guid.toString()},
                   {QStringLiteral("name"), target.name},
                   {QStringLiteral("stopped"), stopped}});
    else if (stopped)
        printLine(QStringLiteral("%1 has stopped").arg(target.name));
    if (state == Operation::State::Refused)
        printError(QStringLiteral("%1: %2").arg(target.server->getAddress(), result->text));
    else if (!stopped)
        printError(QStringLiteral("%1 has not stopped %2: %3")
                       .arg(target.server->getAddress(), target.name, problemOf(job)));
    return stopped;
}

/// Asks all servers, waits, and tells; returns an eExitCode.
int stop(const QVector<Target>& targets, const QVector<Server*>& servers, const CommandLine& line)
{
    std::vector<std::unique_ptr<StopJob>> jobs;
    QVector<Operation*> open;
    for (Server* server : servers) {
        jobs.push_back(makeJob(targets, *server, line.isSet("all")));
        if (jobs.back())
            open.append(jobs.back().get());
    }
    await(open, line.timeoutMs());
    bool done = true;
    for (const Target& target : targets)
        done = tell(target, *jobs.at(servers.indexOf(target.server)), line.json()) && done;
    return done ? eExitOk : eExitFailed;
}

QVector<Target> everything(const Servers& servers)
{
    QVector<Target> targets;
    for (const ProcessorEntry& entry : ProcessorDirectory(servers.all()).all()) {
        if (entry.depth == 0)
            targets.append(targetOf(entry));
    }
    return targets;
}

QVector<Kolta::UserAction> actionsFor(const QVector<Target>& targets)
{
    QVector<Kolta::UserAction> actions;
    for (const Target& target : targets)
        actions.append(Kolta::actionToRun(target.kind));
    return actions;
}

int stopTargets(const CommandLine& line, Servers& servers)
{
    const bool all = line.isSet("all");
    if (all != line.arguments().isEmpty())
        return line.usageError(all ? QStringLiteral("--all leaves nothing to be named")
                                   : QStringLiteral("GUID or --all is missing"));
    const Users users(servers.installation(), line);
    QVector<Target> targets = all ? everything(servers) : QVector<Target>();
    if (!users.areKnown() || (!all && !findTargets(line.arguments(), servers, targets)) ||
        !(all ? users.may(Kolta::UserAction::StopAll) : users.may(actionsFor(targets))))
        return eExitFailed;
    if (targets.isEmpty() && !line.json())
        printLine(QStringLiteral("nothing runs"));
    return stop(targets, servers.all(), line);
}

} // namespace

Command stopCommand()
{
    return {"stop",
            "stop productions",
            "Stops productions or single processors on the servers of the installation.",
            {{"GUID", "GUID of a production or a processor, or the name of a processor; also repeatedly.",
              Argument::eAny}},
            Servers::options({flag("all", "Stop everything that runs."), Users::option()}),
            with(Servers::startUp, stopTargets)};
}

} // namespace KoltaCli
