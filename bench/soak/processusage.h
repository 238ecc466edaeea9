#pragma once

#include <QtGlobal>

namespace Soak {

/// What a process holds of the system at one moment (Linux).
struct ProcessUsage
{
    int descriptors = 0;
    int threads = 0;
    qint64 bytes = 0; ///< resident memory

    static ProcessUsage of(qint64 processId);
};

} // namespace Soak
