#include "marks.h"

#include <koltacommon/event.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunermodel.h>

#include <QPainter>
#include <QPolygonF>

#include <cmath>

namespace KoltaConsole {

namespace {

QPolygonF octagon(const QRectF& square)
{
    const double cut = square.width() * 0.29;
    return QVector<QPointF>{{square.left() + cut, square.top()},     {square.right() - cut, square.top()},
                            {square.right(), square.top() + cut},    {square.right(), square.bottom() - cut},
                            {square.right() - cut, square.bottom()}, {square.left() + cut, square.bottom()},
                            {square.left(), square.bottom() - cut},  {square.left(), square.top() + cut}};
}

void paintHatched(QPainter& painter, const QRectF& area, const QColor& color)
{
    painter.setPen(QPen(color, 1));
    painter.setBrush(QBrush(color, Qt::BDiagPattern));
    painter.drawRect(area);
}

void paintHalf(QPainter& painter, const QRectF& area, const QColor& color)
{
    painter.drawPie(area, 90 * 16, 180 * 16);
    painter.setPen(QPen(color, 1.3));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(area);
}

} // namespace

void paintMark(QPainter& painter, const QRectF& square, Mark mark, const QColor& color)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, mark != Mark::Square && mark != Mark::Box);
    const QRectF inner = square.adjusted(1, 1, -1, -1);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    switch (mark) {
    case Mark::Disc:
        painter.drawEllipse(inner);
        break;
    case Mark::Square:
        painter.fillRect(inner, color);
        break;
    case Mark::Box:
        painter.setPen(QPen(color, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(inner);
        break;
    case Mark::Hatched:
        paintHatched(painter, inner, color);
        break;
    case Mark::Half:
        paintHalf(painter, inner, color);
        break;
    case Mark::Triangle:
        painter.drawPolygon(QVector<QPointF>{{square.center().x(), square.top()},
                                             {square.right(), square.bottom() - 1},
                                             {square.left(), square.bottom() - 1}});
        break;
    case Mark::Octagon:
        painter.drawPolygon(octagon(square));
        break;
    case Mark::Cross:
        painter.setPen(QPen(color, 1.6));
        painter.drawLine(inner.topLeft(), inner.bottomRight());
        painter.drawLine(inner.topRight(), inner.bottomLeft());
        break;
    }
    painter.restore();
}

void paintTunerBar(QPainter& painter, const QRectF& bar, const TunerCounts& counts, bool isStale)
{
    if (counts.all() == 0)
        return;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    const Theme& theme = Theme::instance();
    if (isStale)
        painter.setOpacity(0.5);
    int before = 0;
    const auto next = [&](int count) {
        const auto edge = [&](int tuners) {
            return std::round(bar.left() + bar.width() * tuners / counts.all());
        };
        const QRectF part(QPointF(edge(before), bar.top()), QPointF(edge(before + count), bar.bottom()));
        before += count;
        return part;
    };
    painter.fillRect(next(counts.inUse), theme.color(Role::InUse));
    if (const QRectF part = next(counts.planned); part.width() >= 1)
        paintHatched(painter, part.adjusted(0, 0, -1, -1), theme.color(Role::Planned));
    painter.fillRect(next(counts.free), theme.color(Role::Free));
    if (const QRectF part = next(counts.out); part.width() >= 1) {
        painter.setPen(QPen(theme.color(Role::InUse), 1, Qt::DotLine));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(part.adjusted(1, 0, -1, -1));
    }
    painter.restore();
}

Look eventLook(int weight)
{
    const auto known = static_cast<Kolta::Event::Weight>(weight);
    const QString word = Kolta::Event::title(known);
    switch (known) {
    case Kolta::Event::Weight::Alarm:
        return {Mark::Octagon, Role::Alarm, word, true};
    case Kolta::Event::Weight::Attention:
        return {Mark::Triangle, Role::Attention, word, true};
    case Kolta::Event::Weight::Note:
        break;
    }
    return {Mark::Disc, Role::InUse, word, false};
}

Look tunerLook(int state)
{
    using Kolta::TunerBookingManager;
    const QString word = Kolta::TunerModel::stateText(static_cast<TunerBookingManager::eTunerState>(state));
    switch (state) {
    case TunerBookingManager::eFree:
        return {Mark::Box, Role::InUse, word, false};
    case TunerBookingManager::eInUse:
        return {Mark::Square, Role::InUse, word, false};
    case TunerBookingManager::ePlanned:
        return {Mark::Hatched, Role::Planned, word, false};
    default:
        return {Mark::Cross, Role::Dim, word, false};
    }
}

} // namespace KoltaConsole
