#pragma once

namespace KoltaConsole {

struct Options;

/// Asks which installation to show, for those who started the console without a terminal to be told there.
/// False when nothing was chosen.
bool askForInstallation(Options& options);

} // namespace KoltaConsole
