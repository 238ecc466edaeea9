#include "frequencyaxis.h"

#include "lanesplot.h"

#include <koltaconsole/widgets/marks.h>

#include <qwt_scale_map.h>

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace KoltaConsole {

namespace {

constexpr int kGutter = 196;
constexpr int kLeastLane = 36;
constexpr double kLeastSpan = 1e3; ///< Hz
constexpr int kDragFrom = 4;       ///< pixels; less is a click

} // namespace

/// The names of the lanes, with how many are free.
class FrequencyAxis::Gutter : public QWidget
{
public:
    explicit Gutter(FrequencyAxis& axis) : QWidget(&axis), m_axis(axis)
    {
        setFixedWidth(kGutter);
        setAccessibleName(FrequencyAxis::tr("Groups of tuners"));
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        QPainter painter(this);
        const Theme& theme = Theme::instance();
        const QVector<Lane>& lanes = m_axis.lanes();
        const QLocale locale;
        QFont bold = font(), small = font();
        bold.setBold(true);
        small.setPointSizeF(8.5);
        painter.setClipRect(0, 0, width(), m_axis.m_plot->canvas()->height());
        for (int i = 0; i < lanes.size(); ++i) {
            const QRect room = m_axis.laneRoom(i).toRect();
            painter.fillRect(0, room.top(), width(), room.height(),
                             theme.color(i % 2 == 0 ? Role::Base : Role::Alternate));
            const QRect upper(8, room.center().y() - 17, width() - 16, 17);
            painter.setFont(bold);
            painter.setPen(theme.color(Role::Text));
            painter.drawText(
                upper, Qt::AlignVCenter,
                painter.fontMetrics().elidedText(lanes.at(i).name, Qt::ElideRight, upper.width()));
            painter.setFont(small);
            painter.setPen(theme.color(Role::Dim));
            painter.drawText(
                upper.translated(0, 17), Qt::AlignVCenter,
                FrequencyAxis::tr("%1 of %2 free")
                    .arg(locale.toString(lanes.at(i).free), locale.toString(lanes.at(i).tuners.size())));
        }
    }
    void mouseDoubleClickEvent(QMouseEvent* event) override
    {
        const int lane = m_axis.laneAt(event->pos().y());
        if (lane >= 0)
            Q_EMIT m_axis.si_LaneChosen(m_axis.lanes().at(lane).name);
    }
    void wheelEvent(QWheelEvent* event) override
    {
        m_axis.m_scroll->setValue(m_axis.m_scroll->value() - event->angleDelta().y() / 3);
    }

private:
    FrequencyAxis& m_axis;
};

FrequencyAxis::FrequencyAxis(QWidget* parent)
    : QWidget(parent)
    , m_plot(std::make_unique<LanesPlot>(this, [this](int lane) { return laneRoom(lane); }))
    , m_moves(*this, *this, *m_plot)
    , m_gutter(new Gutter(*this))
    , m_scroll(new QScrollBar(Qt::Vertical, this))
{
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Frequencies that the tuners reach"));
    auto* const plots = new QHBoxLayout;
    plots->setSpacing(0);
    plots->addWidget(m_gutter);
    plots->addWidget(m_plot.get(), 1);
    plots->addWidget(m_scroll);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(kFocusFrame, kFocusFrame, kFocusFrame, kFocusFrame);
    layout->setSpacing(0);
    layout->addLayout(plots, 1);
    layout->addWidget(makeLegend());
    m_plot->canvas()->installEventFilter(this);
    m_plot->canvas()->setCursor(Qt::ArrowCursor);
    connect(m_scroll, &QScrollBar::valueChanged, this, [this] {
        m_gutter->update();
        m_plot->replot();
    });
    connect(&Theme::instance(), &Theme::si_Changed, this, [this] {
        m_plot->dress();
        m_plot->replot();
        m_gutter->update();
    });
    m_plot->setRange(LanesPlot::kFrom, LanesPlot::kTo);
}

FrequencyAxis::~FrequencyAxis() = default;

namespace {

/// Marks with what they mean, and how to move about.
class Legend : public QWidget
{
public:
    explicit Legend(QWidget* parent) : QWidget(parent) { setFixedHeight(24); }

protected:
    void paintEvent(QPaintEvent* /*event*/) override
    {
        QPainter painter(this);
        QFont small = font();
        small.setPointSizeF(8.5);
        painter.setFont(small);
        int x = 8;
        for (int state : {0, 1, 3, 2}) {
            const Look look = tunerLook(state);
            paintMark(painter, QRectF(x, height() / 2.0 - 5, 10, 10), look.mark,
                      Theme::instance().color(look.role));
            x = write(painter, x + 15, look.word) + 14;
        }
        painter.fillRect(x, height() / 2 - 6, 3, 12, Theme::instance().color(Role::Text));
        x = write(painter, x + 9, FrequencyAxis::tr("what runs")) + 14;
        write(painter, x, FrequencyAxis::tr("wheel: zoom · drag: move · Shift+drag: order that band"));
    }

private:
    int write(QPainter& painter, int x, const QString& text) const
    {
        painter.setPen(Theme::instance().color(Role::Dim));
        const QRect room(x, 0, std::max(0, width() - x), height());
        const QString shown = painter.fontMetrics().elidedText(text, Qt::ElideRight, room.width());
        painter.drawText(room, Qt::AlignVCenter, shown);
        return x + painter.fontMetrics().horizontalAdvance(shown);
    }
};

} // namespace

QWidget* FrequencyAxis::makeLegend()
{
    auto* const row = new QWidget(this);
    auto* const layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 8, 0);
    layout->setSpacing(2);
    layout->addWidget(new Legend(row), 1);
    m_moves.addButtons(*layout, {tr("Lower frequencies (←)"), tr("Higher frequencies (→)"), tr("Zoom in (+)"),
                                 tr("Zoom out (−)"), tr("Show all (0)")});
    return row;
}

