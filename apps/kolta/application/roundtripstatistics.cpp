#include "roundtripstatistics.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace KoltaCli {

double RoundTripStatistics::minimum() const
{
    return m_times.isEmpty() ? 0.0 : *std::min_element(m_times.begin(), m_times.end());
}

double RoundTripStatistics::mean() const
{
    return m_times.isEmpty() ? 0.0 : std::accumulate(m_times.begin(), m_times.end(), 0.0) / m_times.size();
}

double RoundTripStatistics::percentile(double share) const
{
    if (m_times.isEmpty())
        return 0.0;
    QVector<double> sorted = m_times;
    std::sort(sorted.begin(), sorted.end());
    const int rank = static_cast<int>(std::ceil(share * sorted.size()));
    return sorted[qBound(0, rank - 1, sorted.size() - 1)];
}

double RoundTripStatistics::maximum() const
{
    return m_times.isEmpty() ? 0.0 : *std::max_element(m_times.begin(), m_times.end());
}

QString RoundTripStatistics::toText() const
{
    return QStringLiteral("min/mean/median/99 %/max = %1/%2/%3/%4/%5 µs")
        .arg(minimum(), 0, 'f', 1)
        .arg(mean(), 0, 'f', 1)
        .arg(percentile(0.5), 0, 'f', 1)
        .arg(percentile(0.99), 0, 'f', 1)
        .arg(maximum(), 0, 'f', 1);
}

QJsonObject RoundTripStatistics::toJson() const
{
    if (m_times.isEmpty())
        return {};
    // To nanoseconds, which is what the clock gives.
    const auto rounded = [](double microseconds) { return std::round(1000 * microseconds) / 1000; };
    return {{QStringLiteral("min_us"), rounded(minimum())},
            {QStringLiteral("mean_us"), rounded(mean())},
            {QStringLiteral("median_us"), rounded(percentile(0.5))},
            {QStringLiteral("p99_us"), rounded(percentile(0.99))},
            {QStringLiteral("max_us"), rounded(maximum())}};
}

} // namespace KoltaCli
