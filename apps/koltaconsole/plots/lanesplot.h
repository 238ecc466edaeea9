#pragma once

#include "frequencylanes.h"

#include <qwt_plot.h>

#include <QVector>

#include <functional>

namespace KoltaConsole {

/// Lanes above an axis of frequencies, and the band that is being marked.
class LanesPlot : public QwtPlot
{
public:
    /// What is shown while there is no tuner, in Hz.
    static constexpr double kFrom = 9e3, kTo = 6e9;

    /// `roomOf`: where a lane stands on the canvas.
    LanesPlot(QWidget* parent, std::function<QRectF(int)> roomOf);
    ~LanesPlot() override;

    /// Takes the theme's colours.
    void dress();
    void setRange(double lowest, double highest);
    /// More than a decade is on screen.
    bool isLogarithmic() const;

    QVector<Lane> lanes;
    QString current; ///< key of the tuner that is outlined
    double from = kFrom;
    double to = kTo;
    double markedFrom = 0.0; ///< Hz; no band is marked while both are equal
    double markedTo = 0.0;

private:
    class Item;
    void paintLanes(QPainter& painter, const QwtScaleMap& across, const QRectF& room) const;
    void paintMarked(QPainter& painter, const QwtScaleMap& across, const QRectF& room) const;

    const std::function<QRectF(int)> m_roomOf;
    Item* m_item; ///< owned by the plot while it is attached
};

} // namespace KoltaConsole
