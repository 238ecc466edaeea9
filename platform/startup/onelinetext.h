#pragma once

#include <startup/export.h>

#include <QString>

namespace Startup {

/// `text` as it may stand in one line of a log or terminal: what begins a line, moves the cursor or turns the
/// direction of writing becomes U+FFFD.
KOLTA_STARTUP_EXPORT QString oneLineText(QString text);

} // namespace Startup
