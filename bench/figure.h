#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

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

/// What growth at equal bytes is measured against.
constexpr char kOfTenths[] = "itself on ten worlds of a tenth of the size";

/// Registers a figure; figures run in the order in which they were added. Always true.
bool addFigure(const Figure& figure);
/// The figure of that name, or null.
const Figure* findFigure(const std::string& name);

/// Frees what the sides of the last figure hold; to be called before the end of the application.
void endFigures();

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

/// Growth at equal bytes: the library works on one world of that many items, the peer is itself on ten worlds
/// with a tenth of them each. Both sides so touch the same memory in a call, and the ratio shows the
/// algorithm, not the size of a cache. `World(items, number)` makes the world of that number; `work()` deals
/// with all its items once.
template<class World>
Sides growthAtEqualBytes(int items)
{
    constexpr int parts = 10;
    const auto whole = std::make_shared<World>(items, 0);
    std::vector<std::shared_ptr<World>> pieces;
    for (int number = 1; number <= parts; ++number)
        pieces.push_back(std::make_shared<World>(items / parts, number));
    const auto workOnPieces = [pieces] {
        for (const std::shared_ptr<World>& piece : pieces)
            piece->work();
    };
    return {timed([whole] { whole->work(); }), timed(workOnPieces)};
}

/// Fails the figure unless `condition` holds.
inline void require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

} // namespace Bench
