#pragma once

#include <kolta/cli/command.h>

namespace KoltaCli {

/// The main job, told by a script, as a command.
Command demoCommand();

} // namespace KoltaCli
