#pragma once

#include <QtGlobal>

#include <cstddef>

namespace distribution {

/// What holds where neither the configuration nor the program says anything else; docs/distribution.md tells
/// what the times are for.
struct Defaults
{
    static constexpr quint32 kBeatMs = 5000;        ///< between two signs of life of an owner
    static constexpr qint64 kGraceMs = 10000;       ///< for which who is silent may come back
    static constexpr qint64 kDeathGraceMs = 2000;   ///< the same for an owner that the broker says is dead
    static constexpr qint64 kWishTimeoutMs = 10000; ///< after which an unanswered change has failed
    static constexpr std::size_t kLogBytes = 8U << 20U;    ///< of a channel's log that is kept for replays
    static constexpr std::size_t kStateBytes = 64U << 20U; ///< largest unpacked state and content
    static constexpr std::size_t kQueueBytes = 64U << 20U; ///< of messages that wait to be sent or handed on
};

} // namespace distribution
