#pragma once

#include <QTreeView>

namespace KoltaConsole {

class RowIndex;

/// A table of a RowIndex, whose headings reach over all columns and are folded by a click on their mark, a
/// double click, Left, Right or Space.
class GroupedTable : public QTreeView
{
    Q_OBJECT

public:
    GroupedTable(RowIndex& rows, QWidget* parent);

protected:
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option,
                 const QModelIndex& index) const override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void fold(const QModelIndex& heading, bool isFolded);
    void toggle(const QModelIndex& heading);

    RowIndex& m_rows;
};

} // namespace KoltaConsole
