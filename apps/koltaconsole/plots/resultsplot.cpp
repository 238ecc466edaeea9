#include "resultsplot.h"

#include <koltacommon/units.h>
#include <koltacommon/viewtime.h>
#include <koltaconsole/widgets/theme.h>

#include <qwt_plot_canvas.h>
#include <qwt_plot_item.h>
#include <qwt_plot_panner.h>
#include <qwt_scale_div.h>
#include <qwt_scale_draw.h>
#include <qwt_scale_map.h>

#include <QDateTime>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace KoltaConsole {

namespace {

constexpr double kLeast = 4.0;  ///< px of a rectangle that is seen as one
constexpr double kSymbol = 7.0; ///< px
constexpr double kMargin = 3.0; ///< px round about a symbol within a rectangle
constexpr int kFill = 60;       ///< opacity of rectangles, so that symbols are seen in them
constexpr double kFadedOpacity = 0.45;
constexpr double kAir = 1.02; ///< what the time on screen is longer than what is shown in it
// Microseconds on screen.
constexpr double kShortest = 1e6, kLongest = 7 * 86400e6;
constexpr double kFineSpan = 10e6; ///< below which ticks are told with milliseconds
constexpr double kDaySpan = 86400e6;
constexpr double kMostTicks = 8;
constexpr double kFuture = 86400e6; ///< by which a clock may be ahead to be believed

class HertzScale : public QwtScaleDraw
{
public:
    QwtText label(double hertz) const override
    {
        return Kolta::hertzToText(QString::number(hertz, 'g', 9).toDouble());
    }
};

class TimeScale : public QwtScaleDraw
{
public:
    QwtText label(double microseconds) const override
    {
        const auto milliseconds = static_cast<qint64>(microseconds / 1000);
        const double span = scaleDiv().range();
        return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC)
            .toString(span < kFineSpan  ? QStringLiteral("HH:mm:ss.zzz")
                      : span > kDaySpan ? QStringLiteral("yyyy-MM-dd\nHH:mm")
                                        : QStringLiteral("HH:mm:ss"));
    }
};

/// Between two ticks, so that they stand at whole units of time.
double timeStep(double span)
{
    constexpr double kSecond = 1e6, kMinute = 60e6, kHour = 3600e6, kDay = 86400e6;
    constexpr double kSteps[] = {0.1 * kSecond, 0.2 * kSecond, 0.5 * kSecond, kSecond,      2 * kSecond,
                                 5 * kSecond,   10 * kSecond,  20 * kSecond,  30 * kSecond, kMinute,
                                 2 * kMinute,   5 * kMinute,   10 * kMinute,  20 * kMinute, 30 * kMinute,
                                 kHour,         2 * kHour,     3 * kHour,     6 * kHour,    12 * kHour};
    const auto* const step = std::find_if(std::begin(kSteps), std::end(kSteps),
                                          [span](double each) { return span / each <= kMostTicks; });
    return step != std::end(kSteps) ? *step : std::max(std::ceil(span / kMostTicks / kDay), 1.0) * kDay;
}

Role roleOf(int shape)
{
    constexpr Role kRoles[] = {Role::InUse, Role::Text, Role::Dim};
    return kRoles[shape % 3];
}

QPolygonF polygon(const QRectF& r, int shape)
{
    const QPointF c = r.center();
    switch (shape) {
    case 2:
        return QVector<QPointF>{{c.x(), r.top()}, r.bottomRight(), r.bottomLeft()};
    case 3:
        return QVector<QPointF>{{c.x(), r.top()}, {r.right(), c.y()}, {c.x(), r.bottom()}, {r.left(), c.y()}};
    default:
        return QVector<QPointF>{r.topLeft(), r.topRight(), {c.x(), r.bottom()}};
    }
}

} // namespace

class ResultsPlot::Item : public QwtPlotItem
{
public:
    explicit Item(ResultsPlot& plot) : m_plot(plot) {}
    void draw(QPainter* painter, const QwtScaleMap& across, const QwtScaleMap& up,
              const QRectF& room) const override
    {
        m_plot.paint(*painter, across, up, room);
    }

private:
    ResultsPlot& m_plot;
};

struct ResultsPlot::Place
{
    Place(const Point& point, const QwtScaleMap& across, const QwtScaleMap& up)
        : band(QPointF(across.transform(static_cast<double>(point.start)),
                       up.transform(point.frequency + point.bandwidth / 2)),
               QPointF(across.transform(static_cast<double>(point.start) + point.duration),
                       up.transform(point.frequency - point.bandwidth / 2)))
    {
    }
    bool isRectangle() const { return band.width() >= kLeast && band.height() >= kLeast; }
    /// In a rectangle, or behind it where that is too small.
    QRectF sign() const
    {
        QPointF centre = band.center();
        if (isRectangle() && std::min(band.width(), band.height()) < kSymbol + 2 * kMargin)
            centre.setX(band.right() + kMargin + kSymbol / 2);
        return {centre.x() - kSymbol / 2, centre.y() - kSymbol / 2, kSymbol, kSymbol};
    }
    bool isAt(const QPointF& point) const
    {
        return (isRectangle() && band.contains(point)) || sign().contains(point);
    }

