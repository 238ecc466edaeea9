#pragma once

#include <startup/export.h>

class QObject;

namespace Startup {

/// Moves `object` to the application's thread: at once when there is an application object, else as soon as
/// one is made; until then it belongs to no thread, and events for it wait. To be called on the thread that
/// has just made the object, whichever that is; the object must live as long as the process.
KOLTA_STARTUP_EXPORT void LiveOnMainThread(QObject* object);

} // namespace Startup