const QVector<Lane>& FrequencyAxis::lanes() const
{
    return m_plot->lanes;
}

namespace {

/// From the lowest to the highest that any tuner reaches.
std::pair<double, double> extentOf(const QVector<Lane>& lanes)
{
    double lowest = std::numeric_limits<double>::infinity(), highest = 0.0;
    for (const Lane& lane : lanes) {
        for (const LaneTuner& tuner : lane.tuners) {
            if (tuner.to <= tuner.from)
                continue;
            lowest = std::min(lowest, std::max(tuner.from, 1.0));
            highest = std::max(highest, tuner.to);
        }
    }
    return highest > 0 ? std::pair(lowest, highest) : std::pair(LanesPlot::kFrom, LanesPlot::kTo);
}

} // namespace

void FrequencyAxis::setLanes(const QVector<Lane>& lanes)
{
    m_plot->lanes = lanes;
    layOut();
    const auto [lowest, highest] = extentOf(lanes);
    const bool isFarther = lowest < from() || highest > to();
    if (!lanes.isEmpty() && (m_shown == Shown::Nothing || (m_shown == Shown::All && isFarther)))
        showAll();
    m_plot->replot();
    m_gutter->update();
}

void FrequencyAxis::setCurrent(const QString& key)
{
    if (std::exchange(m_plot->current, key) != key)
        m_plot->replot();
}

double FrequencyAxis::from() const
{
    return m_plot->from;
}

double FrequencyAxis::to() const
{
    return m_plot->to;
}

void FrequencyAxis::showAll()
{
    const auto [lowest, highest] = extentOf(lanes());
    setRange(lowest, highest);
}

void FrequencyAxis::setRange(double from, double to)
{
    const auto [lowest, highest] = extentOf(lanes());
    from = std::clamp(from, lowest, std::max(lowest, highest - kLeastSpan));
    to = std::clamp(to, from + kLeastSpan, std::max(from + kLeastSpan, highest));
    m_plot->setRange(from, to);
    m_shown = lanes().isEmpty() ? Shown::Nothing : from <= lowest && to >= highest ? Shown::All : Shown::Part;
    Q_EMIT si_RangeChanged();
}

void FrequencyAxis::zoom(double factor, double around)
{
    if (m_plot->isLogarithmic())
        setRange(around * std::pow(from() / around, factor), around * std::pow(to() / around, factor));
    else
        setRange(around - (around - from()) * factor, around + (to() - around) * factor);
}

void FrequencyAxis::pan(double part)
{
    // The edge stops at the end of what there is, and what is shown keeps its width.
    const auto [lowest, highest] = extentOf(lanes());
    if (m_plot->isLogarithmic()) {
        const double most = part > 0 ? highest / to() : lowest / from();
        const double wanted = std::pow(to() / from(), part);
        const double by = part > 0 ? std::min(most, wanted) : std::max(most, wanted);
        return setRange(from() * by, to() * by);
    }
    const double most = part > 0 ? highest - to() : lowest - from();
    const double wanted = (to() - from()) * part;
    const double by = part > 0 ? std::min(most, wanted) : std::max(most, wanted);
    setRange(from() + by, to() + by);
}

void FrequencyAxis::layOut()
{
    const int room = m_plot->canvas()->height();
    const int needed = lanes().size() * kLeastLane;
    m_scroll->setVisible(needed > room);
    m_scroll->setRange(0, std::max(0, needed - room));
    m_scroll->setPageStep(room);
    m_scroll->setSingleStep(kLeastLane);
}

