#include "ratioreporter.h"

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace Bench {

namespace {

constexpr char kLineFormat[] = "%-44s %12s %12s %8s  %-15s %8s  %s\n";

std::string formatted(const char* format, double value)
{
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string readable(double value, Unit unit)
{
    if (unit == Unit::Bytes)
        return formatted("%.2f MB", value / 1e6);
    if (value < 1e-6)
        return formatted("%.1f ns", value * 1e9);
    if (value < 1e-3)
        return formatted("%.2f us", value * 1e6);
    return formatted("%.2f ms", value * 1e3);
}

/// One counter of every repetition, in ascending order.
std::vector<double> sortedCounter(const std::vector<benchmark::BenchmarkReporter::Run>& runs,
                                  const char* name)
{
    std::vector<double> values;
    for (const auto& run : runs) {
        const auto counter = run.counters.find(name);
        if (run.run_type == benchmark::BenchmarkReporter::Run::RT_Iteration && counter != run.counters.end())
            values.push_back(counter->second.value);
    }
    std::sort(values.begin(), values.end());
    return values;
}

} // namespace

bool RatioReporter::ReportContext(const Context&)
{
#ifndef NDEBUG
    std::puts("This is not an optimised build: its figures mean nothing.");
#endif
    std::printf(kLineFormat, "figure", "library", "peer", "ratio", "(from - to)", "limit", "");
    return true;
}

void RatioReporter::ReportRuns(const std::vector<Run>& runs)
{
    const Figure* figure = findFigure(runs.front().run_name.function_name);
    const auto failed =
        std::find_if(runs.begin(), runs.end(), [](const Run& run) { return run.error_occurred; });
    if (!figure || failed != runs.end()) {
        m_passed = false;
        std::printf("%-44s FAILED: %s\n", runs.front().run_name.function_name.c_str(),
                    failed == runs.end() ? "unknown figure" : failed->error_message.c_str());
        return;
    }
    const std::vector<double> ratios = sortedCounter(runs, "ratio");
    if (ratios.empty())
        return;
    const auto middle = ratios.size() / 2;
    const double ratio = ratios[middle];
    const bool passed = figure->limit <= 0 || ratio <= figure->limit;
    m_passed = m_passed && passed;
    m_rows.push_back({figure, ratio});
    const std::string spread = formatted("%.3f - ", ratios.front()) + formatted("%.3f", ratios.back());
    std::printf(
        kLineFormat, figure->name, readable(sortedCounter(runs, "library")[middle], figure->unit).c_str(),
        readable(sortedCounter(runs, "peer")[middle], figure->unit).c_str(), formatted("%.3f", ratio).c_str(),
        spread.c_str(), figure->limit > 0 ? formatted("%.2f", figure->limit).c_str() : "-",
        figure->limit <= 0 ? "reported"
        : passed           ? "kept"
                           : "MISSED");
    std::fflush(stdout);
}

void RatioReporter::Finalize()
{
    std::puts("\nmeasured against");
    for (const Row& row : m_rows)
        std::printf("  %-44s %s\n", row.figure->name, row.figure->against);
}

bool RatioReporter::writeRatios(const std::string& file) const
{
    std::ofstream out(file);
    out << "name\tratio\tmeasured against\n";
    for (const Row& row : m_rows)
        out << row.figure->name << '\t' << formatted("%.4f", row.ratio) << '\t' << row.figure->against
            << '\n';
    return static_cast<bool>(out.flush());
}

} // namespace Bench
