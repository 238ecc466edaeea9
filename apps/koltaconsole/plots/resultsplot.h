#pragma once

#include "plotmoves.h"

#include <qwt_plot.h>

#include <QStringList>
#include <QVector>

namespace KoltaConsole {

/// Results of short-time profiles over time and frequency: a sign, and a rectangle as long and as wide as the
/// emission where that can be seen. One sign for each of eight profiles, one for all others; under the
/// pointer a tool tip says which it is. Wheel, keys (+ − ← → 0) and buttons zoom and move in time; dragging
/// moves.
class ResultsPlot : public QwtPlot, public IMovable
{
    Q_OBJECT

public:
    struct Point
    {
        qint64 start = 0;       ///< microseconds since 1970
        double duration = 0.0;  ///< microseconds
        double frequency = 0.0; ///< Hz, centre
        double bandwidth = 0.0; ///< Hz
        int shape = 0;
        QString profile; ///< as people are told
    };
    static constexpr int kShapes = 8; ///< of profiles; the next one is that of all others

    explicit ResultsPlot(QWidget* parent);
    ~ResultsPlot() override;

    void setPoints(QVector<Point> points);
    /// While it follows, the newest result stands at the right edge.
    void setFollowing(bool on);
    /// Faded: what is shown was known last.
    void setStale(bool isStale);
    bool isFollowing() const noexcept { return m_isFollowing; }
    /// Adds its buttons to that row.
    void addButtons(QBoxLayout& row);
    /// How many points the time on screen has.
    int shownCount() const;
    /// Paints the mark of that shape, for legends.
    static void paintShape(QPainter& painter, const QRectF& square, int shape);

Q_SIGNALS:
    void si_FollowingChanged(bool on);
    void si_RangeChanged();

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    class Item;
    /// Where a point is on the canvas.
    struct Place;
    void dress();
    void arrange();
    void setTimes(double from, double to);
    void paint(QPainter& painter, const QwtScaleMap& across, const QwtScaleMap& up, const QRectF& room) const;
    void paintPoint(QPainter& painter, const Place& place, int shape) const;
    QString tip(const QPointF& onCanvas) const;
    void zoom(double factor, double around) override;
    void pan(double part) override;
    void showAll() override;

    PlotMoves m_moves;
    QVector<Point> m_points;
    double m_span = 600e6; ///< microseconds on screen
    bool m_isFollowing = true;
    bool m_isStale = false;
    Item* m_item; ///< owned by the plot while it is attached
};

} // namespace KoltaConsole
