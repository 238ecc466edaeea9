#pragma once

#include <kolta/cli/command.h>

namespace distribution {
class Replay;
}

namespace KoltaCli {

/// What may be done with the recording that a shell plays, as commands. Without one there are none. The
/// replay must outlive them.
QVector<Command> replayVerbs(distribution::Replay* replay);

/// What somebody is told at the prompt first: which recording it is, and what moves in it.
QString replayGreeting(const distribution::Replay& replay);

/// The shell on a recording, as a command.
Command replayCommand();

} // namespace KoltaCli
