#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/movejob.h>

namespace KoltaCli {

namespace {

QString nameAt(const ProcessorDirectory& directory, const QString& guid)
{
    QString problem;
    const ProcessorEntry* const entry = directory.find(guid, QString(), problem);
    return entry ? entry->name : guid;
}

/// Asks for the move and waits for its end; returns an eExitCode.
int move(const ProcessorEntry& ffp, const ProcessorEntry& mcp, const QString& from, const CommandLine& line)
{
    Kolta::MoveJob job(*ffp.server, Kolta::guidFromText(ffp.guid), Kolta::guidFromText(mcp.guid), nullptr);
    const bool done = await(job, line.timeoutMs());
    if (line.json()) {
        QJsonObject object{{QStringLiteral("server"), ffp.server->getAddress()},
                           {QStringLiteral("request"), job.id().toString()},
                           {QStringLiteral("accepted"), done},
                           {QStringLiteral("ffp"), ffp.name},
                           {QStringLiteral("from"), from},
                           {QStringLiteral("to"), mcp.name}};
        addEnd(object, job);
        printJson(object);
    } else if (done) {
        printLine(QStringLiteral("%1 has moved from %2 to %3").arg(ffp.name, from, mcp.name));
    }
    if (!done)
        printError(problemOf(job));
    return done ? eExitOk : eExitFailed;
}

int moveFfp(const CommandLine& line, Servers& servers)
{
    const Users users(servers.installation(), line);
    if (!users.areKnown() || !users.may(Kolta::UserAction::MoveFfp))
        return eExitFailed;
    const ProcessorDirectory directory(servers.all());
    QString problem;
    const ProcessorEntry* const ffp = directory.find(line.argument(0), QStringLiteral("FFP"), problem);
    const ProcessorEntry* const mcp =
        ffp ? directory.find(line.argument(1), QStringLiteral("MCP"), problem) : nullptr;
    if (ffp && mcp && ffp->server != mcp->server)
        problem = QStringLiteral("%1 runs on %2, but %3 on %4")
                      .arg(ffp->name, ffp->server->getAddress(), mcp->name, mcp->server->getAddress());
    if (problem.isEmpty())
        return move(*ffp, *mcp, nameAt(directory, ffp->mcp), line);
    printError(problem);
    return eExitFailed;
}

} // namespace

Command moveCommand()
{
    return {"move",
            "move an FFP to another MCP",
            "Moves an FFP to another MCP of the same server, in the installation.",
            {{"FFP", "GUID or name of the FFP."}, {"MCP", "GUID or name of the MCP."}},
            Servers::options({Users::option()}),
            with(Servers::startUp, moveFfp)};
}

} // namespace KoltaCli
