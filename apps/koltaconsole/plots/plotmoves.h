#pragma once

#include <QObject>
#include <QString>

#include <array>

class QBoxLayout;
class QWidget;
class QwtPlot;

namespace KoltaConsole {

constexpr int kFocusFrame = 2; ///< px round about a plot that takes keys

/// Into the edge of the widget, when keys go there.
void paintFocusFrame(QWidget& widget);

/// Shows a part of an axis, and another one when asked.
class IMovable
{
public:
    virtual ~IMovable() = default;
    /// Makes what is shown wider (factor above 1) or narrower; what stands at `around` stays there.
    virtual void zoom(double factor, double around) = 0;
    /// By that part of what is shown.
    virtual void pan(double part) = 0;
    virtual void showAll() = 0;
};

/// Moves what a plot shows over its lower axis: by keys (← → + − 0), buttons and the wheel.
class PlotMoves : public QObject
{
public:
    /// `keys` gets the keys, and the plot's canvas the wheel. All must outlive this.
    PlotMoves(IMovable& movable, QWidget& keys, QwtPlot& plot);

    /// Adds a button for each key, with its name, in the order of the keys above.
    void addButtons(QBoxLayout& row, const std::array<QString, 5>& names);
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void move(std::size_t number);

    IMovable& m_movable;
    QwtPlot& m_plot;
};

} // namespace KoltaConsole
