#pragma once

#include <malloc.h>

namespace Bench {

/// Bytes that malloc has handed out and not got back, in all arenas and mappings, its own bookkeeping
/// included.
inline double heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

} // namespace Bench
