#pragma once

#include <QStyledItemDelegate>

namespace KoltaConsole {

/// Paints the cells of an AssignmentMatrix: a box with a tick, and beside it what is to be said of it.
class MatrixDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
};

} // namespace KoltaConsole
