#pragma once

#include "frequencylanes.h"
#include "plotmoves.h"

#include <QPoint>
#include <QString>
#include <QVector>
#include <QWidget>

#include <memory>

class QScrollBar;

namespace KoltaConsole {

class LanesPlot;

/// What tuners reach and what runs where, as lanes above a frequency axis: logarithmic until a decade is on
/// screen, then linear. Wheel, keys (+ − ← → 0) and buttons zoom and move; dragging moves; dragging with
/// Shift marks a band, which begins an order and tunes nothing.
class FrequencyAxis : public QWidget, public IMovable
{
    Q_OBJECT

public:
    explicit FrequencyAxis(QWidget* parent);
    ~FrequencyAxis() override;

    /// Who has all in sight goes on to see all, also of tuners that reach farther; who has zoomed stays where
    /// he is.
    void setLanes(const QVector<Lane>& lanes);
    const QVector<Lane>& lanes() const;
    /// Outlines that tuner; empty: none.
    void setCurrent(const QString& key);

    double from() const; ///< Hz, at the left edge
    double to() const;
    /// Within what the tuners reach, at least 1 kHz wide.
    void setRange(double from, double to);
    void zoom(double factor, double around) override;
    void pan(double part) override;
    void showAll() override;

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
    enum class Shown { Nothing, All, Part };

    QWidget* makeLegend();
    void layOut();
    QRectF laneRoom(int lane) const;
    int laneAt(int y) const;
    void press(const QPoint& point, bool marks);
    void drag(const QPoint& point);
    void release(const QPoint& point);
    void choose(const QPoint& point);
    double frequencyAt(int x) const;
    double markedAt(int x) const;

    std::unique_ptr<LanesPlot> m_plot;
    PlotMoves m_moves;
    Gutter* m_gutter;
    QScrollBar* m_scroll;
    Shown m_shown = Shown::Nothing; ///< of what the tuners reach
    Drag m_drag = Drag::None;
    QPoint m_pressed;
    double m_pressedFrom = 0.0;
    double m_pressedTo = 0.0;
};

} // namespace KoltaConsole
