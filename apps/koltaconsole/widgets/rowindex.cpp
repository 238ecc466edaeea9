#include "rowindex.h"

#include <koltacommon/viewroles.h>

#include <QDateTime>

#include <algorithm>
#include <limits>
#include <numeric>
#include <utility>

namespace KoltaConsole {

namespace {

std::size_t at(int place)
{
    return static_cast<std::size_t>(place);
}

} // namespace

RowIndex::RowIndex(QObject* parent) : QAbstractProxyModel(parent)
{
    connect(&m_still, &StillRows::si_Due, this, &RowIndex::catchUp);
}

void RowIndex::setSourceModel(QAbstractItemModel* model)
{
    beginResetModel();
    if (sourceModel())
        sourceModel()->disconnect(this);
    QAbstractProxyModel::setSourceModel(model);
    if (model)
        follow();
    readAll();
    endResetModel();
}

void RowIndex::follow()
{
    const QAbstractItemModel* const source = sourceModel();
    connect(source, &QAbstractItemModel::dataChanged, this, &RowIndex::takeChanges);
    connect(source, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex& parent, int first, int last) {
                if (!parent.isValid())
                    takeInsertion(first, last);
            });
    connect(source, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this](const QModelIndex& parent, int first, int last) {
                if (!parent.isValid())
                    beginRemoval(first, last);
            });
    connect(source, &QAbstractItemModel::rowsRemoved, this,
            [this](const QModelIndex& parent, int first, int last) {
                if (!parent.isValid())
                    endRemoval(first, last);
            });
    const auto begin = [this] { beginResetModel(); };
    const auto end = [this] {
        readAll();
        endResetModel();
    };
    connect(source, &QAbstractItemModel::rowsAboutToBeMoved, this, begin);
    connect(source, &QAbstractItemModel::rowsMoved, this, end);
    connect(source, &QAbstractItemModel::layoutAboutToBeChanged, this, begin);
    connect(source, &QAbstractItemModel::layoutChanged, this, end);
    connect(source, &QAbstractItemModel::modelAboutToBeReset, this, begin);
    connect(source, &QAbstractItemModel::modelReset, this, end);
}

RowIndex::Entry RowIndex::read(int sourceRow)
{
    Entry entry;
    entry.search = sourceModel()->index(sourceRow, 0).data(Kolta::ViewRoles::SearchRole).toString();
    readGroup(sourceRow, entry);
    entry.isMatching = !m_filter || m_filter(sourceRow, entry.search);
    readKey(sourceRow, entry);
    entry.server =
        m_serverOrder.keyOf(sourceModel()->index(sourceRow, 0).data(Kolta::ViewRoles::ServerRole).toString());
    return entry;
}

void RowIndex::readKey(int sourceRow, Entry& entry) const
{
    entry.number = 0.0;
    entry.text.clear();
    if (m_column < 0)
        return;
    const QVariant key = sourceModel()->index(sourceRow, m_column).data(Kolta::ViewRoles::SortRole);
    if (key.userType() == QMetaType::QDateTime) {
        const QDateTime time = key.toDateTime();
        entry.number = time.isValid() ? static_cast<double>(time.toMSecsSinceEpoch())
                                      : -std::numeric_limits<double>::infinity();
    } else if (key.userType() == QMetaType::QString) {
        entry.text = key.toString();
    } else {
        entry.number = key.toDouble();
    }
}

void RowIndex::readAll()
{
    const int count = sourceModel() ? sourceModel()->rowCount() : 0;
    m_groups.clear();
    m_groupIds.clear();
    m_touched.clear();
    m_entries.clear();
    m_entries.reserve(at(count));
    for (int row = 0; row < count; ++row)
        m_entries.push_back(read(row));
    m_isSorted = false;
    arrange();
}

bool RowIndex::isShown(const Entry& entry) const
{
    return entry.isMatching && (entry.group < 0 || !m_groups[at(entry.group)].isFolded);
}

