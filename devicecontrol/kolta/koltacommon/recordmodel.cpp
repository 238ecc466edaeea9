#include <koltacommon/recordmodel.h>

#include <koltacommon/viewroles.h>
#include <koltacommon/viewtexts.h>

#include <QCoreApplication>
#include <QHash>
#include <QPointer>
#include <QStringList>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Kolta {

using namespace ViewRoles;

namespace {

template<class Rows>
void renumber(Rows& rows, int first)
{
    for (auto place = static_cast<std::size_t>(first); place < rows.size(); ++place)
        rows[place]->place = static_cast<int>(place);
}

int toInt(std::size_t size)
{
    return static_cast<int>(size);
}

} // namespace

struct RecordModel::Root : Row
{
    Root() : Row(QString(), nullptr) {}
    ColumnSet update(Row&) override { return 0; }
    QString text(int) const override { return QString(); }
};

RecordModel::Row::~Row() = default;

QVariant RecordModel::Row::sortValue(int column) const
{
    return sortText(text(column));
}

QVariant RecordModel::Row::value(int /*role*/) const
{
    return QVariant();
}

RecordModel::Row& RecordModel::Row::append(std::unique_ptr<Row> child)
{
    child->parent = this;
    child->place = toInt(rows.size());
    rows.push_back(std::move(child));
    return *rows.back();
}

RecordModel::RecordModel(const char* context, const ModelColumn* columns, int count, QObject* parent)
    : QAbstractItemModel(parent)
    , m_context(context)
    , m_columns(columns)
    , m_columnCount(count)
    , m_root(std::make_unique<Root>())
{
}

RecordModel::~RecordModel() = default;

RecordModel::Row& RecordModel::rowOf(const QModelIndex& index)
{
    return *static_cast<Row*>(index.internalPointer());
}

QModelIndex RecordModel::indexOf(const Row& row, int column) const
{
    return &row == m_root.get() ? QModelIndex() : createIndex(row.place, column, const_cast<Row*>(&row));
}

QModelIndex RecordModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return QModelIndex();
    const Row& above = parent.isValid() ? rowOf(parent) : *m_root;
    return indexOf(*above.rows[static_cast<std::size_t>(row)], column);
}

QModelIndex RecordModel::parent(const QModelIndex& child) const
{
    return child.isValid() ? indexOf(*rowOf(child).parent) : QModelIndex();
}

int RecordModel::rowCount(const QModelIndex& parent) const
{
    if (parent.column() > 0)
        return 0;
    return toInt(parent.isValid() ? rowOf(parent).rows.size() : m_root->rows.size());
}

int RecordModel::columnCount(const QModelIndex& /*parent*/) const
{
    return m_columnCount;
}

QVariant RecordModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid())
        return QVariant();
    const Row& row = rowOf(index);
    switch (role) {
    case Qt::DisplayRole:
        return row.text(index.column());
    case Qt::ToolTipRole:
        return toolTip(row);
    case Qt::TextAlignmentRole:
        return headerData(index.column(), Qt::Horizontal, role);
    case KeyRole:
        return row.key;
    case SortRole:
        return row.sortValue(index.column());
    case SearchRole:
        return searchText(row);
    case ServerRole:
        return row.origin ? row.origin->address : QVariant();
    case StaleRole:
        return row.origin && row.origin->isStale;
    case LastKnownRole:
        return row.origin && row.origin->isStale ? row.origin->lastKnown : QVariant();
    default:
        return row.value(role);
    }
}

