#pragma once

#include <kolta/cli/command.h>

namespace KoltaCli {

/// What a shell outside asks for, so that it completes as the prompt does.
Command completeCommand();

} // namespace KoltaCli