bool RowIndex::isBefore(int a, int b) const
{
    if (isGrouped()) {
        const int firstGroup = groupOf(a), secondGroup = groupOf(b);
        if (firstGroup != secondGroup)
            return m_groups[at(firstGroup)].rank < m_groups[at(secondGroup)].rank;
        if (a < 0 || b < 0)
            return a < 0 && b >= 0;
    }
    if (m_column < 0)
        return a < b;
    const Entry& first = m_entries[at(a)];
    const Entry& second = m_entries[at(b)];
    const bool isUp = m_order == Qt::AscendingOrder;
    if (first.number != second.number)
        return isUp == (first.number < second.number);
    if (const int order = first.text.compare(second.text); order != 0)
        return isUp == (order < 0);
    const int order = first.server.compare(second.server);
    return order == 0 ? a < b : order < 0;
}

/// Sorting costs ten times what filtering does, and a key that somebody types changes no order.
void RowIndex::sortAll()
{
    if (std::exchange(m_isSorted, true))
        return;
    m_sorted.resize(m_entries.size());
    std::iota(m_sorted.begin(), m_sorted.end(), 0);
    std::sort(m_sorted.begin(), m_sorted.end(), [this](int a, int b) { return isBefore(a, b); });
}

/// New rows find their places among those that are sorted.
void RowIndex::sortIn(int first, int last)
{
    if (!m_isSorted)
        return;
    const int count = last - first + 1;
    for (int& row : m_sorted)
        row += row >= first ? count : 0;
    const auto old = static_cast<std::ptrdiff_t>(m_sorted.size());
    m_sorted.resize(m_sorted.size() + at(count));
    const auto fresh = m_sorted.begin() + old;
    const auto isEarlier = [this](int a, int b) { return isBefore(a, b); };
    std::iota(fresh, m_sorted.end(), first);
    std::sort(fresh, m_sorted.end(), isEarlier);
    std::inplace_merge(m_sorted.begin(), fresh, m_sorted.end(), isEarlier);
}

void RowIndex::arrange()
{
    for (int row = 0; row < static_cast<int>(m_entries.size()); ++row) {
        if (!m_entries[at(row)].isLate)
            continue;
        m_entries[at(row)] = read(row);
        m_isSorted = false;
    }
    sortAll();
    m_rows.clear();
    m_matches = 0;
    for (Group& group : m_groups)
        group.count = group.free = 0;
    int begun = -1;
    for (const int row : m_sorted) {
        const Entry& entry = m_entries[at(row)];
        count(entry, 1);
        if (entry.isMatching && entry.group != begun) {
            begun = entry.group;
            m_rows.push_back(~begun);
        }
        if (isShown(entry))
            m_rows.push_back(row);
    }
    m_touched.clear();
    note();
}

void RowIndex::note()
{
    m_places.assign(m_entries.size(), -1);
    for (Group& group : m_groups)
        group.place = -1;
    for (std::size_t place = 0; place < m_rows.size(); ++place) {
        const int row = m_rows[place];
        (row < 0 ? m_groups[at(~row)].place : m_places[at(row)]) = static_cast<int>(place);
    }
}

void RowIndex::setFilter(Filter filter)
{
    beginResetModel();
    m_filter = std::move(filter);
    for (int row = 0; row < static_cast<int>(m_entries.size()); ++row) {
        Entry& entry = m_entries[at(row)];
        entry.isMatching = !m_filter || m_filter(row, entry.search);
    }
    arrange();
    endResetModel();
}

void RowIndex::sort(int column, Qt::SortOrder order)
{
    beginResetModel();
    const int former = std::exchange(m_column, column);
    m_order = order;
    // The search texts, which cost more, stay.
    for (std::size_t row = 0; former != column && row < m_entries.size(); ++row)
        readKey(static_cast<int>(row), m_entries[row]);
    m_isSorted = false;
    arrange();
    endResetModel();
}

