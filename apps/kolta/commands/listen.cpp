#include "commands.h"

#include <kolta/application/listener.h>
#include <kolta/application/session.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

namespace KoltaCli {

namespace {

constexpr int kMostBroadcasts = 1000000000;

int listen(const CommandLine& line, Session& session)
{
    Listener listener(session, line.json(), line.number("count")); // before the link is up: nothing is missed
    return session.open(line) ? listener.run() : eExitFailed;
}

} // namespace

Command listenCommand()
{
    return {
        "listen",
        "print broadcasts and faults until Ctrl-C",
        "Prints a server's broadcasts and faults until Ctrl-C. A link that fails is opened again, as often "
        "as need be and after pauses that grow; how it is stands on standard error.",
        {Session::argument()},
        {whole("count", "number", "End after so many broadcasts (0: never).", 0, kMostBroadcasts, 0),
         Session::faultsOption()},
        with(Session::start, listen)};
}

} // namespace KoltaCli
