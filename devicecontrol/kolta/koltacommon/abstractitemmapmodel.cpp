#include <koltacommon/abstractitemmapmodel.h>

#include <koltacommon/viewroles.h>

#include <QPointer>

#include <algorithm>
#include <tuple>

namespace Kolta {

namespace {

int toInt(std::ptrdiff_t size)
{
    return static_cast<int>(size);
}

/// Calls `call(first, last)` for every run of elements that `isNeighbour` of the one before; false as soon as
/// a call is.
template<class Iterator, class IsNeighbour, class Call>
bool forEachRun(Iterator begin, Iterator end, const IsNeighbour& isNeighbour, const Call& call)
{
    for (Iterator first = begin; first != end;) {
        Iterator last = first;
        while (last + 1 != end && isNeighbour(*last, *(last + 1)))
            ++last;
        if (!call(first, last))
            return false;
        first = last + 1;
    }
    return true;
}

} // namespace

/// Where a row is shown.
struct AbstractItemMapModel::Place
{
    Group* group;
    int groupRow; ///< of the group
    int row;
    bool operator<(const Place& other) const
    {
        return std::tie(groupRow, row) < std::tie(other.groupRow, other.row);
    }
    bool precedes(const Place& other) const { return group == other.group && row + 1 == other.row; }
};

AbstractItemMapModel::AbstractItemMapModel(bool grouped, QObject* parent)
    : QAbstractItemModel(parent), m_grouped(grouped)
{
    if (!grouped)
        m_groups.push_back(std::make_unique<Group>(QString()));
}

AbstractItemMapModel::~AbstractItemMapModel() = default;

QModelIndex AbstractItemMapModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    const Node* node = nullptr;
    if (parent.isValid()) {
        const Node* const above = parentNode(parent);
        const auto at = static_cast<std::size_t>(parent.row());
        if (above)
            node = static_cast<const Group*>(above)->rows[at];
        else if (m_grouped)
            node = m_groups[at].get();
        else
            node = m_groups.front()->rows[at];
    }
    return createIndex(row, column, const_cast<Node*>(node));
}

QModelIndex AbstractItemMapModel::parent(const QModelIndex& child) const
{
    const Node* const node = parentNode(child);
    if (!node)
        return QModelIndex();
    return node->isGroup ? indexOfGroup(static_cast<const Group&>(*node))
                         : indexOfRow(static_cast<const Row*>(node));
}

int AbstractItemMapModel::rowCount(const QModelIndex& parent) const
{
    if (!parent.isValid())
        return toInt(
            static_cast<std::ptrdiff_t>(m_grouped ? m_groups.size() : m_groups.front()->rows.size()));
    if (parent.column() > 0)
        return 0;
    const Node* const above = parentNode(parent);
    if (m_grouped && !above)
        return toInt(
            static_cast<std::ptrdiff_t>(m_groups[static_cast<std::size_t>(parent.row())]->rows.size()));
    return above && !above->isGroup ? 0 : rowAt(parent)->lines.size();
}

int AbstractItemMapModel::columnCount(const QModelIndex& /*parent*/) const
{
    return std::max(1, adapterColumns());
}

QVariant AbstractItemMapModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const Row* const row = rowAt(index);
    if (!row) {
        const QString& name = m_groups[static_cast<std::size_t>(index.row())]->name;
        const bool isText = role == Qt::DisplayRole && index.column() == 0;
        return isText || role == GroupRole ? QVariant(name) : QVariant();
    }
    if (role == GroupRole)
        return m_grouped ? QVariant(row->group->name) : QVariant();
    const Node* const above = parentNode(index);
    const bool isLine = above && !above->isGroup;
    if (!isLine || role == KeyRole || role == ItemRole)
        return itemData(*row, index.column(), role);
    return role == Qt::DisplayRole && index.column() == 0 ? QVariant(row->lines.at(index.row())) : QVariant();
}

QVariant AbstractItemMapModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractItemModel::headerData(section, orientation, role);
    if (section < 0 || section >= columnCount())
        return QVariant();
    return adapterColumns() > 0 ? columnTitle(section) : tr("Name");
}

Qt::ItemFlags AbstractItemMapModel::flags(const QModelIndex& index) const
{
    const Node* const above = parentNode(index);
    const bool isLine = above && !above->isGroup;
    return QAbstractItemModel::flags(index) | (isLine ? Qt::ItemNeverHasChildren : Qt::NoItemFlags);
}

QHash<int, QByteArray> AbstractItemMapModel::roleNames() const
{
    auto names = QAbstractItemModel::roleNames();
    for (const int role : {int(KeyRole), int(ItemRole), int(GroupRole), int(ViewRoles::SortRole)})
        names.insert(role, ViewRoles::names().value(role));
    return names;
}