    QRectF band;
};

ResultsPlot::ResultsPlot(QWidget* parent)
    : QwtPlot(parent), m_moves(*this, *this, *this), m_item(new Item(*this))
{
    setAxisScaleDraw(QwtPlot::xBottom, new TimeScale);
    setAxisScaleDraw(QwtPlot::yLeft, new HertzScale);
    static_cast<QwtPlotCanvas*>(canvas())->setFrameStyle(QFrame::NoFrame);
    setFocusPolicy(Qt::StrongFocus);
    setFrameShape(QFrame::Panel); // room for the frame of the focus
    setLineWidth(kFocusFrame);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    setMinimumSize(200, 120);
    setAccessibleName(tr("Results over time and frequency"));
    auto* const panner = new QwtPlotPanner(canvas());
    connect(panner, &QwtPanner::panned, this, [this] {
        setFollowing(false);
        Q_EMIT si_RangeChanged();
    });
    m_item->attach(this);
    connect(&Theme::instance(), &Theme::si_Changed, this, &ResultsPlot::dress);
    dress();
    arrange();
}

ResultsPlot::~ResultsPlot() = default;

void ResultsPlot::dress()
{
    setCanvasBackground(Theme::instance().color(Role::Base));
    QFont small = font();
    small.setPointSizeF(8.5);
    for (const int axis : {QwtPlot::xBottom, QwtPlot::yLeft})
        setAxisFont(axis, small);
    QwtText title(tr("Start (UTC)"));
    title.setFont(small);
    setAxisTitle(QwtPlot::xBottom, title);
    replot();
}

void ResultsPlot::setPoints(QVector<Point> points)
{
    const bool isFirst = m_points.isEmpty();
    m_points = std::move(points);
    if (m_isFollowing || isFirst)
        arrange();
    else
        replot();
}

void ResultsPlot::setFollowing(bool on)
{
    if (m_isFollowing == on)
        return;
    m_isFollowing = on;
    if (on)
        arrange();
    Q_EMIT si_FollowingChanged(on);
}

void ResultsPlot::setStale(bool isStale)
{
    if (m_isStale == isStale)
        return;
    m_isStale = isStale;
    replot();
}

/// The newest at the right, all frequencies from top to bottom. What a wrong clock has put far into the
/// future would keep the others out of sight.
void ResultsPlot::arrange()
{
    const double now = static_cast<double>(Kolta::ViewTime::now().toMSecsSinceEpoch()) * 1000;
    double newest = now;
    double lowest = 30e6, highest = 90e6;
    if (!m_points.isEmpty()) {
        double last = 0.0, lastBelieved = 0.0;
        lowest = 1e15;
        highest = 0.0;
        for (const Point& point : qAsConst(m_points)) {
            const double end = static_cast<double>(point.start) + point.duration;
            last = std::max(last, end);
            if (end < now + kFuture)
                lastBelieved = std::max(lastBelieved, end);
            lowest = std::min(lowest, point.frequency - point.bandwidth);
            highest = std::max(highest, point.frequency + point.bandwidth);
        }
        newest = lastBelieved > 0.0 ? lastBelieved : last;
    }
    const double air = std::max((highest - lowest) * 0.05, 1e3);
    setAxisScale(QwtPlot::yLeft, std::max(lowest - air, 0.0), highest + air);
    setTimes(newest - m_span, newest + m_span * (kAir - 1));
    replot();
    Q_EMIT si_RangeChanged();
}

void ResultsPlot::setTimes(double from, double to)
{
    setAxisScale(QwtPlot::xBottom, from, to, timeStep(to - from));
}

int ResultsPlot::shownCount() const
{
    const auto range = axisScaleDiv(QwtPlot::xBottom);
    return static_cast<int>(std::count_if(m_points.begin(), m_points.end(), [&](const Point& point) {
        const auto start = static_cast<double>(point.start);
        return start <= range.upperBound() && start + point.duration >= range.lowerBound();
    }));
}

