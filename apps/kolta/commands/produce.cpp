#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/productionorder.h>
#include <kolta/application/tunertables.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaserverinterface.h>

namespace KoltaCli {

namespace {

void declare(CommandLine& line)
{
    line.addArgument(QStringLiteral("KIND"), QStringLiteral("scp, mcp or ffp."));
    line.addOption({QStringLiteral("class"),
                    QStringLiteral("Tuner class; its cheapest free tuner is taken. An FFP without one is fed "
                                   "by the tuner of its MCP."),
                    QStringLiteral("name")});
    line.addOption({QStringLiteral("demand-class"),
                    QStringLiteral("Resource demand class, instead of that of the tuner class or the kind."),
                    QStringLiteral("name")});
    line.addOption({QStringLiteral("mcp"),
                    QStringLiteral("The MCP that an FFP runs in: GUID or name; not needed while there is "
                                   "only one."),
                    QStringLiteral("MCP")});
    line.addOption({QStringLiteral("name"), QStringLiteral("Display name (the kind and a number)."),
                    QStringLiteral("name")});
    line.addOption({QStringLiteral("frequency"), QStringLiteral("Centre frequency."), QStringLiteral("Hz")});
    line.addOption({QStringLiteral("bandwidth"), QStringLiteral("Bandwidth."), QStringLiteral("Hz")});
    Users::declareOption(line);
    Servers::declareOptions(line);
}

/// Reads the words; an exit code when they are wrong, which was told.
std::optional<int> readOrder(const CommandLine& line, ProductionOrder& order)
{
    const QStringList kinds{QStringLiteral("scp"), QStringLiteral("mcp"), QStringLiteral("ffp")};
    const int kind = kinds.indexOf(line.argument(0).toLower());
    if (kind < 0)
        return line.usageError(QStringLiteral("\"%1\" is no kind of production: expected scp, mcp or ffp")
                                   .arg(line.argument(0)));
    order.kind = static_cast<ProductionOrder::eKind>(kind);
    order.className = line.value(QStringLiteral("class"));
    order.demandClass = line.value(QStringLiteral("demand-class"));
    order.name = line.value(QStringLiteral("name"));
    const auto frequency = line.hertz(QStringLiteral("frequency"));
    const auto bandwidth = frequency ? line.hertz(QStringLiteral("bandwidth")) : std::nullopt;
    if (!frequency || !bandwidth)
        return eExitUsage;
    order.frequency = *frequency;
    order.bandwidth = *bandwidth;
    const bool isFfp = order.kind == ProductionOrder::eFfp;
    if (!isFfp && order.className.isEmpty())
        return line.usageError(QStringLiteral("--class is missing"));
    if (!isFfp && line.isSet(QStringLiteral("mcp")))
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
    const QString text = line.value(QStringLiteral("mcp"));
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
        printLine(table.toText());
    }
    if (!answer.accepted)
        printError(answer.problem);
    return answer.accepted ? eExitOk : eExitFailed;
}

} // namespace

int runProduce(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("produce"),
                     QStringLiteral("Starts a production on a server of a simulated installation inside this "
                                    "process, and plans the tuner that it needs."));
    declare(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto timeout = line.timeoutMs();
    if (!timeout)
        return eExitUsage;
    ProductionOrder order;
    if (const auto exitCode = readOrder(line, order))
        return *exitCode;
    const auto servers = Servers::startUp(line, *timeout);
    if (!servers)
        return eExitFailed;
    const Users users(servers->installation(), line);
    if (!users.areKnown() || !users.may(rightToRun(kindName(order.kind))))
        return eExitFailed;
    Server* const server = findPlace(line, *servers, order);
    return server ? tell(*server, produce(*server, order, *timeout), line.json()) : eExitFailed;
}

} // namespace KoltaCli