bool AbstractItemMapModel::insertItems(std::vector<Change> changes)
{
    std::sort(changes.begin(), changes.end(), [this](const Change& a, const Change& b) {
        return m_grouped && a.group != b.group ? a.group < b.group : isLess(*a.row, *b.row);
    });
    for (Change& change : changes)
        change.row->lines = std::move(change.lines);
    const auto sameGroup = [this](const Change& a, const Change& b) {
        return !m_grouped || a.group == b.group;
    };
    return forEachRun(changes.cbegin(), changes.cend(), sameGroup, [this](auto first, auto last) {
        if (Group* const group = findGroup(first->group))
            return insertRun(*group, &*first, &*last + 1);
        auto group = std::make_unique<Group>(first->group);
        for (auto change = first; change <= last; ++change) {
            group->rows.push_back(change->row);
            change->row->group = group.get();
        }
        return insertGroup(std::move(group));
    });
}

bool AbstractItemMapModel::updateItems(const std::vector<Change>& changes)
{
    Rows staying;
    std::vector<const Change*> moving;
    for (const Change& change : changes) {
        if (m_grouped && change.row->group->name != change.group)
            moving.push_back(&change);
        else
            staying.push_back(change.row);
    }
    if (!tellData(staying))
        return false;
    for (const Change* const change : moving) {
        if (!move(*change->row, change->group) || !tellData({change->row}))
            return false;
    }
    return std::all_of(changes.begin(), changes.end(),
                       [this](const Change& change) { return changeLines(*change.row, change.lines); });
}

bool AbstractItemMapModel::removeItems(const Rows& rows)
{
    const QPointer<QObject> alive(this);
    const auto places = placesOf(rows);
    std::vector<int> emptied;
    // From the last to the first, so that the places of the others stay right.
    for (auto end = places.crbegin(); end != places.crend();) {
        auto begin = end;
        while (begin + 1 != places.crend() && (begin + 1)->precedes(*begin))
            ++begin;
        Group& group = *end->group;
        const auto first = group.rows.cbegin() + begin->row;
        const auto last = group.rows.cbegin() + end->row + 1;
        if (m_grouped && first == group.rows.cbegin() && last == group.rows.cend()) {
            emptied.push_back(end->groupRow);
        } else {
            const QModelIndex parent = m_grouped ? indexOfGroup(group) : QModelIndex();
            beginRemoveRows(parent, begin->row, end->row);
            group.rows.erase(first, last);
            endRemoveRows();
            if (!alive)
                return false;
        }
        end = begin + 1;
    }
    return forEachRun(
        emptied.cbegin(), emptied.cend(), [](int a, int b) { return b + 1 == a; },
        [this](auto first, auto last) { return removeGroups(*last, *first); });
}

QModelIndex AbstractItemMapModel::indexOfRow(const Row* row, int column) const
{
    if (!row || !row->group)
        return QModelIndex();
    Group& group = *row->group;
    return createIndex(toInt(lowerRow(group, *row) - group.rows.cbegin()), column,
                       m_grouped ? static_cast<Node*>(&group) : nullptr);
}

const AbstractItemMapModel::Row* AbstractItemMapModel::rowAt(const QModelIndex& index) const
{
    if (!index.isValid())
        return nullptr;
    const Node* const above = parentNode(index);
    const auto at = static_cast<std::size_t>(index.row());
    if (!above)
        return m_grouped ? nullptr : m_groups.front()->rows[at];
    return above->isGroup ? static_cast<const Group*>(above)->rows[at] : static_cast<const Row*>(above);
}

const AbstractItemMapModel::Node* AbstractItemMapModel::parentNode(const QModelIndex& index) const
{
    return static_cast<const Node*>(index.internalPointer());
}

QModelIndex AbstractItemMapModel::indexOfGroup(const Group& group) const
{
    return createIndex(toInt(lowerGroup(group.name) - m_groups.cbegin()), 0, nullptr);
}

AbstractItemMapModel::Groups::const_iterator AbstractItemMapModel::lowerGroup(const QString& name) const
{
    return std::lower_bound(m_groups.cbegin(), m_groups.cend(), name,
                            [](const auto& group, const QString& wanted) { return group->name < wanted; });
}

AbstractItemMapModel::Group* AbstractItemMapModel::findGroup(const QString& name) const
{
    if (!m_grouped)
        return m_groups.front().get();
    const auto found = lowerGroup(name);
    return found != m_groups.cend() && (*found)->name == name ? found->get() : nullptr;
}

AbstractItemMapModel::Rows::const_iterator AbstractItemMapModel::lowerRow(const Group& group,
                                                                          const Row& row) const
{
    return std::lower_bound(group.rows.cbegin(), group.rows.cend(), &row,
                            [this](const Row* a, const Row* b) { return isLess(*a, *b); });
}

