#pragma once

#include <QJsonObject>
#include <QString>
#include <QVector>

namespace KoltaCli {

/// Figures over round-trip times in microseconds.
class RoundTripStatistics
{
public:
    void add(double microseconds) { m_times.append(microseconds); }
    int count() const noexcept { return m_times.size(); }

    double minimum() const;
    double mean() const;
    /// The value below which `share` (0 to 1) of the times lie, by the nearest-rank method; 0 without times.
    double percentile(double share) const;
    double maximum() const;

    /// "min/mean/median/99 %/max = … µs".
    QString toText() const;
    /// The same figures as "min_us" to "max_us"; empty without times.
    QJsonObject toJson() const;

private:
    QVector<double> m_times;
};

} // namespace KoltaCli
