#pragma once

#include <QRectF>
#include <QString>
#include <QVector>

#include <array>
#include <functional>

class QPainter;

namespace KoltaConsole {

/// A tuner as the frequency axis shows it.
struct LaneTuner
{
    QString key;       ///< of its row in the model of tuners
    double from = 0.0; ///< Hz
    double to = 0.0;
    int state = 0; ///< TunerBookingManager::eTunerState
    bool isStale = false;
    double centre = 0.0; ///< of what runs on it, Hz; 0: nothing that says so
    double width = 0.0;
};

/// Tuners that belong together, one below the other.
struct Lane
{
    QString name;
    int free = 0;
    QVector<LaneTuner> tuners;
};

/// Paints one lane: a line for each tuner while these have room, otherwise how many reach each pixel.
class LanePainter
{
public:
    /// A line of less height says nothing.
    static constexpr double kLeastLine = 3.0;
    using Counts = std::array<int, 8>;                 ///< tuners of each state, then stale ones of each
    using Scale = std::function<double(double hertz)>; ///< to a place across

    LanePainter(QPainter& painter, const QRectF& room, Scale scale, QString current);

    void paint(const Lane& lane) const;
    /// The height of each line; 0 when they are counted.
    static double lineHeight(const QRectF& room, int tuners);

private:
    void paintLines(const Lane& lane) const;
    void paintCounts(const Lane& lane) const;
    QRectF paintColumn(const Counts& counts, double left, double each) const;
    void paintRug(const Lane& lane) const;
    void paintLine(const LaneTuner& tuner, const QRectF& line) const;
    void paintStroke(const LaneTuner& tuner, const QRectF& line) const;

    QPainter& m_painter;
    const QRectF m_room;
    const Scale m_scale;
    const QString m_current;
};

} // namespace KoltaConsole
