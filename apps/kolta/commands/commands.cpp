#include "commands.h"

namespace KoltaCli {

QVector<Command> allCommands()
{
    return {
        describeCommand(),
        sendCommand(),
        listenCommand(),
        pingCommand(),

        demandClassesCommand(),
        classesCommand(),
        selectCommand(),
        planCommand(),

        resourcesCommand(),

#ifdef KOLTA_WITH_DISTRIBUTION
        upCommand(),
#endif
        serversCommand(),
        treeCommand(),
#ifdef KOLTA_WITH_DISTRIBUTION
        recordCommand(),
#endif

        statusCommand(),
        metricsCommand(),
        watchCommand(),
        eventsCommand(),
        produceCommand(),
        productionsCommand(),
        moveCommand(),
        stopCommand(),
        ownCommand(),
        frontEndCommand(),
        powerCommand(),
        serverCommand(),

        profilesCommand(),
        assignmentsCommand(),
        conversionsCommand(),

        rightsCommand(),
        helpCommand(),
    };
}

} // namespace KoltaCli