std::vector<AbstractItemMapModel::Place> AbstractItemMapModel::placesOf(const Rows& rows) const
{
    std::vector<Place> places;
    places.reserve(rows.size());
    for (const Row* const row : rows) {
        const int groupRow = m_grouped ? toInt(lowerGroup(row->group->name) - m_groups.cbegin()) : 0;
        places.push_back(
            {row->group, groupRow, toInt(lowerRow(*row->group, *row) - row->group->rows.cbegin())});
    }
    std::sort(places.begin(), places.end());
    return places;
}

bool AbstractItemMapModel::insertGroup(std::unique_ptr<Group> group)
{
    const QPointer<QObject> alive(this);
    const auto at = lowerGroup(group->name);
    const int row = toInt(at - m_groups.cbegin());
    beginInsertRows(QModelIndex(), row, row);
    m_groups.insert(at, std::move(group));
    endInsertRows();
    return alive;
}

/// Puts changes in order into an existing group: those that have no shown row between them at once.
bool AbstractItemMapModel::insertRun(Group& group, const Change* first, const Change* last)
{
    const QPointer<QObject> alive(this);
    while (first != last) {
        const auto at = lowerRow(group, *first->row);
        const Change* end = first + 1;
        while (end != last && (at == group.rows.cend() || isLess(*end->row, **at)))
            ++end;
        Rows rows;
        std::transform(first, end, std::back_inserter(rows), [](const Change& change) { return change.row; });
        const int row = toInt(at - group.rows.cbegin());
        beginInsertRows(m_grouped ? indexOfGroup(group) : QModelIndex(), row, row + toInt(end - first) - 1);
        group.rows.insert(at, rows.cbegin(), rows.cend());
        for (Row* const inserted : rows)
            inserted->group = &group;
        endInsertRows();
        if (!alive)
            return false;
        first = end;
    }
    return true;
}

bool AbstractItemMapModel::removeGroups(int first, int last)
{
    const QPointer<QObject> alive(this);
    beginRemoveRows(QModelIndex(), first, last);
    m_groups.erase(m_groups.cbegin() + first, m_groups.cbegin() + last + 1);
    endRemoveRows();
    return alive;
}

bool AbstractItemMapModel::tellData(const Rows& rows)
{
    const QPointer<QObject> alive(this);
    const auto places = placesOf(rows);
    const auto precedes = [](const Place& a, const Place& b) { return a.precedes(b); };
    return forEachRun(places.cbegin(), places.cend(), precedes, [&](auto first, auto last) {
        Node* const parent = m_grouped ? first->group : nullptr;
        Q_EMIT dataChanged(createIndex(first->row, 0, parent),
                           createIndex(last->row, columnCount() - 1, parent));
        return !alive.isNull();
    });
}

/// What both ends have in common stays; between, lines are changed in place before some come or go.
bool AbstractItemMapModel::changeLines(Row& row, const QStringList& lines)
{
    const QPointer<QObject> alive(this);
    const int common = std::min(row.lines.size(), lines.size());
    int head = 0;
    while (head < common && row.lines.at(head) == lines.at(head))
        ++head;
    int tail = 0;
    while (tail < common - head &&
           row.lines.at(row.lines.size() - 1 - tail) == lines.at(lines.size() - 1 - tail))
        ++tail;
    const int inPlace = common - head - tail;
    const int at = head + inPlace;
    if (inPlace > 0) {
        Node* const node = &row;
        std::copy_n(lines.cbegin() + head, inPlace, row.lines.begin() + head);
        Q_EMIT dataChanged(createIndex(head, 0, node), createIndex(at - 1, columnCount() - 1, node));
        if (!alive)
            return false;
    }
    const int surplus = row.lines.size() - lines.size();
    if (surplus > 0) {
        beginRemoveRows(indexOfRow(&row), at, at + surplus - 1);
        row.lines = lines;
        endRemoveRows();
    } else if (surplus < 0) {
        beginInsertRows(indexOfRow(&row), at, at - surplus - 1);
        row.lines = lines;
        endInsertRows();
    }
    return alive;
}

bool AbstractItemMapModel::move(Row& row, const QString& name)
{
    if (!findGroup(name) && !insertGroup(std::make_unique<Group>(name)))
        return false;
    const QPointer<QObject> alive(this);
    Group& from = *row.group;
    Group& to = *findGroup(name);
    const auto source = lowerRow(from, row);
    const auto target = lowerRow(to, row);
    const int sourceRow = toInt(source - from.rows.cbegin());
    beginMoveRows(indexOfGroup(from), sourceRow, sourceRow, indexOfGroup(to),
                  toInt(target - to.rows.cbegin()));
    from.rows.erase(source);
    to.rows.insert(target, &row);
    row.group = &to;
    endMoveRows();
    if (!alive)
        return false;
    if (!from.rows.empty())
        return true;
    const int emptied = indexOfGroup(from).row();
    return removeGroups(emptied, emptied);
}

} // namespace Kolta