void ResultsPlot::paintShape(QPainter& painter, const QRectF& r, int shape)
{
    const QColor color = Theme::instance().color(roleOf(shape));
    painter.setPen(QPen(color, 1.5));
    painter.setBrush(shape <= 4 ? QBrush(color) : QBrush(Qt::NoBrush));
    const QPointF c = r.center();
    if (shape == 0)
        painter.fillRect(r, color);
    else if (shape == 1 || shape == 7)
        painter.drawEllipse(r);
    else if (shape <= 4)
        painter.drawPolygon(polygon(r, shape));
    else if (shape == 5) {
        painter.drawLine(QPointF(c.x(), r.top()), QPointF(c.x(), r.bottom()));
        painter.drawLine(QPointF(r.left(), c.y()), QPointF(r.right(), c.y()));
    } else if (shape == 6) {
        painter.drawLine(r.topLeft(), r.bottomRight());
        painter.drawLine(r.topRight(), r.bottomLeft());
    } else {
        painter.drawRect(r);
    }
}

void ResultsPlot::paint(QPainter& painter, const QwtScaleMap& across, const QwtScaleMap& up,
                        const QRectF& room) const
{
    painter.setPen(QPen(Theme::instance().color(Role::Line), 1, Qt::DotLine));
    for (const double tick : axisScaleDiv(QwtPlot::xBottom).ticks(QwtScaleDiv::MajorTick))
        painter.drawLine(QPointF(across.transform(tick), room.top()),
                         QPointF(across.transform(tick), room.bottom()));
    for (const double tick : axisScaleDiv(QwtPlot::yLeft).ticks(QwtScaleDiv::MajorTick))
        painter.drawLine(QPointF(room.left(), up.transform(tick)), QPointF(room.right(), up.transform(tick)));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(m_isStale ? kFadedOpacity : 1.0);
    for (const Point& point : m_points) {
        const Place place(point, across, up);
        if (place.band.right() >= room.left() && place.band.left() <= room.right() &&
            place.band.bottom() >= room.top() && place.band.top() <= room.bottom())
            paintPoint(painter, place, point.shape);
    }
}

void ResultsPlot::paintPoint(QPainter& painter, const Place& place, int shape) const
{
    if (place.isRectangle()) {
        QColor color = Theme::instance().color(roleOf(shape));
        painter.setPen(QPen(color, 1));
        color.setAlpha(kFill);
        painter.setBrush(color);
        painter.drawRect(place.band);
    }
    paintShape(painter, place.sign(), shape);
}

/// Of the one that was painted last there.
QString ResultsPlot::tip(const QPointF& onCanvas) const
{
    const QwtScaleMap across = canvasMap(QwtPlot::xBottom), up = canvasMap(QwtPlot::yLeft);
    const auto found = std::find_if(m_points.crbegin(), m_points.crend(), [&](const Point& point) {
        return Place(point, across, up).isAt(onCanvas);
    });
    if (found == m_points.crend())
        return QString();
    return QStringLiteral("%1\n%2, %3 UTC")
        .arg(found->profile, Kolta::hertzToText(found->frequency),
             TimeScale().label(static_cast<double>(found->start)).text());
}

bool ResultsPlot::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QwtPlot::event(event);
    const auto& help = static_cast<const QHelpEvent&>(*event);
    QToolTip::showText(help.globalPos(), tip(canvas()->mapFrom(this, help.pos())), this);
    return true;
}

void ResultsPlot::zoom(double factor, double around)
{
    const auto range = axisScaleDiv(QwtPlot::xBottom);
    const double span = range.upperBound() - range.lowerBound();
    const double wanted = std::clamp(span * factor, kShortest, std::max(kLongest, span));
    m_span = wanted / kAir;
    if (m_isFollowing) {
        arrange();
        return;
    }
    const double part = (around - range.lowerBound()) / span;
    setTimes(around - wanted * part, around + wanted * (1 - part));
    replot();
    Q_EMIT si_RangeChanged();
}

void ResultsPlot::pan(double part)
{
    setFollowing(false);
    const auto range = axisScaleDiv(QwtPlot::xBottom);
    const double by = (range.upperBound() - range.lowerBound()) * part;
    setTimes(range.lowerBound() + by, range.upperBound() + by);
    replot();
    Q_EMIT si_RangeChanged();
}

void ResultsPlot::showAll()
{
    if (!m_points.isEmpty()) {
        auto oldest = static_cast<double>(m_points.first().start), newest = oldest;
        for (const Point& point : qAsConst(m_points)) {
            oldest = std::min(oldest, static_cast<double>(point.start));
            newest = std::max(newest, static_cast<double>(point.start) + point.duration);
        }
        m_span = std::max((newest - oldest) * kAir, kShortest);
    }
    arrange();
}

void ResultsPlot::addButtons(QBoxLayout& row)
{
    m_moves.addButtons(
        row, {tr("Earlier (←)"), tr("Later (→)"), tr("Zoom in (+)"), tr("Zoom out (−)"), tr("Show all (0)")});
}

/// Instead of the frame's own look.
void ResultsPlot::paintEvent(QPaintEvent* /*event*/)
{
    paintFocusFrame(*this);
}

} // namespace KoltaConsole
