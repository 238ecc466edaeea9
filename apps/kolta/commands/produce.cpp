#include "commands.h"

#include <kolta/application/orderoptions.h>
#include <kolta/application/processordirectory.h>
#include <kolta/application/tunertables.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/productionjob.h>

#include <QJsonArray>

namespace KoltaCli {

using Kolta::Operation;
using Kolta::ProductionJob;
using Kolta::ProductionOrder;

namespace {

/// The server that the order goes to, and the MCP of an FFP. Prints an error and gives null when either is
/// not clear.
Server* findPlace(const CommandLine& line, const Servers& servers, ProductionOrder& order)
{
    if (order.kind != ProductionOrder::Kind::Ffp)
        return servers.only();
    const ProcessorDirectory directory(servers.all());
    QString problem;
    const QString text = line.value("mcp");
    const ProcessorEntry* const mcp = text.isEmpty() ? directory.findOnly(QStringLiteral("MCP"), problem)
                                                     : directory.find(text, QStringLiteral("MCP"), problem);
    if (!mcp) {
        printError(problem);
        return nullptr;
    }
    order.mcp = Kolta::guidFromText(mcp->guid);
    return mcp->server;
}

/// Replaces names of storage units by their GUIDs. Prints an error and gives false when one names none or
/// several.
bool findStorages(Server& server, ProductionOrder& order)
{
    for (QString& storage : order.storageGuids) {
        const QUuid guid = Kolta::guidFromText(storage);
        QStringList found;
        for (const auto& unit : server.getResourceObserver().GetCurrentResources().GetStorageUnit()) {
            const auto& identity = unit.GetTavikResource();
            if (guid.isNull() ? identity.GetDisplayName() == storage
                              : Kolta::guidFromText(identity.GetGUID()) == guid)
                found.append(identity.GetGUID());
        }
        if (found.size() != 1) {
            printError(QStringLiteral("%1 has %2 storage unit \"%3\"")
                           .arg(server.getAddress(),
                                found.isEmpty() ? QStringLiteral("no") : QStringLiteral("more than one"),
                                storage));
            return false;
        }
        storage = found.first();
    }
    return true;
}

QJsonObject describe(const Server& server, const ProductionJob& job, bool explain)
{
    QJsonObject object{{QStringLiteral("server"), server.getAddress()},
                       {QStringLiteral("accepted"), job.state() == Operation::State::Done}};
    const QPair<const char*, QString> texts[] = {
        {"production", job.production().isNull() ? QString() : job.production().toString()},
        {"name", job.order().displayName},
        {"processor", job.processor()},
        {"tuner", nameOf(job.tuner())},
        {"tunerGuid", guidOf(job.tuner())},
        {"demandClass", job.order().demandClass}};
    for (const auto& [name, text] : texts) {
        if (!text.isEmpty())
            object[QLatin1String(name)] = text;
    }
    addEnd(object, job);
    if (explain) {
        QJsonArray candidates;
        for (const QJsonObject& candidate : toJson(job.selection()))
            candidates.append(candidate);
        object[QStringLiteral("candidates")] = candidates;
    }
    return object;
}

int tell(const Server& server, const ProductionJob& job, const CommandLine& line)
{
    const bool done = job.state() == Operation::State::Done;
    if (line.json()) {
        printJson(describe(server, job, line.isSet("explain")));
    } else {
        if (!job.selection().candidates.isEmpty() && line.isSet("explain"))
            reasonTable(job.selection()).print();
        Table table({QStringLiteral("PRODUCTION"), QStringLiteral("NAME"), QStringLiteral("SERVER"),
                     QStringLiteral("TUNER"), QStringLiteral("PROCESSOR")});
        table.addRow({job.production().toString(), job.order().displayName, server.getAddress(),
                      nameOf(job.tuner()), job.processor()});
        if (done)
            table.print();
    }
    if (done)
        return eExitOk;
    // Who is left in doubt can look, or stop it.
    const bool inDoubt = !job.isFinished() || job.effect() == Operation::Effect::Unknown;
    printError(inDoubt ? QStringLiteral("%1 (production %2)").arg(problemOf(job), job.production().toString())
                       : problemOf(job));
    return eExitFailed;
}

int startProduction(const CommandLine& line, Servers& servers)
{
    ProductionOrder order;
    const QString problem = readOrder(line, order);
    if (!problem.isEmpty())
        return line.usageError(problem);
    const Users users(servers.installation(), line);
    if (!users.areKnown() || !users.may(Kolta::actionToRun(kindName(order.kind))))
        return eExitFailed;
    Server* const server = findPlace(line, servers, order);
    if (server && line.isSet("tuner"))
        order.tunerGuid = findTuner(*server, line.value("tuner"));
    if (!server || (line.isSet("tuner") && order.tunerGuid.isEmpty()) || !findStorages(*server, order))
        return eExitFailed;
    ProductionJob job(*server, order, nullptr);
    job.setExplained(line.isSet("explain"));
    await(job, line.timeoutMs());
    return tell(*server, job, line);
}

} // namespace

Command produceCommand()
{
    return {"produce",
            "start a production, with the tuner that it needs",
            "Starts a production on a server of the installation, and plans the "
            "tuner that it needs.",
            {{"KIND", "What to start.", Argument::eOnce, orderKinds()}},
            Servers::options(
                orderOptions() +
                QVector<Option>{
                    flag("explain", "Show every tuner of the class, in order of preference, and why."),
                    Users::option()}),
            with(Servers::startUp, startProduction)};
}

} // namespace KoltaCli
