#pragma once

#include "figure.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace Bench {

/// Prints one line per figure as soon as it is measured: the medians of the repetitions and, beside the
/// ratio's median, its smallest and largest value, which tell how far the machine lets it be trusted.
class RatioReporter : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// Whether every figure was measured and kept its limit.
    bool allPassed() const noexcept { return m_passed; }
    /// Writes name, ratio and what it is measured against, tab-separated below a header line; false when the
    /// file cannot be written. Figures that failed are left out.
    bool writeRatios(const std::string& file) const;

private:
    struct Row
    {
        const Figure* figure;
        double ratio;
    };
    std::vector<Row> m_rows;
    bool m_passed = true;
};

} // namespace Bench
