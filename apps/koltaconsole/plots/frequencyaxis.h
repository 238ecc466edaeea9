#pragma once

#include "frequencylanes.h"

#include <QPoint>
#include <QString>
#include <QVector>
#include <QWidget>

#include <array>
#include <functional>
#include <memory>
#include <optional>

class QBoxLayout;
class QScrollBar;

namespace KoltaConsole {

class LanesPlot;

/// How keys and buttons move what a plot shows: ← → + − 0.
enum class PlotMove { Back, On, In, Out, All };
constexpr double kPlotZoom = 1.5; ///< of In and Out
constexpr double kPlotPan = 0.2;  ///< of what is shown, by Back and On
constexpr int kFocusFrame = 2;    ///< px round about a plot that takes keys

/// Nothing for another key.
std::optional<PlotMove> plotMoveOf(int key);
/// Adds a button for each, with its name, in the order of PlotMove.
void addPlotButtons(QBoxLayout& row, const std::array<QString, 5>& names,
                    const std::function<void(PlotMove)>& go);
/// Into the edge of the widget, when keys go there.
void paintFocusFrame(QWidget& widget);

/// What tuners reach and what runs where, as lanes above a frequency axis: logarithmic until a decade is on
/// screen, then linear. Wheel, keys (+ − ← → 0) and buttons zoom and move; dragging moves; dragging with
/// Shift marks a band, which begins an order and tunes nothing.
class FrequencyAxis : public QWidget
{
    Q_OBJECT

public:
    explicit FrequencyAxis(QWidget* parent);
    ~FrequencyAxis() override;

    void setLanes(const QVector<Lane>& lanes);
    const QVector<Lane>& lanes() const;
    /// Outlines that tuner; empty: none.
    void setCurrent(const QString& key);

    double from() const; ///< Hz, at the left edge
    double to() const;
    /// Within what the tuners reach, at least 1 kHz wide.
    void setRange(double from, double to);
    /// Makes what is shown wider (factor above 1) or narrower around that frequency.
    void zoom(double factor, double around);
    /// Moves by that part of what is shown.
    void pan(double part);
    void showAll();

Q_SIGNALS:
    void si_BandMarked(double from, double to);
    void si_TunerChosen(const QString& key);
    void si_RangeChanged();
    /// Somebody wants to see the tuners of that lane alone.
    void si_LaneChosen(const QString& name);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    class Gutter;
    enum class Drag { None, Move, Mark };

    QWidget* makeLegend();
    void go(PlotMove wanted);
    void layOut();
    QRectF laneRoom(int lane) const;
    int laneAt(int y) const;
    void press(const QPoint& point, bool marks);
    void drag(const QPoint& point);
    void release(const QPoint& point);
    void choose(const QPoint& point);
    double frequencyAt(int x) const;

    std::unique_ptr<LanesPlot> m_plot;
    Gutter* m_gutter;
    QScrollBar* m_scroll;
    Drag m_drag = Drag::None;
    QPoint m_pressed;
    double m_pressedFrom = 0.0;
    double m_pressedTo = 0.0;
};

} // namespace KoltaConsole
