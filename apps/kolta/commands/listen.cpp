#include "commands.h"

#include <kolta/application/listener.h>
#include <kolta/application/session.h>
#include <kolta/application/temporaryconfiguration.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

namespace KoltaCli {

int runListen(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("listen"),
        QStringLiteral("Prints a server's broadcasts and faults until Ctrl-C. A link that fails is "
                       "opened again; when that fails too, the command ends."));
    line.addArgument(QStringLiteral("HOST:PORT"), QStringLiteral("The server's address."));
    line.addOption({QStringLiteral("count"), QStringLiteral("End after so many broadcasts (0: never)."),
                    QStringLiteral("number"), QStringLiteral("0")});
    line.addFaultsOption();
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto timeout = line.timeoutMs();
    const auto count = timeout ? line.number(QStringLiteral("count"), 0, 1000000000) : std::nullopt;
    if (!timeout || !count)
        return eExitUsage;
    Endpoint endpoint;
    if (const auto exitCode = line.readEndpoint(0, endpoint))
        return *exitCode;

    std::optional<TemporaryConfiguration> configuration;
    if (line.faults())
        configuration.emplace();
    Session session(endpoint);
    Listener listener(session, line.json(), *count); // before the link is up, so that nothing is missed
    if (session.open(*timeout) && (!line.faults() || session.loadFaultTexts(*timeout)))
        return listener.run();
    printError(session.errorText());
    return eExitFailed;
}

} // namespace KoltaCli