int RowIndex::placeFor(int row) const
{
    const auto place =
        std::lower_bound(m_rows.begin(), m_rows.end(), row, [this](int a, int b) { return isBefore(a, b); });
    return static_cast<int>(place - m_rows.begin());
}

void RowIndex::show(int row)
{
    const int place = placeFor(row);
    beginInsertRows({}, place, place);
    m_rows.insert(m_rows.begin() + place, row);
    note();
    endInsertRows();
}

void RowIndex::hide(int place)
{
    beginRemoveRows({}, place, place);
    m_rows.erase(m_rows.begin() + place);
    note();
    endRemoveRows();
}

/// A row that is shown before and after; its entry is the new one.
void RowIndex::change(int sourceRow)
{
    const int place = m_places[at(sourceRow)];
    const int last = static_cast<int>(m_rows.size()) - 1;
    const bool fits = (place == 0 || isBefore(m_rows[at(place - 1)], sourceRow)) &&
                      (place == last || isBefore(sourceRow, m_rows[at(place + 1)]));
    if (!fits) {
        std::vector<int> others = m_rows;
        others.erase(others.begin() + place);
        const auto found = std::lower_bound(others.begin(), others.end(), sourceRow,
                                            [this](int a, int b) { return isBefore(a, b); });
        const int target = static_cast<int>(found - others.begin());
        beginMoveRows({}, place, place, {}, target < place ? target : target + 1);
        others.insert(found, sourceRow);
        m_rows = std::move(others);
        note();
        endMoveRows();
    }
    const int now = m_places[at(sourceRow)];
    Q_EMIT dataChanged(index(now, 0), index(now, columnCount() - 1));
}

void RowIndex::replace(int sourceRow, Entry entry)
{
    if (entry.isMatching)
        beginGroup(entry.group);
    const bool wasShown = m_places[at(sourceRow)] >= 0;
    count(m_entries[at(sourceRow)], -1);
    count(entry, 1);
    m_isSorted = m_isSorted && entry.sortsLike(m_entries[at(sourceRow)]);
    std::swap(m_entries[at(sourceRow)], entry);
    const bool is = isShown(m_entries[at(sourceRow)]);
    if (!wasShown && is)
        show(sourceRow);
    else if (wasShown && !is)
        hide(m_places[at(sourceRow)]);
    else if (is)
        change(sourceRow);
}

void RowIndex::forget(int sourceRow)
{
    if (m_places[at(sourceRow)] >= 0)
        hide(m_places[at(sourceRow)]);
    Entry& entry = m_entries[at(sourceRow)];
    count(entry, -1);
    entry.isMatching = false;
}

void RowIndex::keepBack(int first, int last)
{
    int top = rowCount(), bottom = -1;
    for (int row = first; row <= last; ++row) {
        m_entries[at(row)].isLate = true;
        if (const int place = m_places[at(row)]; place >= 0) {
            top = std::min(top, place);
            bottom = std::max(bottom, place);
        }
    }
    if (bottom >= 0)
        Q_EMIT dataChanged(index(top, 0), index(bottom, columnCount() - 1));
}

void RowIndex::catchUp()
{
    std::vector<int> late;
    for (int row = 0; row < static_cast<int>(m_entries.size()); ++row) {
        if (m_entries[at(row)].isLate)
            late.push_back(row);
    }
    if (late.size() > at(kSingleChanges)) {
        beginResetModel();
        arrange();
        endResetModel();
        return;
    }
    for (const int row : late)
        replace(row, read(row));
    endEmptyGroups();
}

void RowIndex::takeChanges(const QModelIndex& first, const QModelIndex& last)
{
    if (first.parent().isValid())
        return;
    if (areHeld())
        return keepBack(first.row(), last.row());
    if (last.row() - first.row() >= kSingleChanges) {
        beginResetModel();
        for (int row = first.row(); row <= last.row(); ++row) {
            Entry entry = read(row);
            m_isSorted = m_isSorted && entry.sortsLike(m_entries[at(row)]);
            std::swap(m_entries[at(row)], entry);
        }
        arrange();
        endResetModel();
        return;
    }
    for (int row = first.row(); row <= last.row(); ++row)
        replace(row, read(row));
    endEmptyGroups();
}

