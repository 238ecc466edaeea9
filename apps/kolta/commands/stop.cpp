#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaserverinterface.h>

#include <QSet>

#include <algorithm>

namespace KoltaCli {

using Kolta::KoltaProductionControl;
using Kolta::UserRights;

namespace {

/// Something that is to be stopped.
struct Target
{
    Server* server = nullptr;
    QUuid guid;      ///< by which the server is asked
    QString name;    ///< for people
    QString running; ///< GUID of the processor; empty when no mirror shows it
    QString kind;
    bool stopped = false;
    QString problem;
};

Target targetOf(const ProcessorEntry& entry)
{
    Target target;
    target.server = entry.server;
    const QUuid production = Kolta::guidFromText(entry.production);
    target.guid = production.isNull() ? Kolta::guidFromText(entry.guid) : production;
    target.name = entry.name;
    target.running = entry.guid;
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

/// Hears what the servers say of the targets.
class StopWatch : public QObject
{
public:
    explicit StopWatch(QVector<Target>& targets) : m_targets(targets)
    {
        QSet<Server*> servers;
        for (const Target& target : targets)
            servers.insert(target.server);
        for (Server* server : qAsConst(servers)) {
            connect(&server->getProductionControl(), &KoltaProductionControl::si_ProductionStopped, this,
                    [this](const QUuid& guid) { m_ended.insert(guid); });
            connect(server, &Server::si_StatusMessageChanged, this,
                    [this](const QString& message) { m_messages.append(message); });
        }
    }

    /// Looks again; true when something is known of every target.
    bool isSettled()
    {
        for (Target& target : m_targets) {
            target.stopped = m_ended.contains(target.guid) || hasGone(target);
            target.problem = target.stopped ? QString() : messageOn(target);
        }
        return std::none_of(m_targets.begin(), m_targets.end(),
                            [](const Target& target) { return !target.stopped && target.problem.isEmpty(); });
    }

private:
    static bool hasGone(const Target& target)
    {
        return !target.running.isEmpty() &&
               !target.server->getProcessorObserver().FindProcessor(target.running);
    }
    QString messageOn(const Target& target) const
    {
        const QString guid = target.guid.toString(QUuid::WithoutBraces);
        for (const QString& message : m_messages) {
            if (message.contains(guid, Qt::CaseInsensitive))
                return QStringLiteral("%1: %2").arg(target.server->getAddress(), message);
        }
        return {};
    }

    QVector<Target>& m_targets;
    QSet<QUuid> m_ended;
    QStringList m_messages;
};

int tell(const QVector<Target>& targets, int timeoutMs, bool json)
{
    int exitCode = eExitOk;
    for (const Target& target : targets) {
        QString problem = target.problem;
        if (!target.stopped && problem.isEmpty())
            problem =
                orInterrupted(QStringLiteral("%1 has not stopped %2 within %3")
                                  .arg(target.server->getAddress(), target.name, secondsText(timeoutMs)));
        if (json)
            printJson({{QStringLiteral("server"), target.server->getAddress()},
                       {QStringLiteral("guid"), target.guid.toString()},
                       {QStringLiteral("name"), target.name},
                       {QStringLiteral("stopped"), target.stopped}});
        else if (target.stopped)
            printLine(QStringLiteral("%1 has stopped").arg(target.name));
        if (target.stopped)
            continue;
        printError(problem);
        exitCode = eExitFailed;
    }
    return exitCode;
}

/// Asks for all targets, server by server.
void ask(const QVector<Target>& targets, const QVector<Server*>& servers, bool all)
{
    for (Server* server : servers) {
        QList<QUuid> guids;
        for (const Target& target : targets) {
            if (target.server == server)
                guids.append(target.guid);
        }
        if (all)
            server->getProductionControl().StopAllProductions();
        else
            server->getProductionControl().StopProductions(guids);
    }
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

UserRights::eManagementRights rightsFor(const QVector<Target>& targets)
{
    UserRights::eManagementRights rights;
    for (const Target& target : targets)
        rights |= rightToRun(target.kind);
    return rights;
}

int stop(const CommandLine& line, Servers& servers)
{
    const bool all = line.isSet("all");
    if (all != line.arguments().isEmpty())
        return line.usageError(all ? QStringLiteral("--all leaves nothing to be named")
                                   : QStringLiteral("GUID or --all is missing"));
    const Users users(servers.installation(), line);
    QVector<Target> targets = all ? everything(servers) : QVector<Target>();
    if (!users.areKnown() || (!all && !findTargets(line.arguments(), servers, targets)) ||
        !users.may(rightsFor(targets)))
        return eExitFailed;
    if (targets.isEmpty() && !line.json())
        printLine(QStringLiteral("nothing runs"));
    StopWatch watch(targets);
    ask(targets, servers.all(), all);
    waitUntil([&watch] { return watch.isSettled(); }, line.timeoutMs());
    return tell(targets, line.timeoutMs(), line.json());
}

} // namespace

Command stopCommand()
{
    return {"stop",
            "stop productions",
            "Stops productions or single processors on the servers of a simulated installation inside this "
            "process.",
            {{"GUID", "GUID of a production or a processor, or the name of a processor; also repeatedly.",
              Argument::Any}},
            Servers::options({flag("all", "Stop everything that runs."), Users::option()}),
            with(Servers::startUp, stop)};
}

} // namespace KoltaCli
