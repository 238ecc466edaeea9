#include "rowindex.h"

#include "rowtexts.h"

#include <koltacommon/viewroles.h>

#include <algorithm>
#include <utility>

/// \file
/// Headings of groups, and which rows stand below them.

namespace KoltaConsole {

namespace {

std::size_t at(int place)
{
    return static_cast<std::size_t>(place);
}

} // namespace

void RowIndex::setGrouping(Grouping grouping)
{
    beginResetModel();
    m_grouping = std::move(grouping);
    m_groups.clear();
    m_groupIds.clear();
    for (int row = 0; row < static_cast<int>(m_entries.size()); ++row)
        readGroup(row, m_entries[at(row)]);
    m_isSorted = false;
    arrange();
    endResetModel();
}

bool RowIndex::isHeading(const QModelIndex& index) const
{
    return index.isValid() && sourceRow(index.row()) < 0;
}

void RowIndex::setFolded(const QModelIndex& index, bool isFolded)
{
    const int id = index.isValid() ? groupOf(sourceRow(index.row())) : -1;
    if (id < 0 || m_groups[at(id)].isFolded == isFolded)
        return;
    Group& group = m_groups[at(id)];
    const int first = group.place + 1;
    if (isFolded) {
        m_folded.insert(group.name);
        const auto begin = m_rows.begin() + first;
        const auto end = std::find_if(begin, m_rows.end(), [](int row) { return row < 0; });
        beginRemoveRows({}, first, static_cast<int>(end - m_rows.begin()) - 1);
        group.isFolded = true;
        m_rows.erase(begin, end);
        note();
        endRemoveRows();
    } else {
        m_folded.remove(group.name);
        std::vector<int> rows;
        for (int row = 0; row < static_cast<int>(m_entries.size()); ++row) {
            if (m_entries[at(row)].isMatching && m_entries[at(row)].group == id)
                rows.push_back(row);
        }
        std::sort(rows.begin(), rows.end(), [this](int a, int b) { return isBefore(a, b); });
        beginInsertRows({}, first, first + static_cast<int>(rows.size()) - 1);
        group.isFolded = false;
        m_rows.insert(m_rows.begin() + first, rows.begin(), rows.end());
        note();
        endInsertRows();
    }
    Q_EMIT dataChanged(this->index(first - 1, 0), this->index(first - 1, columnCount() - 1));
}

bool RowIndex::reveal(int sourceRow)
{
    if (!isMatching(sourceRow))
        return false;
    if (rowOf(sourceRow) < 0)
        setFolded(index(m_groups[at(m_entries[at(sourceRow)].group)].place, 0), false);
    return true;
}

void RowIndex::setFoldedNames(const QSet<QString>& names)
{
    beginResetModel();
    m_folded = names;
    for (Group& group : m_groups)
        group.isFolded = m_folded.contains(group.name);
    arrange();
    endResetModel();
}

/// The group of that name. A new one takes its place among the others, whose order stays.
int RowIndex::makeGroup(const QString& name)
{
    const auto known = m_groupIds.constFind(name);
    if (known != m_groupIds.constEnd())
        return *known;
    const int id = static_cast<int>(m_groups.size());
    m_groupIds.insert(name, id);
    Group group;
    group.name = name;
    group.sortText = Kolta::ViewRoles::sortText(name);
    group.isFolded = m_folded.contains(name);
    for (Group& other : m_groups) {
        const int order = other.sortText.compare(group.sortText);
        const bool isBehind = order == 0 ? other.name > name : order > 0;
        ++(isBehind ? other : group).rank;
    }
    m_groups.push_back(group);
    return id;
}

void RowIndex::readGroup(int sourceRow, Entry& entry)
{
    entry.group = isGrouped() ? makeGroup(m_grouping.nameOf(sourceRow)) : -1;
    entry.isFree = isGrouped() && m_grouping.isFree && m_grouping.isFree(sourceRow);
}

void RowIndex::count(const Entry& entry, int number)
{
    if (!entry.isMatching)
        return;
    m_matches += number;
    if (entry.group < 0)
        return;
    Group& group = m_groups[at(entry.group)];
    group.count += number;
    group.free += entry.isFree ? number : 0;
    if (!m_touched.contains(entry.group))
        m_touched.append(entry.group);
}

/// Before a row with that group is looked for: a heading must be there first.
void RowIndex::beginGroup(int group)
{
    if (group >= 0 && m_groups[at(group)].place < 0)
        show(~group);
}

/// After changes: headings without rows go, the others tell their numbers.
void RowIndex::endEmptyGroups()
{
    for (const int id : std::exchange(m_touched, {})) {
        const Group& group = m_groups[at(id)];
        if (group.place >= 0 && group.count == 0)
            hide(group.place);
        else if (group.place >= 0)
            Q_EMIT dataChanged(index(group.place, 0), index(group.place, columnCount() - 1));
    }
}

QVariant RowIndex::headingData(const Group& group, int column, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return column == 0
                   ? tr("%1: %2 of %3 free").arg(group.name, countText(group.free), countText(group.count))
                   : QVariant();
    case Kolta::ViewRoles::KeyRole:
        return QString(QStringLiteral("group/") + group.name);
    case Kolta::ViewRoles::GroupRole:
        return group.name;
    case CountRole:
        return group.count;
    case FreeRole:
        return group.free;
    case FoldedRole:
        return group.isFolded;
    default:
        return {};
    }
}

} // namespace KoltaConsole
