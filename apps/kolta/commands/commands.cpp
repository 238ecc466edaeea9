#include "commands.h"

namespace KoltaCli {

namespace {

/// What talks to one server by its address.
QVector<Command> linkCommands()
{
    return {describeCommand(), sendCommand(), listenCommand(), pingCommand()};
}

QVector<Command> tunerCommands()
{
    return {demandClassesCommand(), classesCommand(), selectCommand(), planCommand(), resourcesCommand()};
}

QVector<Command> treeCommands()
{
    return {
#ifdef KOLTA_WITH_DISTRIBUTION
        upCommand(),
#endif
        serversCommand(),
        treeCommand(),
#ifdef KOLTA_WITH_DISTRIBUTION
        recordCommand(),
#endif
    };
}

/// What looks at servers and steers them.
QVector<Command> serverCommands()
{
    return {statusCommand(),   metricsCommand(),     watchCommand(),      eventsCommand(),
            produceCommand(),  productionsCommand(), moveCommand(),       stopCommand(),
            ownCommand(),      frontEndCommand(),    powerCommand(),      serverCommand(),
            profilesCommand(), assignmentsCommand(), conversionsCommand()};
}

} // namespace

QVector<Command> allCommands()
{
    return linkCommands() + tunerCommands() + treeCommands() + serverCommands() +
           QVector<Command>{rightsCommand(), helpCommand()};
}

} // namespace KoltaCli
