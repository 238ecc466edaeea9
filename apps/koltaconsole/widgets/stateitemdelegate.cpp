#include "stateitemdelegate.h"

#include <koltacommon/viewroles.h>

#include <QAbstractItemView>
#include <QApplication>
#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace KoltaConsole {

namespace {

constexpr int kAir = 7;
constexpr int kRowHeight = 24;

bool areAllStale = false;

} // namespace

StateItemDelegate::StateItemDelegate(QObject* parent, LookOf lookOf)
    : QStyledItemDelegate(parent), m_lookOf(std::move(lookOf))
{
}

void StateItemDelegate::setAllStale(bool areStale)
{
    areAllStale = areStale;
}

bool StateItemDelegate::isStale(const QModelIndex& index)
{
    return areAllStale || index.data(Kolta::ViewRoles::StaleRole).toBool();
}

void StateItemDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->textElideMode = Qt::ElideRight;
    const Theme& theme = Theme::instance();
    if (isStale(index)) {
        option->palette.setColor(QPalette::Text, theme.color(Role::Dim));
        option->palette.setColor(QPalette::HighlightedText, theme.onSelection(Role::Dim));
    }
}

void StateItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const
{
    const std::optional<Look> look = lookOf(index);
    if (!look) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    QStyleOptionViewItem cell = option;
    initStyleOption(&cell, index);
    cell.text.clear();
    const QStyle* const style = cell.widget ? cell.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &cell, painter, cell.widget);
    const Theme& theme = Theme::instance();
    const bool isSelected = cell.state.testFlag(QStyle::State_Selected);
    const Role role = isStale(index) && !look->isLoud ? Role::Dim : look->role;
    const QColor color = isSelected ? theme.onSelection(role) : theme.color(role);
    const QRectF square(cell.rect.left() + kAir, cell.rect.center().y() - kMarkSize / 2.0 + 0.5, kMarkSize,
                        kMarkSize);
    paintMark(*painter, square, look->mark, color);
    painter->save();
    QFont font = cell.font;
    font.setBold(look->isLoud);
    painter->setFont(font);
    painter->setPen(
        look->isLoud ? color : cell.palette.color(isSelected ? QPalette::HighlightedText : QPalette::Text));
    const QRect room = cell.rect.adjusted(kAir + kMarkRoom, 0, -4, 0);
    painter->drawText(room, Qt::AlignVCenter | Qt::AlignLeft,
                      QFontMetrics(font).elidedText(look->word, Qt::ElideRight, room.width()));
    painter->restore();
}

QSize StateItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const
{
    const QSize needed = QStyledItemDelegate::sizeHint(option, index);
    return {needed.width(), std::max(needed.height(), kRowHeight)};
}

bool StateItemDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                                  const QStyleOptionViewItem& option, const QModelIndex& index)
{
    const auto look = lookOf(index);
    const QString text = look ? look->word : index.data().toString();
    const QString more = index.data(Qt::ToolTipRole).toString();
    const bool isCut =
        option.fontMetrics.horizontalAdvance(text) + 2 * kAir + (look ? kMarkRoom : 0) > option.rect.width();
    if (event->type() == QEvent::ToolTip && isCut && !more.contains(text)) {
        QToolTip::showText(event->globalPos(), more.isEmpty() ? text : text + QLatin1Char('\n') + more, view);
        return true;
    }
    return QStyledItemDelegate::helpEvent(event, view, option, index);
}

} // namespace KoltaConsole
