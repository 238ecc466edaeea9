#pragma once

#include "serverorder.h"
#include "stillrows.h"

#include <QAbstractProxyModel>
#include <QHash>
#include <QSet>

#include <functional>
#include <vector>

namespace KoltaConsole {

/// Filters and sorts a flat table of many rows. A proxy that takes thousands of rows out one by one makes
/// people wait while they type; this has the texts and sorting keys of all rows ready, goes over them once
/// and resets itself. Changes of single rows are told singly.
///
/// A reset loses a view's selection; whoever shows this restores it by the rows' keys. Sorts by
/// Kolta::ViewRoles::SortRole as QSortFilterProxyModel does, rows that are equal in their own order.
///
/// The rows may stand in groups: then each group that has rows begins with a heading, which is a row of this
/// alone, and what is folded is not shown below it. Groups stand in the order of their names, whatever the
/// rows are sorted by, and how many are in one and free is counted as rows change.
///
/// While rows are held (StillRows), those of the source that come or change wait for their places; what they
/// say does not.
class RowIndex : public QAbstractProxyModel
{
    Q_OBJECT

public:
    /// Whether a row of the source is shown; `search` is its Kolta::ViewRoles::SearchRole.
    using Filter = std::function<bool(int sourceRow, const QString& search)>;
    /// Empty functions: there are no groups.
    struct Grouping
    {
        std::function<QString(int sourceRow)> nameOf;
        std::function<bool(int sourceRow)> isFree;
    };
    /// What headings tell beside Kolta::ViewRoles::GroupRole; for other rows nothing.
    enum Role : int { CountRole = Qt::UserRole + 200, FreeRole, FoldedRole };
    /// More changes than this at once are told as a reset.
    static constexpr int kSingleChanges = 64;

    explicit RowIndex(QObject* parent = nullptr);

    void setSourceModel(QAbstractItemModel* model) override;
    /// An empty function lets every row through.
    void setFilter(Filter filter);
    /// What was folded stays so, by its name.
    void setGrouping(Grouping grouping);
    bool isGrouped() const noexcept { return m_grouping.nameOf != nullptr; }
    bool isHeading(const QModelIndex& index) const;
    /// Of the group whose heading or row it is.
    void setFolded(const QModelIndex& index, bool isFolded);
    /// Unfolds the group of a row that fits; false for any other.
    bool reveal(int sourceRow);
    const QSet<QString>& folded() const noexcept { return m_folded; }
    void setFoldedNames(const QSet<QString>& names);
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    int sortColumn() const noexcept { return m_column; }
    Qt::SortOrder sortOrder() const noexcept { return m_order; }

    /// Negative for a heading.
    int sourceRow(int row) const { return m_rows[static_cast<std::size_t>(row)]; }
    /// How many rows fit the filter, with those that are folded.
    int matchCount() const noexcept { return m_matches; }
    bool isMatching(int sourceRow) const { return m_entries[static_cast<std::size_t>(sourceRow)].isMatching; }
    /// -1 for one that is not shown.
    int rowOf(int sourceRow) const { return m_places[static_cast<std::size_t>(sourceRow)]; }

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
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
        QString server;      ///< as it is sorted, where all else is equal
        int group = -1;
        bool isMatching = false;
        bool isFree = false;
        bool isLate = false; ///< it has come or changed while rows were held

        bool sortsLike(const Entry& other) const
        {
            return number == other.number && text == other.text && group == other.group;
        }
    };
    struct Group
    {
        QString name;
        QString sortText;
        int rank = 0; ///< among all groups
        int count = 0;
        int free = 0;
        bool isFolded = false;
        int place = -1; ///< of its heading
    };

    void follow();
    Entry read(int sourceRow);
    void readKey(int sourceRow, Entry& entry) const;
    void readAll();
    // Rows and headings in one order: a row of the source is its number, the heading of a group is ~group.
    bool isShown(const Entry& entry) const;
    bool isBefore(int a, int b) const;
    int placeFor(int row) const;
    int groupOf(int row) const { return row < 0 ? ~row : m_entries[static_cast<std::size_t>(row)].group; }
    QVariant headingData(const Group& group, int column, int role) const;
    void sortAll();
    void sortIn(int first, int last);
    void arrange();
    void note();
    void show(int row);
    void hide(int place);
    void change(int sourceRow);
    int makeGroup(const QString& name);
    void readGroup(int sourceRow, Entry& entry);
    void count(const Entry& entry, int number);
    void beginGroup(int group);
    void endEmptyGroups();
    void replace(int sourceRow, Entry entry);
    void forget(int sourceRow);
    bool areHeld() { return !m_rows.empty() && m_still.areHeld(); }
    void keepBack(int first, int last);
    void catchUp();
    void takeChanges(const QModelIndex& first, const QModelIndex& last);
    void takeInsertion(int first, int last);
    void beginRemoval(int first, int last);
    void endRemoval(int first, int last);

    Filter m_filter;
    int m_column = -1;
    Qt::SortOrder m_order = Qt::AscendingOrder;
    Grouping m_grouping;
    std::vector<Group> m_groups;
    QHash<QString, int> m_groupIds; ///< by name
    ServerOrder m_serverOrder;
    QVector<int> m_touched; ///< groups whose numbers may have changed
    QSet<QString> m_folded;
    int m_matches = 0;
    std::vector<Entry> m_entries;
    std::vector<int> m_sorted; ///< all rows of the source in order, while that holds
    bool m_isSorted = false;
    std::vector<int> m_rows;   ///< of the source, and headings, in the order shown
    std::vector<int> m_places; ///< the reverse; -1: not shown
    bool m_isResetting = false;
    StillRows m_still;
};

} // namespace KoltaConsole
