#include "commands.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/commandtable.h>
#include <kolta/cli/output.h>

namespace KoltaCli {

namespace {

int help(const CommandLine& line)
{
    if (line.arguments().isEmpty()) {
        printLine(line.table().overview());
        return eExitOk;
    }
    const Command* const command = line.table().find(line.argument(0));
    if (!command) {
        printError(line.table().problemOf(line.argument(0)));
        return eExitUsage;
    }
    printLine(CommandLine(*command, line.table()).help());
    return eExitOk;
}

} // namespace

Command helpCommand()
{
    return {"help",
            "list the commands, or tell more of one",
            "Lists the commands, or tells more of one.",
            {{"COMMAND", "What to tell more of.", Argument::eOptional}},
            {},
            help};
}

} // namespace KoltaCli
