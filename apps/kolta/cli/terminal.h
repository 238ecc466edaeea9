#pragma once

namespace KoltaCli {

/// How many letters a line of standard output holds: as COLUMNS says, or else the terminal; 80 when neither
/// does.
int outputWidth();

/// Whether what is written to that descriptor may be coloured: it is a terminal that knows colours, and
/// NO_COLOR is not set.
bool hasColour(int descriptor);

} // namespace KoltaCli
