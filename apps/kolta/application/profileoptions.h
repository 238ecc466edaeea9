#pragma once

#include <kolta/cli/command.h>

namespace Kolta {
class ShortTimeProfile;
}

namespace KoltaCli {

class CommandLine;

/// An option for each member of a profile but name and type; an empty text takes the member out of use.
QVector<Option> memberOptions();
/// Takes over what they say.
void takeMembers(const CommandLine& line, Kolta::ShortTimeProfile& profile);

} // namespace KoltaCli
