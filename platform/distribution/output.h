#pragma once

#include <distribution/messages.h>

#include <limits>
#include <vector>

namespace distribution {

constexpr qint64 never = std::numeric_limits<qint64>::max();

/// A channel's state, cut but not packed yet. The contents are shared, so cutting is cheap; Pack() may run on
/// another thread.
struct StateCut
{
    QUuid epoch;
    quint64 number = 0;
    Snapshot snapshot;
    Bytes topic;               ///< without the part's level
    std::size_t partBytes = 0; ///< largest payload of a part
    quint32 clearUpTo = 0; ///< retained parts below this number that the state does not need are taken away
};
/// The publications of a state, in the order of its parts.
std::vector<Publication> Pack(const StateCut& cut);

/// What is to be done after an input, in the order of the members.
struct Output
{
    std::vector<Bytes> subscribe;
    std::vector<Bytes> unsubscribe;
    std::vector<Publication> publish;
    std::vector<StateCut> states;
    /// OnTime() is to be called when the clock says so, or right after the inputs that have come already have
    /// been dealt with if that time is past: so many wishes and changes leave as one message.
    qint64 wakeAtMs = never;
};

} // namespace distribution
