#include "completecommand.h"

#include "completion.h"

#include <common/shellwords.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

namespace KoltaCli {

namespace {

int complete(const CommandLine& line)
{
    const KoltaApps::ShellParts parts = KoltaApps::shellParts(line.argument(0), line.argument(1));
    if (parts.words.size() < 2)
        return eExitOk; // the program's own name
    const int behind = parts.isQuoted ? 0 : parts.lastBreak;
    for (const QString& word : completionsOf(parts.words.mid(1), line.table()))
        printLine(word.mid(behind));
    return eExitOk;
}

} // namespace

Command completeCommand()
{
    Command command{"complete",
                    "complete a line of bash",
                    "Prints how the last word of a line of bash may go on, from the last of the letters that "
                    "part words there.",
                    {{"LINE", "Up to the cursor, with the name of the program."},
                     {"BREAKS", "Letters that part words.", Argument::eOptional}},
                    {},
                    complete};
    command.isHidden = true;
    return command;
}

} // namespace KoltaCli
