#include <koltacommon/tunerclassmodel.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunerclasstree.h>
#include <koltacommon/tunermodel.h>
#include <koltacommon/tunerssection.h>
#include <koltacommon/viewroles.h>
#include <koltacommon/viewtexts.h>

#include <QHash>
#include <QSet>

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace Kolta {

namespace {

constexpr ModelColumn kColumns[] = {{QT_TRANSLATE_NOOP("Kolta::TunerClassModel", "Class"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerClassModel", "Free"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerClassModel", "Demand class"), false},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerClassModel", "Cost"), true},
                                    {QT_TRANSLATE_NOOP("Kolta::TunerClassModel", "Description"), false}};

constexpr ColumnSet kAllColumns = columnBit(TunerClassModel::eColumnCount) - 1;

bool isFree(const TunerEntry& entry)
{
    return entry.state == TunerBookingManager::eFree;
}

} // namespace

struct TunerClassModel::ClassRow : Row
{
    ClassRow(const QString& rowKey, const Origin* source, const QString& shown)
        : Row(rowKey, source), name(shown)
    {
    }
    int freeNow() const { return origin->isStale ? 0 : free; }
    /// A tuner in it or in what encloses it.
    void count(bool isTunerFree)
    {
        for (Row* row = this; row; row = row->parent) {
            auto& each = static_cast<ClassRow&>(*row);
            ++each.all;
            each.free += isTunerFree ? 1 : 0;
        }
    }
    ColumnSet update(Row& fresh) override
    {
        auto& now = static_cast<ClassRow&>(fresh);
        const bool isSame = name == now.name && free == now.free && all == now.all && rdc == now.rdc &&
                            cost == now.cost && description == now.description;
        name = now.name;
        free = now.free;
        all = now.all;
        rdc = now.rdc;
        cost = now.cost;
        description = now.description;
        return isSame ? 0 : kAllColumns;
    }
    QString text(int column) const override;
    QVariant sortValue(int column) const override
    {
        if (column == eFreeColumn)
            return freeNow();
        return column == eCostColumn ? QVariant(cost) : Row::sortValue(column);
    }
    QVariant value(int role) const override;

    QString name;
    QString rdc;
    QString description;
    int cost = 0;
    int free = 0; ///< also while the server is away
    int all = 0;
};

QString TunerClassModel::ClassRow::text(int column) const
{
    switch (column) {
    case eNameColumn:
        return name;
    case eFreeColumn:
        return tr("%1 of %2").arg(freeNow()).arg(all);
    case eDemandClassColumn:
        return rdc;
    case eCostColumn:
        return cost != 0 ? QString::number(cost) : QString();
    default:
        return description;
    }
}

QVariant TunerClassModel::ClassRow::value(int role) const
{
    switch (role) {
    case ViewRoles::GroupRole:
        return name;
    case ViewRoles::FreeRole:
        return freeNow();
    case ViewRoles::CountRole:
        return all;
    default:
        return QVariant();
    }
}

struct TunerClassModel::TunerRow : Row
{
    TunerRow(const QString& rowKey, const Origin* source, const TunerEntry& shown)
        : Row(rowKey, source), entry(shown)
    {
    }
    ColumnSet take(const TunerEntry& now)
    {
        const bool isSame = entry.state == now.state && entry.user == now.user &&
                            entry.holder == now.holder && entry.since == now.since &&
                            entry.tunerClass == now.tunerClass && entry.record.IsSameAs(now.record);
        entry = now;
        return isSame ? 0 : kAllColumns;
    }
    ColumnSet update(Row& fresh) override
    {
        auto& now = static_cast<TunerRow&>(fresh);
        tunerPlace = now.tunerPlace;
        return take(now.entry);
    }
    QString text(int column) const override
    {
        const auto& tuner = entry.record;
        if (column == eNameColumn)
            return tuner.GetTavikResource().GetDisplayName();
        if (column == eFreeColumn)
            return TunerModel::stateText(entry.state);
        return column == eDescriptionColumn
                   ? ViewTexts::range(tuner.GetMinFrequency(), tuner.GetMaxFrequency())
                   : QString();
    }
    QVariant sortValue(int column) const override
    {
        if (column == eFreeColumn)
            return isFree(entry) ? 1 : 0;
        return column == eCostColumn ? QVariant(0) : Row::sortValue(column);
    }
    QVariant value(int role) const override { return entry.value(role); }

    TunerEntry entry;
    int tunerPlace = 0; ///< in its section
};

struct TunerClassModel::ClassSection : TunersSection
{
    using TunersSection::TunersSection;
    std::unique_ptr<ClassRow> makeRows();
    std::unique_ptr<Row> makeTuner(const TunerClassTreeItem& item, ClassRow& above);
    std::unique_ptr<ClassRow> makeClass(const TunerClassTreeItem& item, const Row& above);
    void enter(const Row& row);

    std::vector<TunerRow*> rows; ///< by place; null for tuners that are not in the tree
    QSet<QString> keys;          ///< while rows are made
};

/// The server's row with all below it. Classes that are nested deeper than makes sense stand beside each
/// other.
std::unique_ptr<TunerClassModel::ClassRow> TunerClassModel::ClassSection::makeRows()
{
    constexpr int kDeepest = 100;
    struct Place
    {
        ClassRow* row;
        int depth;
    };
    rows.assign(board.tuners().size(), nullptr);
    keys.clear();
    auto top = std::make_unique<ClassRow>(address, this, address);
    const ptrTunerClassTreeItem root = board.classes()->getRootItem();
    QHash<const TunerClassTreeItem*, Place> places{{root.get(), {top.get(), 0}}};
    root->applyToAllDescendants([&](const ptrTunerClassTreeItem& item) {
        Place above = places.value(item->getParent().get());
        if (item->isTunerItem()) {
            if (auto row = makeTuner(*item, *above.row))
                above.row->append(std::move(row));
            return;
        }
        auto made = makeClass(*item, *above.row);
        if (above.depth == kDeepest)
            above = {static_cast<ClassRow*>(above.row->parent), kDeepest - 1};
        auto& row = static_cast<ClassRow&>(above.row->append(std::move(made)));
        places.insert(item.get(), {&row, above.depth + 1});
    });
    return top;
}

std::unique_ptr<RecordModel::Row> TunerClassModel::ClassSection::makeTuner(const TunerClassTreeItem& item,
                                                                           ClassRow& above)
{
    for (const int place : board.placesOf(item.getTuner().GetTavikResource().GetGUID())) {
        const TunerEntry& entry = board.tuner(place);
        const QString key = keyOf(entry.key);
        if (keys.contains(key))
            continue; // that is another one with the same GUID
        keys.insert(key);
        auto row = std::make_unique<TunerRow>(key, this, entry);
        row->tunerPlace = place;
        above.count(isFree(entry));
        return row;
    }
    return nullptr;
}

std::unique_ptr<TunerClassModel::ClassRow>
TunerClassModel::ClassSection::makeClass(const TunerClassTreeItem& item, const Row& above)
{
    QString key = above.key + QLatin1Char('\n') + item.getName();
    for (int number = 2; keys.contains(key); ++number)
        key = above.key + QLatin1Char('\n') + item.getName() + QLatin1Char('\n') + QString::number(number);
    keys.insert(key);
    auto row = std::make_unique<ClassRow>(key, this, item.getName());
    row->rdc = item.getRDC();
    row->cost = item.getCost();
    row->description = item.getDescription();
    return row;
}

/// Finds the rows of tuners.
void TunerClassModel::ClassSection::enter(const Row& row)
{
    for (const auto& child : row.rows) {
        if (auto* const tuner = dynamic_cast<TunerRow*>(child.get()))
            rows[static_cast<std::size_t>(tuner->tunerPlace)] = tuner;
        else
            enter(*child);
    }
}

TunerClassModel::TunerClassModel(QObject* parent) : ServersModel("Kolta::TunerClassModel", kColumns, parent)
{
}

TunerClassModel::~TunerClassModel() = default;

std::unique_ptr<ServersModel::Section> TunerClassModel::makeSection(KoltaServerInterface& server)
{
    auto made = std::make_unique<ClassSection>(server);
    followBoard(*made);
    return made;
}

bool TunerClassModel::show(Section& section)
{
    auto& due = static_cast<ClassSection&>(section);
    const std::vector<int> places = std::exchange(due.duePlaces, {});
    if (!std::exchange(due.isAllDue, false))
        return showPlaces(due, places);
    Rows wanted;
    wanted.push_back(due.makeRows());
    const int first = firstRow(section);
    if (!moveBetweenParents(root(), first, section.rowCount, wanted) || !replaceSection(section, wanted))
        return false;
    due.enter(*root().rows[static_cast<std::size_t>(first)]);
    return true;
}

bool TunerClassModel::showStale(Section& section)
{
    return tellRoles(root(), firstRow(section), section.rowCount,
                     {ViewRoles::StaleRole, ViewRoles::LastKnownRole, Qt::ToolTipRole, Qt::DisplayRole,
                      ViewRoles::SortRole, ViewRoles::SearchRole, ViewRoles::FreeRole});
}

bool TunerClassModel::showPlaces(ClassSection& section, const std::vector<int>& places)
{
    std::map<const Row*, std::map<int, ColumnSet>> changes; // below each row, by place
    for (const int place : places) {
        TunerRow* const row = section.rows[static_cast<std::size_t>(place)];
        if (!row)
            continue;
        const bool wasFree = isFree(row->entry);
        if (const ColumnSet columns = row->take(section.board.tuner(place)))
            changes[row->parent][row->place] |= columns;
        if (wasFree == isFree(row->entry))
            continue;
        for (Row* above = row->parent; above->parent; above = above->parent) {
            static_cast<ClassRow&>(*above).free += wasFree ? -1 : 1;
            changes[above->parent][above->place] |= columnBit(eFreeColumn);
        }
    }
    return std::all_of(changes.begin(), changes.end(), [this](const auto& below) {
        std::vector<RowChange> rows;
        for (const auto& [place, columns] : below.second)
            rows.push_back({place, columns});
        return tellRows(*below.first, rows);
    });
}

} // namespace Kolta
