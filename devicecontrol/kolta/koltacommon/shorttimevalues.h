#pragma once

#include <koltacommon/export.h>

namespace Kolta {

/// Makes the collections of short-time data (profiles, FFP assignments, results, spectral shapes, conversion
/// results) known to the value framework, so that this process can hold what another one publishes. To be
/// called once where a program starts; calling it again does nothing. False when somebody else has taken one
/// of the type numbers. Any thread.
KOLTA_COMMON_EXPORT bool registerShortTimeValues();

} // namespace Kolta
