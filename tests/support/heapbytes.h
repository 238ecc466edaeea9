#pragma once

#include <QtGlobal>

#include <malloc.h>

/// Bytes that malloc has handed out and not got back; always the same under a sanitizer, which brings an
/// allocator of its own.
inline qint64 heapBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<qint64>(info.uordblks + info.hblkhd);
}
