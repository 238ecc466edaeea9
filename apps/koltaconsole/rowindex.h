#pragma once

#include <QAbstractProxyModel>

#include <functional>
#include <vector>

namespace KoltaConsole {

/// Filters and sorts a flat table of many rows. A proxy that takes thousands of rows out one by one makes
/// people wait while they type; this has the texts and sorting keys of all rows ready, goes over them once
/// and resets itself. Changes of single rows are told singly.
///
/// A reset loses a view's selection; whoever shows this restores it by the rows' keys. Sorts by
/// Kolta::ViewRoles::SortRole as QSortFilterProxyModel does, rows that are equal in their own order.
class RowIndex : public QAbstractProxyModel
{
    Q_OBJECT

public:
    /// Whether a row of the source is shown; `search` is its Kolta::ViewRoles::SearchRole.
    using Filter = std::function<bool(int sourceRow, const QString& search)>;
    /// More changes than this at once are told as a reset.
    static constexpr int kSingleChanges = 64;

    explicit RowIndex(QObject* parent = nullptr);

    void setSourceModel(QAbstractItemModel* model) override;
    /// An empty function lets every row through.
    void setFilter(Filter filter);
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    int sortColumn() const noexcept { return m_column; }
    Qt::SortOrder sortOrder() const noexcept { return m_order; }

    int sourceRow(int row) const { return m_rows[static_cast<std::size_t>(row)]; }
    /// -1 for one that is not shown.
    int rowOf(int sourceRow) const { return m_places[static_cast<std::size_t>(sourceRow)]; }

    QModelIndex mapToSource(const QModelIndex& proxyIndex) const override;
    QModelIndex mapFromSource(const QModelIndex& sourceIndex) const override;
    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    bool hasChildren(const QModelIndex& parent = QModelIndex()) const override
    {
        return rowCount(parent) > 0;
    }

private:
    /// Of one row of the source.
    struct Entry
    {
        QString search;
        double number = 0.0; ///< the key of numbers and times
        QString text;        ///< that of anything else
    };

    void follow();
    Entry read(int sourceRow) const;
    void readAll();
    bool isShown(int sourceRow) const;
    bool isBefore(int a, int b) const;
    int placeFor(int sourceRow) const;
    void arrange();
    void reset();
    void note();
    void show(int sourceRow);
    void hide(int sourceRow);
    void change(int sourceRow);
    void takeChanges(const QModelIndex& first, const QModelIndex& last);
    void takeInsertion(int first, int last);
    void beginRemoval(int first, int last);
    void endRemoval(int first, int last);

    Filter m_filter;
    int m_column = -1;
    Qt::SortOrder m_order = Qt::AscendingOrder;
    std::vector<Entry> m_entries;
    std::vector<int> m_rows;   ///< of the source, in the order shown
    std::vector<int> m_places; ///< the reverse; -1: not shown
    bool m_isResetting = false;
};

} // namespace KoltaConsole
