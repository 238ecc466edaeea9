#include "matrixdelegate.h"

#include "assignmentmatrix.h"

#include <koltaconsole/widgets/stateitemdelegate.h>
#include <koltaconsole/widgets/theme.h>

#include <QPainter>

namespace KoltaConsole {

namespace {

constexpr int kBox = 15;
constexpr int kLeft = 12;

void paintTick(QPainter& painter, const QRectF& box, const QColor& color)
{
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 2));
    painter.drawPolyline(QPolygonF(QVector<QPointF>{{box.left() + 3, box.center().y()},
                                                    {box.left() + 6, box.bottom() - 4},
                                                    {box.right() - 3, box.top() + 4}}));
}

} // namespace

void MatrixDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const
{
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    const QString text = cell.text;
    cell.text.clear();
    cell.widget->style()->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);
    const Theme& theme = Theme::instance();
    const bool isTicked = index.data(AssignmentMatrix::TickRole).toBool();
    const bool isNew = index.data(AssignmentMatrix::NewRole).toBool();
    const bool hasNoCover = index.data(AssignmentMatrix::NoCoverRole).toBool();
    const bool isStale = StateItemDelegate::isStale(index);
    const Role role = hasNoCover ? Role::Attention
                      : isNew    ? Role::Planned
                      : isStale  ? Role::Dim
                      : isTicked ? Role::InUse
                                 : Role::Border;
    const int top = cell.rect.center().y() - kBox / 2;
    const QRectF box(cell.rect.left() + kLeft + 0.5, top + 0.5, kBox, kBox);
    painter->save();
    painter->setPen(QPen(theme.color(role), isNew || hasNoCover ? 2 : 1));
    // What is so is solid; what is only wanted is an outline.
    painter->setBrush(isTicked && !isNew ? QBrush(theme.color(role)) : QBrush(Qt::NoBrush));
    painter->drawRect(box);
    if (isTicked)
        paintTick(*painter, box, isNew ? theme.color(role) : theme.color(Role::Base));
    painter->setRenderHint(QPainter::Antialiasing, false);
    const bool isSelected = cell.state.testFlag(QStyle::State_Selected);
    const Role word = hasNoCover ? Role::Attention : isNew ? Role::Planned : isStale ? Role::Dim : Role::Text;
    painter->setPen(isSelected ? theme.onSelection(word) : theme.color(word));
    const QRect room = cell.rect.adjusted(kLeft + kBox + 6, 0, -2, 0);
    painter->drawText(room, Qt::AlignVCenter | Qt::AlignLeft,
                      cell.fontMetrics.elidedText(text, Qt::ElideRight, room.width()));
    painter->restore();
}

} // namespace KoltaConsole