QRectF FrequencyAxis::laneRoom(int lane) const
{
    const QWidget* const canvas = m_plot->canvas();
    const double each =
        std::max<double>(kLeastLane, static_cast<double>(canvas->height()) / std::max(1, lanes().size()));
    const double top = std::round(lane * each), bottom = std::round((lane + 1) * each);
    return QRectF(0, top - m_scroll->value(), canvas->width(), bottom - top);
}

int FrequencyAxis::laneAt(int y) const
{
    for (int lane = 0; lane < lanes().size(); ++lane) {
        const QRectF room = laneRoom(lane);
        if (y >= room.top() && y < room.bottom())
            return lane;
    }
    return -1;
}

double FrequencyAxis::frequencyAt(int x) const
{
    return m_plot->canvasMap(QwtPlot::xBottom).invTransform(x);
}

void FrequencyAxis::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layOut();
}

void FrequencyAxis::paintEvent(QPaintEvent* /*event*/)
{
    paintFocusFrame(*this);
}

void FrequencyAxis::keyPressEvent(QKeyEvent* event)
{
    if (event->key() != Qt::Key_Escape)
        return QWidget::keyPressEvent(event);
    m_drag = Drag::None;
    m_plot->markedFrom = m_plot->markedTo = 0;
    m_plot->replot();
}

bool FrequencyAxis::eventFilter(QObject* watched, QEvent* event)
{
    const auto mouse = [event] { return static_cast<QMouseEvent*>(event); };
    switch (event->type()) {
    case QEvent::Resize:
        layOut();
        break;
    case QEvent::MouseButtonPress:
        if (mouse()->button() == Qt::LeftButton)
            press(mouse()->pos(), mouse()->modifiers().testFlag(Qt::ShiftModifier));
        return true;
    case QEvent::MouseMove:
        drag(mouse()->pos());
        return true;
    case QEvent::MouseButtonRelease:
        if (mouse()->button() == Qt::LeftButton)
            release(mouse()->pos());
        return true;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void FrequencyAxis::press(const QPoint& point, bool marks)
{
    setFocus(Qt::MouseFocusReason);
    m_drag = marks ? Drag::Mark : Drag::Move;
    m_pressed = point;
    m_pressedFrom = from();
    m_pressedTo = to();
}

/// Of what is on screen, and no finer than a pixel can tell.
double FrequencyAxis::markedAt(int x) const
{
    const double frequency = qBound(from(), frequencyAt(x), to());
    const double ofPixel = std::abs(frequencyAt(x + 1) - frequencyAt(x));
    if (!(ofPixel > 0))
        return frequency;
    const double step = std::pow(10.0, std::floor(std::log10(ofPixel)));
    return qBound(from(), std::round(frequency / step) * step, to());
}

void FrequencyAxis::drag(const QPoint& point)
{
    if (m_drag == Drag::Mark) {
        const double a = markedAt(m_pressed.x()), b = markedAt(point.x());
        m_plot->markedFrom = std::min(a, b);
        m_plot->markedTo = std::max(a, b);
        m_plot->replot();
    } else if (m_drag == Drag::Move && (point - m_pressed).manhattanLength() >= kDragFrom) {
        m_plot->setRange(m_pressedFrom, m_pressedTo);
        pan((m_pressed.x() - point.x()) / std::max(1.0, m_plot->canvasMap(QwtPlot::xBottom).pDist()));
    }
}

void FrequencyAxis::release(const QPoint& point)
{
    const Drag was = std::exchange(m_drag, Drag::None);
    const double from = std::exchange(m_plot->markedFrom, 0.0), to = std::exchange(m_plot->markedTo, 0.0);
    m_plot->replot();
    const bool isClick = (point - m_pressed).manhattanLength() < kDragFrom;
    if (was == Drag::Mark && !isClick)
        Q_EMIT si_BandMarked(from, to);
    else if (was == Drag::Move && isClick)
        choose(point);
}

/// The tuner of the line at that point.
void FrequencyAxis::choose(const QPoint& point)
{
    const int number = laneAt(point.y());
    if (number < 0)
        return;
    const Lane& lane = lanes().at(number);
    const QRectF room = laneRoom(number).adjusted(0, 3, 0, -3);
    const double height = LanePainter::lineHeight(room, lane.tuners.size());
    if (height <= 0)
        return;
    const double top = room.top() + (room.height() - height * lane.tuners.size()) / 2;
    const int line = static_cast<int>(std::floor((point.y() - top) / height));
    if (line >= 0 && line < lane.tuners.size())
        Q_EMIT si_TunerChosen(lane.tuners.at(line).key);
}

} // namespace KoltaConsole