void RowIndex::takeInsertion(int first, int last)
{
    const int count = last - first + 1;
    const bool isHeld = areHeld(), isLarge = !isHeld && count > kSingleChanges;
    if (isLarge)
        beginResetModel();
    for (int& row : m_rows)
        row += row >= first ? count : 0;
    m_entries.insert(m_entries.begin() + first, at(count), Entry());
    note();
    if (isHeld) {
        m_isSorted = false; // they have no keys yet
        return keepBack(first, last);
    }
    if (isLarge) {
        for (int row = first; row <= last; ++row)
            m_entries[at(row)] = read(row);
        sortIn(first, last);
        arrange();
        endResetModel();
        return;
    }
    const bool wasSorted = m_isSorted;
    for (int row = first; row <= last; ++row)
        replace(row, read(row));
    m_isSorted = wasSorted;
    sortIn(first, last);
    endEmptyGroups();
}

void RowIndex::beginRemoval(int first, int last)
{
    m_isResetting = last - first >= kSingleChanges;
    if (m_isResetting) {
        beginResetModel();
        return;
    }
    for (int row = last; row >= first; --row)
        forget(row);
    endEmptyGroups();
}

void RowIndex::endRemoval(int first, int last)
{
    m_entries.erase(m_entries.begin() + first, m_entries.begin() + last + 1);
    const int count = last - first + 1;
    if (m_isSorted) {
        const auto isGone = [=](int row) { return row >= first && row <= last; };
        m_sorted.erase(std::remove_if(m_sorted.begin(), m_sorted.end(), isGone), m_sorted.end());
        for (int& row : m_sorted)
            row -= row > last ? count : 0;
    }
    if (m_isResetting) {
        arrange();
        m_isResetting = false;
        endResetModel();
        return;
    }
    for (int& row : m_rows)
        row -= row > last ? count : 0;
    note();
}

QVariant RowIndex::data(const QModelIndex& index, int role) const
{
    return isHeading(index) ? headingData(m_groups[at(~sourceRow(index.row()))], index.column(), role)
                            : QAbstractProxyModel::data(index, role);
}

/// Also when there is no row, of which Qt's proxy would ask for the column.
QVariant RowIndex::headerData(int section, Qt::Orientation orientation, int role) const
{
    return orientation == Qt::Horizontal && sourceModel()
               ? sourceModel()->headerData(section, orientation, role)
               : QVariant();
}

Qt::ItemFlags RowIndex::flags(const QModelIndex& index) const
{
    return isHeading(index) ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren
                            : QAbstractProxyModel::flags(index);
}

QModelIndex RowIndex::mapToSource(const QModelIndex& proxyIndex) const
{
    return proxyIndex.isValid() && !isHeading(proxyIndex)
               ? sourceModel()->index(sourceRow(proxyIndex.row()), proxyIndex.column())
               : QModelIndex();
}

QModelIndex RowIndex::mapFromSource(const QModelIndex& sourceIndex) const
{
    if (!sourceIndex.isValid() || sourceIndex.parent().isValid())
        return {};
    const int row = rowOf(sourceIndex.row());
    return row < 0 ? QModelIndex() : createIndex(row, sourceIndex.column());
}

QModelIndex RowIndex::index(int row, int column, const QModelIndex& parent) const
{
    return hasIndex(row, column, parent) ? createIndex(row, column) : QModelIndex();
}

QModelIndex RowIndex::parent(const QModelIndex& /*child*/) const
{
    return {};
}

int RowIndex::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

int RowIndex::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() || !sourceModel() ? 0 : sourceModel()->columnCount();
}

} // namespace KoltaConsole
