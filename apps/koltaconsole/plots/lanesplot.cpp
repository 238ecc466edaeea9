#include "lanesplot.h"

#include <koltacommon/units.h>
#include <koltaconsole/widgets/theme.h>

#include <qwt_plot_canvas.h>
#include <qwt_plot_item.h>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_engine.h>
#include <qwt_scale_map.h>
#include <qwt_scale_widget.h>

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <utility>

namespace KoltaConsole {

namespace {

constexpr double kLogFrom = 10.0; ///< times from one edge to the other

class FrequencyScale : public QwtScaleDraw
{
public:
    QwtText label(double hertz) const override
    {
        return Kolta::hertzToText(QString::number(hertz, 'g', 12).toDouble());
    }
};

} // namespace

class LanesPlot::Item : public QwtPlotItem
{
public:
    explicit Item(LanesPlot& plot) : m_plot(plot) {}
    void draw(QPainter* painter, const QwtScaleMap& across, const QwtScaleMap& /*up*/,
              const QRectF& room) const override
    {
        m_plot.paintLanes(*painter, across, room);
    }

private:
    LanesPlot& m_plot;
};

LanesPlot::LanesPlot(QWidget* parent, std::function<QRectF(int)> roomOf)
    : QwtPlot(parent), m_roomOf(std::move(roomOf)), m_item(new Item(*this))
{
    setAxisScaleDraw(QwtPlot::xBottom, new FrequencyScale);
    enableAxis(QwtPlot::yLeft, false);
    setAxisScale(QwtPlot::yLeft, 0, 1);
    static_cast<QwtPlotCanvas*>(canvas())->setFrameStyle(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    setMinimumSize(100, 60);
    axisWidget(QwtPlot::xBottom)->setMinBorderDist(28, 28); // room for the labels at both ends
    m_item->attach(this);
    dress();
}

LanesPlot::~LanesPlot() = default;

void LanesPlot::dress()
{
    setCanvasBackground(Theme::instance().color(Role::Base));
    QFont small = font();
    small.setPointSizeF(8.5);
    setAxisFont(QwtPlot::xBottom, small);
}

bool LanesPlot::isLogarithmic() const
{
    return from > 0 && to / from > kLogFrom;
}

void LanesPlot::setRange(double lowest, double highest)
{
    from = lowest;
    to = highest;
    if (isLogarithmic())
        setAxisScaleEngine(QwtPlot::xBottom, new QwtLogScaleEngine);
    else
        setAxisScaleEngine(QwtPlot::xBottom, new QwtLinearScaleEngine);
    setAxisScale(QwtPlot::xBottom, from, to);
    replot();
}

void LanesPlot::paintLanes(QPainter& painter, const QwtScaleMap& across, const QRectF& room) const
{
    const Theme& theme = Theme::instance();
    // Thousands of tuners share few frequencies, and a logarithm costs more than looking one up.
    std::unordered_map<double, double> places;
    const auto placeOf = [&](double hertz) {
        const auto [found, isNew] = places.try_emplace(hertz);
        if (isNew)
            found->second = across.transform(std::max(hertz, 1.0));
        return found->second;
    };
    for (int i = 0; i < lanes.size(); ++i) {
        QRectF lane = m_roomOf(i);
        if (!lane.intersects(room))
            continue;
        lane.setLeft(room.left());
        lane.setRight(room.right());
        painter.fillRect(lane, theme.color(i % 2 == 0 ? Role::Base : Role::Alternate));
        LanePainter(painter, lane.adjusted(0, 3, 0, -3), placeOf, current).paint(lanes.at(i));
    }
    painter.setPen(QPen(theme.color(Role::Border), 1, Qt::DotLine));
    for (const double tick : axisScaleDiv(QwtPlot::xBottom).ticks(QwtScaleDiv::MajorTick)) {
        const double x = std::round(across.transform(tick));
        painter.drawLine(QPointF(x, room.top()), QPointF(x, room.bottom()));
    }
    if (markedTo > markedFrom)
        paintMarked(painter, across, room);
}

void LanesPlot::paintMarked(QPainter& painter, const QwtScaleMap& across, const QRectF& room) const
{
    const double left = across.transform(markedFrom), right = across.transform(markedTo);
    QColor fill = Theme::instance().color(Role::Planned);
    painter.setPen(QPen(fill, 2));
    fill.setAlphaF(0.25);
    painter.setBrush(fill);
    painter.drawRect(QRectF(left, room.top(), right - left, room.height() - 1));
    const QString text = Kolta::hertzRangeToText(markedFrom, markedTo);
    const double width = painter.fontMetrics().horizontalAdvance(text) + 12;
    const double x = std::clamp(left + 4, room.left(), std::max(room.left(), room.right() - width));
    const QRectF label(x, room.top() + 4, width, painter.fontMetrics().height() + 4);
    painter.fillRect(label, Theme::instance().color(Role::Base));
    painter.setPen(Theme::instance().color(Role::Text));
    painter.drawText(label, Qt::AlignCenter, text);
}

} // namespace KoltaConsole