QVariant RecordModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    const bool isColumn = orientation == Qt::Horizontal && section >= 0 && section < m_columnCount;
    if (isColumn && role == Qt::DisplayRole)
        return QCoreApplication::translate(m_context, m_columns[section].title);
    if (isColumn && role == Qt::TextAlignmentRole)
        return QVariant((m_columns[section].isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    return isColumn ? QVariant() : QAbstractItemModel::headerData(section, orientation, role);
}

QHash<int, QByteArray> RecordModel::roleNames() const
{
    return namesBeside(QAbstractItemModel::roleNames());
}

QString RecordModel::toolTip(const Row& row) const
{
    QStringList lines;
    const QString holder = row.value(HolderRole).toString();
    if (!holder.isEmpty())
        lines << holder;
    if (row.origin && row.origin->isStale)
        lines << ViewTexts::lastKnown(row.origin->lastKnown);
    return lines.join(QLatin1Char('\n'));
}

QString RecordModel::searchText(const Row& row) const
{
    QStringList texts;
    for (int column = 0; column < m_columnCount; ++column)
        texts << row.text(column);
    return texts.join(QLatin1Char('\n')).toLower();
}

bool RecordModel::replaceRows(Row& parent, int first, int count, Rows& wanted)
{
    const auto shown = parent.rows.begin() + first;
    const bool isSame = std::equal(shown, shown + count, wanted.begin(), wanted.end(),
                                   [](const auto& row, const auto& fresh) { return row->key == fresh->key; });
    if (isSame)
        return updateRows(parent, first, wanted);

    const auto keyOf = [](const auto& row) { return row->key; };
    std::vector<QString> before;
    std::vector<QString> after;
    std::transform(shown, shown + count, std::back_inserter(before), keyOf);
    std::transform(wanted.begin(), wanted.end(), std::back_inserter(after), keyOf);
    const RowDifference difference(before, after);
    for (const RowRange& range : difference.removals) {
        if (!removeRange(parent, first + range.first, first + range.last))
            return false;
    }
    for (const auto& move : difference.moves) {
        const int target = first + move.to + (move.to > move.from ? 1 : 0);
        if (!moveRow(parent, first + move.from, parent, target))
            return false;
    }
    if (!difference.order.empty() && !rearrange(parent, first, difference.order))
        return false;
    for (const RowRange& range : difference.insertions) {
        if (!insertRange(parent, first + range.first, wanted.begin() + range.first,
                         wanted.begin() + range.last + 1))
            return false;
    }
    return updateRows(parent, first, wanted);
}

/// Those that are left in `wanted` are shown, at the same places.
bool RecordModel::updateRows(Row& parent, int first, Rows& wanted)
{
    std::vector<RowChange> changes;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        Row& row = *parent.rows[static_cast<std::size_t>(first) + i];
        const bool hasData = wanted[i] && !wanted[i]->isPlaceholder;
        const ColumnSet columns = hasData ? row.update(*wanted[i]) : 0;
        if (columns != 0)
            changes.push_back({row.place, columns});
    }
    if (!tellRows(parent, changes))
        return false;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        Row& row = *parent.rows[static_cast<std::size_t>(first) + i];
        if (wanted[i] && !(row.rows.empty() && wanted[i]->rows.empty()) &&
            !replaceRows(row, 0, toInt(row.rows.size()), wanted[i]->rows))
            return false;
    }
    return true;
}

namespace {

/// What is shown, by key, and what of it is wanted below another row.
template<class Row, class Rows>
class Relocations
{
public:
    struct Due
    {
        Row* row;
        QString above; ///< key of the row that it is wanted below
    };

    void enter(Row& row)
    {
        shown.insert(row.key, &row);
        for (const auto& child : row.rows)
            enter(*child);
    }
    /// The rows that are wanted at the top stay where they are or come anew.
    void compare(const Rows& wanted, const Row* top)
    {
        for (const auto& row : wanted)
            compareBelow(*row, top);
    }

    QHash<QString, Row*> shown;
    std::vector<Due> due;

private:
    void compareBelow(const Row& wanted, const Row* top)
    {
        const Row* const above = shown.value(wanted.key);
        for (const auto& child : wanted.rows) {
            Row* const row = shown.value(child->key);
            if (row && row->parent != above && row->parent != top)
                due.push_back({row, wanted.key});
            compareBelow(*child, top);
        }
    }
};

template<class Row>
bool isAtOrAbove(const Row* row, const Row* other)
{
    while (other && other != row)
        other = other->parent;
    return other != nullptr;
}

} // namespace

bool RecordModel::moveBetweenParents(Row& parent, int first, int& count, Rows& wanted)
{
    Relocations<Row, Rows> relocations;
    for (int place = first; place < first + count; ++place)
        relocations.enter(*parent.rows[static_cast<std::size_t>(place)]);
    relocations.compare(wanted, &parent);
    if (relocations.due.size() > RowDifference::kMostMoves)
        return true;
    for (const auto& [row, key] : relocations.due) {
        Row* above = relocations.shown.value(key);
        if (!above) {
            const auto fresh = std::find_if(wanted.begin(), wanted.end(),
                                            [&key = key](const auto& top) { return top->key == key; });
            if (fresh == wanted.end())
                continue; // it goes and comes with what is above it
            above = fresh->get();
            relocations.shown.insert(key, above);
            if (!insertAlone(parent, first + count++, *fresh))
                return false;
        }
        if (!isAtOrAbove<Row>(row, above) &&
            !moveRow(*row->parent, row->place, *above, toInt(above->rows.size())))
            return false;
    }
    return true;
}

