#include "commands.h"

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
using RESOURCEMANAGEMENT::Tuner;

namespace {

/// Reads the words; an exit code when they are wrong, which was told.
std::optional<int> readOrder(const CommandLine& line, ProductionOrder& order)
{
    order.kind = static_cast<ProductionOrder::Kind>(line.choice(0));
    order.tunerClass = line.value("class");
    order.demandClass = line.value("demand-class");
    order.displayName = line.value("name");
    order.frequency = line.hertz("frequency");
    order.bandwidth = line.hertz("bandwidth");
    const bool isFfp = order.kind == ProductionOrder::Kind::Ffp;
    if (line.isSet("tuner") && !order.tunerClass.isEmpty())
        return line.usageError(QStringLiteral("--tuner and --class exclude each other"));
    if (!isFfp && order.tunerClass.isEmpty() && !line.isSet("tuner"))
        return line.usageError(QStringLiteral("--class is missing"));
    if (!isFfp && line.isSet("mcp"))
        return line.usageError(QStringLiteral("--mcp is for an FFP"));
    return std::nullopt;
}

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

/// Of the tuner that `text` names. Prints an error and gives nothing when it names none or several.
QString findTuner(Server& server, const QString& text)
{
    const QUuid guid = Kolta::guidFromText(text);
    QStringList found;
    for (const Tuner& tuner : server.getResourceObserver().GetCurrentResources().GetTuner()) {
        if (guid.isNull() ? nameOf(tuner) == text : Kolta::guidFromText(guidOf(tuner)) == guid)
            found.append(guidOf(tuner));
    }
    if (found.size() == 1)
        return found.first();
    printError(
        found.isEmpty()
            ? QStringLiteral("%1 has no tuner \"%2\"").arg(server.getAddress(), text)
            : QStringLiteral("%1 tuners are called \"%2\", give its GUID").arg(found.size()).arg(text));
    return {};
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
    if (const auto exitCode = readOrder(line, order))
        return *exitCode;
    const Users users(servers.installation(), line);
    if (!users.areKnown() || !users.may(rightToRun(kindName(order.kind))))
        return eExitFailed;
    Server* const server = findPlace(line, servers, order);
    if (server && line.isSet("tuner"))
        order.tunerGuid = findTuner(*server, line.value("tuner"));
    if (!server || (line.isSet("tuner") && order.tunerGuid.isEmpty()))
        return eExitFailed;
    ProductionJob job(*server, order, nullptr);
    job.setExplained(line.isSet("explain"));
    await(job, line.timeoutMs());
    return tell(*server, job, line);
}

} // namespace

Command produceCommand()
{
    const QStringList kinds{QStringLiteral("scp"), QStringLiteral("mcp"), QStringLiteral("ffp")};
    return {"produce",
            "start a production, with the tuner that it needs",
            "Starts a production on a server of a simulated installation inside this process, and plans the "
            "tuner that it needs.",
            {{"KIND", "What to start.", Argument::Once, kinds}},
            Servers::options(
                {text("class", "name",
                      "Tuner class; its cheapest free tuner is taken. An FFP without one is fed by the tuner "
                      "of its "
                      "MCP."),
                 text("tuner", "tuner", "GUID or name of a tuner, instead of a class."),
                 text("demand-class", "name",
                      "Resource demand class, instead of that of the tuner class or the kind."),
                 text("mcp", "MCP",
                      "The MCP that an FFP runs in: GUID or name; not needed while there is only one."),
                 text("name", "name", "Display name (the kind and a number)."),
                 hertz("frequency", "Centre frequency: 98.5M, 98.5e6."),
                 hertz("bandwidth", "Bandwidth: 5M, 300k."),
                 flag("explain", "Show every tuner of the class, in order of preference, and why."),
                 Users::option()}),
            with(Servers::startUp, startProduction)};
}

} // namespace KoltaCli
