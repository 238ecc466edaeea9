#pragma once

#include <distribution/statetransfer.h>

#include <limits>
#include <vector>

namespace distribution {

constexpr qint64 kNever = std::numeric_limits<qint64>::max();

/// What is to be done after an input, in the order of the members.
struct Output
{
    std::vector<Bytes> subscribe;
    std::vector<Bytes> unsubscribe;
    std::vector<Publication> publish;
    std::vector<StateCut> states;
    /// OnTime() is to be called when the clock says so, or right after the inputs that have come already have
    /// been dealt with if that time is past: so many wishes and changes leave as one message.
    qint64 wakeAtMs = kNever;
};

} // namespace distribution
