#pragma once

#include <distribution/carrier.h>

namespace distribution {

/// How much went one way.
struct Traffic
{
    quint64 messages = 0;
    quint64 bytes = 0; ///< of their payloads

    void Count(const Bytes& payload)
    {
        ++messages;
        bytes += payload.size();
    }
};

} // namespace distribution
