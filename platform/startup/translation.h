#pragma once

#include <startup/export.h>

#include <QString>

namespace Startup {

/// Loads "kolta_<language>.qm" from `directory` and installs it in the running application, replacing one
/// that was installed before. An empty language removes it, so that texts are the source's English again.
/// Returns false, with a trace line naming the file, when there is no such file or it is no translation; the
/// one that was installed before then stays. Main thread.
KOLTA_STARTUP_EXPORT bool InstallTranslation(const QString& language, const QString& directory);

} // namespace Startup
