#pragma once

#include <startup/export.h>

#include <QString>

namespace Startup {

/// "HOST:PORT", with brackets around an IPv6 address.
KOLTA_STARTUP_EXPORT QString joinHostAndPort(const QString& host, quint16 port);

/// HOST:PORT as people write it, split at its last colon. An IPv6 address may have brackets, which are taken
/// off. False without a colon and for brackets of which one is missing; `host` and `port` then stay as they
/// are. What host and port look like, and whether they are there, is not judged.
KOLTA_STARTUP_EXPORT bool splitHostAndPort(const QString& text, QString& host, QString& port);

/// A port from 0 to 65535 by its decimal digits, without sign and blanks; -1 for anything else.
KOLTA_STARTUP_EXPORT int portFromText(const QString& text);

} // namespace Startup
