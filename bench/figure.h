#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

/// \file
/// What a benchmark file needs to add a figure:
///
///     Sides sameWorkTwice()
///     {
///         auto world = std::make_shared<World>();
///         return {timed([world] { world->library(); }), timed([world] { world->peer(); })};
///     }
///     const bool added = addFigure({"name", "what the peer is", 1.5, Unit::Time, sameWorkTwice});

namespace Bench {

/// One side of a figure. Each call does the work once and returns what it measured: seconds or bytes. A side
/// that finds that its work went wrong throws; the figure then counts as failed.
using Side = std::function<double()>;

struct Sides
{
    Side library;
    Side peer; ///< the floor, or a peer that does the same work
};

enum class Unit { Time, Bytes };

struct Figure
{
    const char* name;
    const char* against; ///< what the library is measured against, one line
    double limit;        ///< the largest ratio that passes; 0: the ratio is only reported
    Unit unit;
    Sides (*prepare)(); ///< called once, untimed; what the sides hold is freed before the next figure
};

/// Registers a figure; figures run in the order in which they were added. Always true.
bool addFigure(const Figure& figure);
/// The figure of that name, or null.
const Figure* findFigure(const std::string& name);

/// A side that is timed. `operations`: how many of the measured operations one call of `work` does.
template<class Work>
Side timed(Work work, int operations = 1)
{
    return [work = std::move(work), operations]() mutable {
        const auto start = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        return seconds.count() / operations;
    };
}

/// Fails the figure unless `condition` holds.
inline void require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

} // namespace Bench
