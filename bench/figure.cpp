#include "figure.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace Bench {

namespace {

double median(std::vector<double> samples)
{
    const auto middle = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), middle, samples.end());
    return *middle;
}

/// The sides of the figure that runs now: prepared once for all its repetitions, gone before the next one's.
struct Running
{
    const Figure* figure = nullptr;
    Sides sides;
};
Running& running()
{
    static Running now;
    return now;
}

Sides& sidesOf(const Figure& figure)
{
    if (running().figure != &figure) {
        endFigures();
        running().sides = figure.prepare();
        running().figure = &figure;
    }
    return running().sides;
}

// Both sides take turns, and take turns in going first, so that a change of the machine's speed meets both
// alike.
void measure(benchmark::State& state, const Figure& figure)
{
    std::vector<double> library;
    std::vector<double> peer;
    try {
        Sides& sides = sidesOf(figure);
        bool libraryFirst = false;
        for (auto _ : state) {
            const auto start = std::chrono::steady_clock::now();
            libraryFirst = !libraryFirst;
            if (libraryFirst)
                library.push_back(sides.library());
            peer.push_back(sides.peer());
            if (!libraryFirst)
                library.push_back(sides.library());
            const std::chrono::duration<double> both = std::chrono::steady_clock::now() - start;
            state.SetIterationTime(both.count());
        }
    } catch (const std::exception& error) {
        state.SkipWithError(error.what());
        return;
    }
    state.counters["library"] = median(library);
    state.counters["peer"] = median(peer);
    state.counters["ratio"] = median(library) / median(peer);
}

std::vector<std::unique_ptr<const Figure>>& figures()
{
    static std::vector<std::unique_ptr<const Figure>> all;
    return all;
}

} // namespace

bool addFigure(const Figure& figure)
{
    figures().push_back(std::make_unique<const Figure>(figure));
    const Figure& kept = *figures().back();
    benchmark::RegisterBenchmark(kept.name, [&kept](benchmark::State& state) { measure(state, kept); })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
    return true;
}

void endFigures()
{
    running() = Running();
}

const Figure* findFigure(const std::string& name)
{
    const auto& all = figures();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto& figure) { return name == figure->name; });
    return found == all.end() ? nullptr : found->get();
}

} // namespace Bench
