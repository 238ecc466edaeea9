#include "groupedtable.h"

#include "columns.h"
#include "rowindex.h"
#include "theme.h"

#include <koltacommon/viewroles.h>

#include <QKeyEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>

namespace KoltaConsole {

namespace {

constexpr int kMarkRoom = 24;
constexpr int kMarkSize = 8;

/// Points down where the group is open, to the right where it is folded.
void paintMarkOf(QPainter& painter, const QPoint& centre, bool isFolded, const QColor& color)
{
    constexpr int kHalf = kMarkSize / 2;
    const QPolygon open{{centre + QPoint(-kHalf, -2), centre + QPoint(kHalf, -2), centre + QPoint(0, 3)}};
    const QPolygon closed{{centre + QPoint(-2, -kHalf), centre + QPoint(-2, kHalf), centre + QPoint(3, 0)}};
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawPolygon(isFolded ? closed : open);
}

} // namespace

GroupedTable::GroupedTable(RowIndex& rows, QWidget* parent) : QTreeView(parent), m_rows(rows)
{
    setModel(&rows);
    dressTable(*this);
}

void GroupedTable::drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                           const QModelIndex& index) const
{
    if (!m_rows.isHeading(index))
        return QTreeView::drawRow(painter, option, index);
    const Theme& theme = Theme::instance();
    const QLocale locale;
    const bool isSelected = selectionModel()->isSelected(index);
    const QRect row(0, option.rect.top(), viewport()->width(), option.rect.height());
    painter->save();
    painter->fillRect(row, theme.color(isSelected ? Role::Selection : Role::Window));
    paintMarkOf(*painter, QPoint(row.left() + kMarkRoom / 2, row.center().y()),
                index.data(RowIndex::FoldedRole).toBool(), theme.color(Role::Text));
    const QString name = index.data(Kolta::ViewRoles::GroupRole).toString();
    const QString numbers = tr("%1 of %2 free")
                                .arg(locale.toString(index.data(RowIndex::FreeRole).toInt()),
                                     locale.toString(index.data(RowIndex::CountRole).toInt()));
    QFont font = option.font;
    font.setBold(true);
    painter->setFont(font);
    painter->setPen(theme.color(Role::Text));
    QRect room = row.adjusted(kMarkRoom, 0, -8, 0);
    const QString shown = name.isEmpty() ? tr("without a name") : name;
    painter->drawText(room, Qt::AlignVCenter | Qt::AlignLeft, shown);
    room.setLeft(room.left() + QFontMetrics(font).horizontalAdvance(shown) + 16);
    painter->setFont(option.font);
    painter->setPen(isSelected ? theme.onSelection(Role::Dim) : theme.color(Role::Dim));
    painter->drawText(room, Qt::AlignVCenter | Qt::AlignLeft, numbers);
    if (hasFocus() && currentIndex().row() == index.row()) {
        painter->setPen(QPen(theme.color(Role::Planned), 2));
        painter->drawRect(row.adjusted(1, 1, -1, -1));
    }
    painter->restore();
}

void GroupedTable::fold(const QModelIndex& heading, bool isFolded)
{
    m_rows.setFolded(heading, isFolded);
}

void GroupedTable::toggle(const QModelIndex& heading)
{
    fold(heading, !heading.data(RowIndex::FoldedRole).toBool());
}

void GroupedTable::mousePressEvent(QMouseEvent* event)
{
    QTreeView::mousePressEvent(event);
    const QModelIndex index = indexAt(event->pos());
    if (event->button() == Qt::LeftButton && event->pos().x() < kMarkRoom && m_rows.isHeading(index))
        toggle(index);
}

void GroupedTable::mouseDoubleClickEvent(QMouseEvent* event)
{
    const QModelIndex index = indexAt(event->pos());
    if (event->button() == Qt::LeftButton && m_rows.isHeading(index))
        toggle(index);
    else
        QTreeView::mouseDoubleClickEvent(event);
}

/// Left on a row below a heading goes to that heading, as in every tree.
void GroupedTable::keyPressEvent(QKeyEvent* event)
{
    const QModelIndex index = currentIndex();
    const bool isHeading = m_rows.isHeading(index);
    if (m_rows.isGrouped() && index.isValid() && event->key() == Qt::Key_Left) {
        if (isHeading)
            return fold(index, true);
        int row = index.row();
        while (row > 0 && m_rows.sourceRow(row) >= 0)
            --row;
        return setCurrentIndex(m_rows.index(row, index.column()));
    }
    if (isHeading && event->key() == Qt::Key_Right)
        return fold(index, false);
    if (isHeading && event->key() == Qt::Key_Space)
        return toggle(index);
    QTreeView::keyPressEvent(event);
}

} // namespace KoltaConsole
