#pragma once

#include <startup/export.h>

#include <QString>

namespace Startup {

/// Whether a character begins a line, moves the cursor or turns the direction of writing.
KOLTA_STARTUP_EXPORT bool isUnseen(uint character);

/// The same of a letter, but a tab, which only sets in, does not.
KOLTA_STARTUP_EXPORT bool forgesLines(QChar letter);

/// `text` as it may stand in one line of a log or terminal: what forges lines becomes U+FFFD.
KOLTA_STARTUP_EXPORT QString oneLineText(QString text);

} // namespace Startup
