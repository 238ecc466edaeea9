#pragma once

#include <kolta/cli/command.h>

namespace KoltaCli {

// What there is to say of each command, one file each.

Command assignmentsCommand();
Command classesCommand();
Command conversionsCommand();
Command demandClassesCommand();
Command describeCommand();
Command eventsCommand();
Command frontEndCommand();
Command helpCommand();
Command listenCommand();
Command manualCommand();
Command metricsCommand();
Command moveCommand();
Command ownCommand();
Command pingCommand();
Command planCommand();
Command powerCommand();
Command produceCommand();
Command productionsCommand();
Command profilesCommand();
Command resourcesCommand();
Command rightsCommand();
Command selectCommand();
Command sendCommand();
Command serverCommand();
Command serversCommand();
Command statusCommand();
Command stopCommand();
Command treeCommand();
#ifdef KOLTA_WITH_DISTRIBUTION
Command recordCommand();
Command upCommand();
#endif
Command watchCommand();

/// All of them in the order of the list that help shows, those of one job together.
QVector<Command> allCommands();

} // namespace KoltaCli
