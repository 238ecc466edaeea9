#include "timelinedelegate.h"

#include <koltaconsole/session/serverfacts.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <cmath>

namespace KoltaConsole {

using Kolta::Stretch;

namespace {

constexpr int kAir = 8;
constexpr int kBarHeight = 12;
constexpr int kTickHours = 6;

bool runs(const Stretch& stretch)
{
    return stretch.isWatched && stretch.state >= 0;
}

QRectF barOf(const Timeline& timeline, const Stretch& stretch, const QRectF& room)
{
    const double left = timeline.placeOf(stretch.from, room.left(), room.right());
    const double right = timeline.placeOf(stretch.to, room.left(), room.right());
    // What ran for a moment is seen all the same.
    return {left, room.center().y() - kBarHeight / 2.0, qMax(right - left, 2.0), kBarHeight};
}

void paintUnwatched(QPainter& painter, const QRectF& bar, bool didRun)
{
    const Theme& theme = Theme::instance();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QBrush(theme.color(Role::Line), Qt::BDiagPattern));
    painter.drawRect(bar);
    if (!didRun)
        return;
    painter.setPen(QPen(theme.color(Role::Dim), 1, Qt::DotLine));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(bar.adjusted(0.5, 0.5, -0.5, -0.5));
}

void paintLoss(QPainter& painter, const QRectF& last)
{
    const QColor alarm = Theme::instance().color(Role::Alarm);
    painter.setPen(QPen(alarm, 1));
    painter.setBrush(QBrush(alarm, Qt::BDiagPattern));
    painter.drawRect(QRectF(last.right() - 2, last.top() - 1, 4, last.height() + 2));
}

/// What the timeline says in words, newest first.
QString textOf(const Timeline& timeline)
{
    QStringList lines;
    for (auto stretch = timeline.stretches.crbegin(); stretch != timeline.stretches.crend(); ++stretch) {
        if (!runs(*stretch) && stretch->isWatched)
            continue;
        if (lines.size() == 8) {
            lines.append(QStringLiteral("…"));
            break;
        }
        const QString from = timeText(stretch->from), to = timeText(stretch->to);
        if (!stretch->isWatched)
            lines.append(TimelineDelegate::tr("%1 – %2: not watched").arg(from, to));
        else if (!stretch->sawBegin)
            lines.append(TimelineDelegate::tr("before %1 – %2: ran").arg(from, to));
        else
            lines.append(TimelineDelegate::tr("%1 – %2: ran").arg(from, to));
    }
    return lines.join(QLatin1Char('\n'));
}

QRectF roomIn(const QRect& cell)
{
    return QRectF(cell).adjusted(kAir, 0, -kAir, 0);
}

} // namespace

double Timeline::placeOf(const QDateTime& time, double left, double right) const
{
    const double all = static_cast<double>(from.msecsTo(to));
    const double part = all > 0 ? static_cast<double>(from.msecsTo(time)) / all : 0.0;
    return left + (right - left) * qBound(0.0, part, 1.0);
}

QVector<QDateTime> Timeline::ticks() const
{
    QVector<QDateTime> result;
    if (!from.isValid())
        return result;
    QDateTime tick(from.date(), QTime(from.time().hour(), 0));
    for (tick = tick.addSecs(3600); tick < to; tick = tick.addSecs(3600)) {
        if (tick.time().hour() % kTickHours == 0)
            result.append(tick);
    }
    return result;
}

void TimelineDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const
{
    StateItemDelegate::paint(painter, option, index);
    const QVariant value = index.data(Timeline::kRole);
    if (!value.isValid())
        return;
    const auto timeline = value.value<Timeline>();
    if (timeline.isEmpty())
        return;
    const Theme& theme = Theme::instance();
    const QRectF room = roomIn(option.rect);
    painter->save();
    painter->setPen(theme.color(Role::Line));
    for (const QDateTime& tick : timeline.ticks()) {
        const double x = std::round(timeline.placeOf(tick, room.left(), room.right())) + 0.5;
        painter->drawLine(QPointF(x, option.rect.top()), QPointF(x, option.rect.bottom()));
    }
    bool didRun = false;
    QRectF last;
    for (const Stretch& stretch : timeline.stretches) {
        const QRectF bar = barOf(timeline, stretch, room);
        if (!stretch.isWatched)
            paintUnwatched(*painter, bar, didRun);
        else if (runs(stretch))
            painter->fillRect(last = bar, timeline.isPast || !stretch.isOpen ? theme.past(Role::InUse)
                                                                             : theme.color(Role::InUse));
        didRun = stretch.isWatched ? runs(stretch) : didRun;
    }
    if (timeline.isLost && last.isValid())
        paintLoss(*painter, last);
    painter->restore();
}

bool TimelineDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                 const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const QVariant value = index.data(Timeline::kRole);
    if (event->type() != QEvent::ToolTip || !value.isValid())
        return StateItemDelegate::helpEvent(event, view, option, index);
    QToolTip::showText(event->globalPos(), textOf(value.value<Timeline>()), view);
    return true;
}

TimelineHeader::TimelineHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent)
{
    setStretchLastSection(true);
    setSectionsClickable(false);
}

void TimelineHeader::setRange(const QDateTime& from, const QDateTime& to)
{
    m_range.from = from;
    m_range.to = to;
    viewport()->update();
}

void TimelineHeader::paintSection(QPainter* painter, const QRect& rect, int section) const
{
    painter->save();
    QHeaderView::paintSection(painter, rect, section);
    painter->restore();
    if (section != count() - 1 || !m_range.from.isValid())
        return;
    painter->save();
    painter->setPen(Theme::instance().color(Role::Dim));
    const QRectF room = roomIn(rect);
    const auto textAt = [&](const QDateTime& time) { return time.toString(QStringLiteral("HH:mm")); };
    const double width = fontMetrics().horizontalAdvance(textAt(m_range.to)) + 2;
    const QRectF now(room.right() - width, rect.top(), width, rect.height());
    painter->drawText(now, Qt::AlignVCenter | Qt::AlignRight, textAt(m_range.to));
    for (const QDateTime& tick : m_range.ticks()) {
        const double x = m_range.placeOf(tick, room.left(), room.right());
        const QRectF place(x - width / 2, rect.top(), width, rect.height());
        if (place.left() >= rect.left() && place.right() < now.left() - kAir)
            painter->drawText(place, Qt::AlignCenter, textAt(tick));
    }
    painter->restore();
}

} // namespace KoltaConsole
