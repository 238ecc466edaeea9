#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/productionorder.h>
#include <kolta/application/tunertables.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/koltaserverinterface.h>

namespace KoltaCli {

namespace {

/// Reads the words; an exit code when they are wrong, which was told.
std::optional<int> readOrder(const CommandLine& line, ProductionOrder& order)
{
    order.kind = static_cast<ProductionOrder::eKind>(line.choice(0));
    order.className = line.value("class");
    order.tuner = line.value("tuner");
    order.demandClass = line.value("demand-class");
    order.name = line.value("name");
    order.frequency = line.hertz("frequency");
    order.bandwidth = line.hertz("bandwidth");
    const bool isFfp = order.kind == ProductionOrder::eFfp;
    if (!order.tuner.isEmpty() && !order.className.isEmpty())
        return line.usageError(QStringLiteral("--tuner and --class exclude each other"));
    if (!isFfp && order.className.isEmpty() && order.tuner.isEmpty())
        return line.usageError(QStringLiteral("--class is missing"));
    if (!isFfp && line.isSet("mcp"))
        return line.usageError(QStringLiteral("--mcp is for an FFP"));
    return std::nullopt;
}

/// The server that the order goes to, and the MCP of an FFP. Prints an error and gives null when either is
/// not clear.
Server* findPlace(const CommandLine& line, const Servers& servers, ProductionOrder& order)
{
    if (order.kind != ProductionOrder::eFfp)
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
    order.mcp = mcp->guid;
    return mcp->server;
}

int tell(const Server& server, const ProductionOutcome& outcome, bool json)
{
    const ServerAnswer& answer = outcome.answer;
    const QString production = answer.request.isNull() ? QString() : answer.request.toString();
    if (json) {
        QJsonObject object{{QStringLiteral("server"), server.getAddress()},
                           {QStringLiteral("accepted"), answer.accepted}};
        const QPair<const char*, QString> texts[] = {
            {"production", production},           {"name", outcome.name},
            {"processor", outcome.processor},     {"tuner", nameOf(outcome.tuner)},
            {"tunerGuid", guidOf(outcome.tuner)}, {"demandClass", outcome.demandClass},
            {"problem", answer.problem}};
        for (const auto& [name, text] : texts) {
            if (!text.isEmpty())
                object[QLatin1String(name)] = text;
        }
        printJson(object);
    } else if (answer.accepted) {
        Table table({QStringLiteral("PRODUCTION"), QStringLiteral("NAME"), QStringLiteral("SERVER"),
                     QStringLiteral("TUNER"), QStringLiteral("PROCESSOR")});
        table.addRow(
            {production, outcome.name, server.getAddress(), nameOf(outcome.tuner), outcome.processor});
        table.print();
    }
    if (!answer.accepted)
        printError(answer.problem);
    return answer.accepted ? eExitOk : eExitFailed;
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
    return server ? tell(*server, produce(*server, order, line.timeoutMs()), line.json()) : eExitFailed;
}

} // namespace

Command produceCommand()
{
    const QStringList kinds{QStringLiteral("scp"), QStringLiteral("mcp"), QStringLiteral("ffp")};
    return {"produce",
            "start a production, with the tuner that it needs",
            "Starts a production on a server of a simulated installation inside this process, and plans the "
            "tuner "
            "that it needs.",
            {{"KIND", "What to start.", Argument::Once, kinds}},
            Servers::options(
                {text("class", "name",
                      "Tuner class; its cheapest free tuner is taken. An FFP without one is fed by the tuner "
                      "of its "
                      "MCP."),
                 text("tuner", "tuner",
                      "GUID or name of a tuner, instead of a class; the server decides whether it is free."),
                 text("demand-class", "name",
                      "Resource demand class, instead of that of the tuner class or the kind."),
                 text("mcp", "MCP",
                      "The MCP that an FFP runs in: GUID or name; not needed while there is only one."),
                 text("name", "name", "Display name (the kind and a number)."),
                 hertz("frequency", "Centre frequency: 98.5M, 98.5e6."),
                 hertz("bandwidth", "Bandwidth: 5M, 300k."), Users::option()}),
            with(Servers::startUp, startProduction)};
}

} // namespace KoltaCli
