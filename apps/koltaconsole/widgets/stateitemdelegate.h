#pragma once

#include "marks.h"

#include <QStyledItemDelegate>

#include <functional>
#include <optional>

namespace KoltaConsole {

/// Paints cells of all pages: a mark before the word of a state, and what is only known from before dim, by
/// Kolta::ViewRoles::StaleRole. What does not fit ends in an ellipsis and is whole in the tool tip.
class StateItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// The state that a cell shows; nothing for any other cell.
    using LookOf = std::function<std::optional<Look>(const QModelIndex&)>;

    explicit StateItemDelegate(QObject* parent, LookOf lookOf = {});

    /// Whether all rows, of all views, are only known from before.
    static void setAllStale(bool areStale);
    /// Whether the cell shows what is only known from before.
    static bool isStale(const QModelIndex& index);

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    std::optional<Look> lookOf(const QModelIndex& index) const
    {
        return m_lookOf ? m_lookOf(index) : std::nullopt;
    }
    const LookOf m_lookOf;
};

} // namespace KoltaConsole