/// Shows a wanted row without those below it, which stay wanted.
bool RecordModel::insertAlone(Row& parent, int place, std::unique_ptr<Row>& wanted)
{
    auto shell = std::make_unique<Root>();
    shell->key = wanted->key;
    shell->isPlaceholder = true;
    shell->rows.swap(wanted->rows);
    Rows single;
    single.push_back(std::exchange(wanted, std::move(shell)));
    return insertRange(parent, place, single.begin(), single.end());
}

bool RecordModel::removeRange(Row& parent, int first, int last)
{
    const QPointer<QObject> alive(this);
    beginRemoveRows(indexOf(parent), first, last);
    const auto begin = parent.rows.begin() + first;
    const auto end = parent.rows.begin() + last + 1;
    const Rows removed(std::make_move_iterator(begin), std::make_move_iterator(end)); // until all is told
    parent.rows.erase(begin, end);
    renumber(parent.rows, first);
    endRemoveRows();
    return alive;
}

bool RecordModel::insertRange(Row& parent, int first, Rows::iterator begin, Rows::iterator end)
{
    const QPointer<QObject> alive(this);
    beginInsertRows(indexOf(parent), first, first + static_cast<int>(end - begin) - 1);
    for (auto row = begin; row != end; ++row)
        (*row)->parent = &parent;
    parent.rows.insert(parent.rows.begin() + first, std::make_move_iterator(begin),
                       std::make_move_iterator(end));
    renumber(parent.rows, first);
    endInsertRows();
    return alive;
}

/// `target`: the place that it comes to stand before, counted with the row still at its old one.
bool RecordModel::moveRow(Row& from, int place, Row& to, int target)
{
    const QPointer<QObject> alive(this);
    if (!beginMoveRows(indexOf(from), place, place, indexOf(to), target))
        return true;
    std::unique_ptr<Row> row = std::move(from.rows[static_cast<std::size_t>(place)]);
    from.rows.erase(from.rows.begin() + place);
    const int at = &from == &to && target > place ? target - 1 : target;
    row->parent = &to;
    to.rows.insert(to.rows.begin() + at, std::move(row));
    renumber(from.rows, &from == &to ? std::min(place, at) : place);
    if (&from != &to)
        renumber(to.rows, at);
    endMoveRows();
    return alive;
}

bool RecordModel::rearrange(Row& parent, int first, const std::vector<int>& order)
{
    const QPointer<QObject> alive(this);
    const QList<QPersistentModelIndex> parents{QPersistentModelIndex(indexOf(parent))};
    Q_EMIT layoutAboutToBeChanged(parents);
    if (!alive)
        return false;
    const auto target = parent.rows.begin() + first;
    Rows rows;
    rows.reserve(order.size());
    for (const int place : order)
        rows.push_back(std::move(target[place]));
    std::move(rows.begin(), rows.end(), target);
    renumber(parent.rows, first);
    const QModelIndexList persistent = persistentIndexList();
    for (const QModelIndex& old : persistent) {
        const Row& row = rowOf(old);
        if (row.parent == &parent && row.place != old.row())
            changePersistentIndex(old, indexOf(row, old.column()));
    }
    Q_EMIT layoutChanged(parents);
    return alive;
}

bool RecordModel::tellRows(const Row& parent, const std::vector<RowChange>& changes)
{
    const QPointer<QObject> alive(this);
    return forEachRun(changes, [&](int first, int last, int firstColumn, int lastColumn) {
        const Row& begin = *parent.rows[static_cast<std::size_t>(first)];
        const Row& end = *parent.rows[static_cast<std::size_t>(last)];
        Q_EMIT dataChanged(indexOf(begin, firstColumn), indexOf(end, lastColumn));
        return !alive.isNull();
    });
}

bool RecordModel::tellRoles(const Row& parent, int first, int count, const QVector<int>& roles)
{
    if (count == 0)
        return true;
    const QPointer<QObject> alive(this);
    const Row& begin = *parent.rows[static_cast<std::size_t>(first)];
    const Row& end = *parent.rows[static_cast<std::size_t>(first + count - 1)];
    Q_EMIT dataChanged(indexOf(begin), indexOf(end, m_columnCount - 1), roles);
    for (int place = first; alive && place < first + count; ++place) {
        const Row& row = *parent.rows[static_cast<std::size_t>(place)];
        tellRoles(row, 0, toInt(row.rows.size()), roles);
    }
    return alive;
}

} // namespace Kolta
