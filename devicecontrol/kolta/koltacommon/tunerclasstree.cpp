#include <koltacommon/tunerclasstree.h>

#include <koltacommon/defaulttunerhierarchy.h>
#include <koltacommon/idtable.h>
#include <koltacommon/listmatching.h>
#include <koltacommon/tunerclasstreebuilder.h>
#include <koltacommon/tuneridgetter.h>

#include <QHash>

#include <algorithm>
#include <limits>

namespace Kolta {

using RESOURCEMANAGEMENT::ResourceDemandClass;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClass;
using RESOURCEMANAGEMENT::TunerClassOverview;

/// The items by ID; of equal IDs the first, depth-first.
struct TunerClassTree::ItemIndex
{
    quint64 revision = 0;
    quint64 members = 0;
    bool unique = true; ///< no ID occurs twice, so that moves within the tree change nothing here
    std::vector<TunerClassTreeItem*> items; ///< depth-first
    IdTable places;                         ///< in items

    const QString& idAt(int place) const { return items[static_cast<std::size_t>(place)]->getID(); }
};

/// Where the tuners of the resource overview are. Tuners are named by their position in the overview; the
/// first of those that share a tuner ID stands for all of them.
struct TunerClassTree::PlaceIndex
{
    static constexpr int kNone = -1;
    static constexpr std::size_t kKeptPerTuner = 16; ///< bound of what the lists take, in entries

    /// Tuners below a class: a range of `tour`.
    struct Range
    {
        int begin;
        int end;
    };
    struct Level
    {
        TunerClassTreeItem::Items::const_iterator next;
        TunerClassTreeItem::Items::const_iterator end;
        qint64 cost;
        int depth;
        int range; ///< to be closed when the level is done; `kNone` for further classes of one name
    };

    explicit PlaceIndex(const TunerClassTree& tree);
    const QString& idAt(int position) const
    {
        return TunerIdGetter::idOf(tunerClasses, *places[static_cast<std::size_t>(position)].tuner);
    }
    void readTree(const TunerClassTreeItem& root);
    void enter(const TunerClassTreeItem& item, const Level& parent, std::vector<Level>& levels);
    ptrTunerPlaces makeList(const Range& range);

    const TunerClassOverview& tunerClasses; ///< the tree's own
    quint64 revision = 0;
    IdTable firstByID;
    std::vector<int> nextOfID;      ///< the next tuner with the same ID
    std::vector<TunerPlace> places; ///< `item` is null for what is not in the tree

    std::vector<int> tour; ///< the tuner items depth-first
    std::vector<Range> ranges;
    QHash<QString, int> rangeByName; ///< of the first class of a name
    QHash<QString, ptrTunerPlaces> lists;
    std::size_t listEntries = 0;
    std::vector<char> marked; ///< all false between uses
};

TunerClassTree::PlaceIndex::PlaceIndex(const TunerClassTree& tree) : tunerClasses(tree.m_tunerClasses)
{
    const QVector<Tuner>& tuners = tree.m_resources.GetTuner();
    const auto count = static_cast<std::size_t>(tuners.size());
    firstByID = IdTable(tuners.size());
    nextOfID.assign(count, kNone);
    places.resize(count);
    marked.assign(count, false);
    std::vector<int> lastOfID(count, kNone); // by the first of the same ID
    for (int i = 0; i < tuners.size(); ++i) {
        const auto position = static_cast<std::size_t>(i);
        places[position] = {&tuners.at(i), nullptr, 0, 0};
        if (idAt(i).isEmpty())
            continue;
        const auto first = static_cast<std::size_t>(
            firstByID.insert(i, [this](int place) -> const QString& { return idAt(place); }));
        if (first != position)
            nextOfID[static_cast<std::size_t>(lastOfID[first])] = i;
        lastOfID[first] = i;
    }
}

void TunerClassTree::PlaceIndex::readTree(const TunerClassTreeItem& root)
{
    for (TunerPlace& place : places)
        place.item = nullptr;
    tour.clear();
    ranges.clear();
    rangeByName.clear();
    lists.clear();
    listEntries = 0;

    std::vector<Level> levels{
        {root.getChildren().begin(), root.getChildren().end(), root.getCost(), 0, kNone}};
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next != level.end) {
            const TunerClassTreeItem& item = **level.next++;
            enter(item, Level(level), levels);
        } else {
            if (level.range != kNone)
                ranges[static_cast<std::size_t>(level.range)].end = static_cast<int>(tour.size());
            levels.pop_back();
        }
    }
}

void TunerClassTree::PlaceIndex::enter(const TunerClassTreeItem& item, const Level& parent,
                                       std::vector<Level>& levels)
{
    const qint64 cost = parent.cost + item.getCost();
    const int depth = parent.depth + 1;
    const int first = firstByID.find(item.getID(), [this](int i) -> const QString& { return idAt(i); });
    for (int i = first; i != kNone && !places[static_cast<std::size_t>(i)].item;) {
        TunerPlace& place = places[static_cast<std::size_t>(i)];
        place.item = &item;
        place.cost = static_cast<int>(
            qBound<qint64>(std::numeric_limits<int>::min(), cost, std::numeric_limits<int>::max()));
        place.depth = depth;
        i = nextOfID[static_cast<std::size_t>(i)];
    }
    if (item.isTunerItem()) {
        if (first != kNone)
            tour.push_back(first);
        return;
    }
    int range = kNone;
    if (!rangeByName.contains(item.getName())) {
        range = static_cast<int>(ranges.size());
        rangeByName.insert(item.getName(), range);
        ranges.push_back({static_cast<int>(tour.size()), 0});
    }
    levels.push_back({item.getChildren().begin(), item.getChildren().end(), cost, depth, range});
}

/// The tuners of a range in the order of the overview.
ptrTunerPlaces TunerClassTree::PlaceIndex::makeList(const Range& range)
{
    std::vector<int> positions;
    positions.reserve(static_cast<std::size_t>(range.end - range.begin));
    for (auto first = tour.begin() + range.begin; first != tour.begin() + range.end; ++first) {
        for (int i = *first; i != kNone && !marked[static_cast<std::size_t>(i)];) {
            marked[static_cast<std::size_t>(i)] = true;
            positions.push_back(i);
            i = nextOfID[static_cast<std::size_t>(i)];
        }
    }
    auto list = std::make_shared<std::vector<TunerPlace>>();
    list->reserve(positions.size());
    if (positions.size() < places.size() / 16) {
        std::sort(positions.begin(), positions.end());
        for (const int position : positions) {
            list->push_back(places[static_cast<std::size_t>(position)]);
            marked[static_cast<std::size_t>(position)] = false;
        }
    } else {
        for (std::size_t position = 0; position < places.size(); ++position) {
            if (marked[position])
                list->push_back(places[position]);
            marked[position] = false;
        }
    }
    return list;
}

TunerClassTree::TunerClassTree(const TunerClassOverview& tunerClasses, const ResourceOverview& resources)
    : m_tunerClasses(tunerClasses), m_resources(resources)
{
    initTree();
}

TunerClassTree::~TunerClassTree() = default;

void TunerClassTree::initTree()
{
    if (m_root)
        m_firstRevision += m_root->m_class->changes->revision + 1;
    m_itemIndex.reset();
    m_placeIndex.reset();
    m_root.reset(); // what it took serves the new one
    m_root = TunerClassTreeBuilder(m_tunerClasses, m_resources).build();
    m_builtRevision = m_root->m_class->changes->revision;
}

std::shared_ptr<TunerClassTree> TunerClassTree::clone() const
{
    return std::make_shared<TunerClassTree>(m_tunerClasses, m_resources);
}

void TunerClassTree::createDefaultHierarchy(const QVector<ResourceDemandClass>& demandClasses)
{
    m_tunerClasses.SetTunerClass(makeDefaultTunerClasses(m_tunerClasses, m_resources, demandClasses));
    initTree();
}

bool TunerClassTree::refresh(const ResourceOverview& resources, std::vector<int>& changed)
{
    const QVector<Tuner>& before = m_resources.GetTuner();
    const QVector<Tuner>& after = resources.GetTuner();
    const auto haveOneId = [this](const Tuner& a, const Tuner& b) {
        return TunerIdGetter::idOf(m_tunerClasses, a) == TunerIdGetter::idOf(m_tunerClasses, b);
    };
    changed.clear();
    if (m_root->m_class->changes->revision != m_builtRevision ||
        !findChangedPlaces(before, after, haveOneId, changed) || (!changed.empty() && !itemIndex().unique))
        return false;

    // The list is kept and changed in place, so that pointers to its records stay good.
    QVector<Tuner>& records = m_root->m_class->changes->records;
    m_resources.ResetTuner();
    const Tuner* const address = records.constData();
    for (const int place : changed) {
        const ptrTunerClassTreeItem item = findItemForTuner(after.at(place));
        records[place] = after.at(place);
        if (item)
            item->m_id = &TunerIdGetter::idOf(m_tunerClasses, records.at(place));
    }
    m_resources = resources;
    m_resources.SetTuner(records);
    if (records.constData() != address) {
        m_placeIndex.reset();
        m_root->walk([address, &records](const ptrTunerClassTreeItem& item) {
            if (item->m_record && !item->m_own)
                item->m_record = records.constData() + (item->m_record - address);
            return true;
        });
    }
    return true;
}

TunerClassOverview TunerClassTree::createOverview() const
{
    TunerClassOverview overview = m_tunerClasses;
    overview.ResetTunerClass();
    m_root->addSubtreeXmlData(overview);
    return overview;
}

const TunerClassOverview& TunerClassTree::getOriginalTunerClassOverview() const noexcept
{
    return m_tunerClasses;
}

ptrTunerClassTreeItem TunerClassTree::findItemByID(const QString& id) const
{
    if (id.isEmpty())
        return ptrTunerClassTreeItem();
    const ItemIndex& index = itemIndex();
    const int place = index.places.find(id, [&index](int i) -> const QString& { return index.idAt(i); });
    if (place != IdTable::kNone)
        return index.items[static_cast<std::size_t>(place)]->shared_from_this();
    return id == m_root->getID() ? m_root : ptrTunerClassTreeItem();
}

ptrTunerClassTreeItem TunerClassTree::findClassItemByName(const QString& name) const
{
    ptrTunerClassTreeItem match;
    m_root->walkClasses([&match, &name](const ptrTunerClassTreeItem& item) {
        if (item->getName() == name)
            match = item;
        return !match;
    });
    return match;
}

ptrTunerClassTreeItem TunerClassTree::findItemForTuner(const Tuner& tuner) const
{
    const QString id = resolveTunerID(tuner);
    const ptrTunerClassTreeItem item = id.isEmpty() ? ptrTunerClassTreeItem() : findItemByID(id);
    return item == m_root ? ptrTunerClassTreeItem() : item;
}

ptrTunerClassTreeItem TunerClassTree::getClassForTuner(const Tuner& tuner) const
{
    const ptrTunerClassTreeItem item = findItemForTuner(tuner);
    return item ? item->getParent() : item;
}

ptrTunerPlaces TunerClassTree::getTunerPlacesOfClass(const QString& className) const
{
    PlaceIndex& index = placeIndex();
    const auto known = index.lists.constFind(className);
    if (known != index.lists.constEnd())
        return *known;
    const int range = index.rangeByName.value(className, PlaceIndex::kNone);
    if (range == PlaceIndex::kNone) {
        static const auto empty = std::make_shared<const std::vector<TunerPlace>>();
        return empty;
    }
    ptrTunerPlaces list = index.makeList(index.ranges[static_cast<std::size_t>(range)]);
    index.listEntries += list->size();
    // In a very deep tree the lists of all classes would take far more than the tree.
    if (index.listEntries > index.places.size() * PlaceIndex::kKeptPerTuner) {
        index.lists.clear();
        index.listEntries = list->size();
    }
    index.lists.insert(className, list);
    return list;
}

QVector<Tuner> TunerClassTree::getAllTunerDescendantsOfClass(const QString& className) const
{
    const ptrTunerPlaces places = getTunerPlacesOfClass(className);
    QVector<Tuner> tuners;
    tuners.reserve(static_cast<int>(places->size()));
    for (const TunerPlace& place : *places)
        tuners.append(*place.tuner);
    return tuners;
}

/// The classes, depth-first, each with its default tuner, which may be empty.
std::vector<std::pair<ptrTunerClassTreeItem, ptrTunerClassTreeItem>> TunerClassTree::defaultTuners() const
{
    std::vector<std::pair<ptrTunerClassTreeItem, ptrTunerClassTreeItem>> classes;
    m_root->walkClasses([&classes](const ptrTunerClassTreeItem& item) {
        classes.emplace_back(item, item->getDefaultChild());
        return true;
    });
    // From the end, where the classes below a class are: each takes one step instead of a way to the bottom.
    QHash<const TunerClassTreeItem*, ptrTunerClassTreeItem> known;
    known.reserve(static_cast<int>(classes.size()));
    for (auto place = classes.rbegin(); place != classes.rend(); ++place) {
        ptrTunerClassTreeItem& tuner = place->second;
        if (tuner && tuner->isClassItem())
            tuner = known.value(tuner.get());
        known.insert(place->first.get(), tuner);
    }
    return classes;
}

TunerClassTree::Items TunerClassTree::getAllDefaultTuners() const
{
    Items tuners;
    for (const auto& [item, tuner] : defaultTuners()) {
        if (tuner)
            tuners.push_back(tuner);
    }
    return tuners;
}

TunerClassTree::Items TunerClassTree::getAllClassesWithDefaultTuner(const Tuner& tuner) const
{
    Items classes;
    const QString id = resolveTunerID(tuner);
    if (id.isEmpty())
        return classes;
    for (const auto& [item, defaultTuner] : defaultTuners()) {
        if (defaultTuner && defaultTuner->getID() == id)
            classes.push_back(item);
    }
    return classes;
}

QVector<Tuner> TunerClassTree::getTunerObjects(const Items& items)
{
    QVector<Tuner> tuners;
    for (const ptrTunerClassTreeItem& item : items) {
        if (item && item->isTunerItem())
            tuners.append(item->getTuner());
    }
    return tuners;
}

QVector<TunerClass> TunerClassTree::getTunerClassObjects(const Items& items)
{
    QVector<TunerClass> classes;
    for (const ptrTunerClassTreeItem& item : items) {
        if (item && item->isClassItem() && !item->isRootItem())
            classes.append(item->toTunerClass());
    }
    return classes;
}

QString TunerClassTree::resolveTunerID(const Tuner& tuner) const
{
    return TunerIdGetter::resolveId(m_tunerClasses, tuner, nullptr);
}

quint64 TunerClassTree::revision() const noexcept
{
    return m_firstRevision + m_root->m_class->changes->revision;
}

const TunerClassTree::ItemIndex& TunerClassTree::itemIndex() const
{
    const TunerClassTreeItem::Changes& now = *m_root->m_class->changes;
    if (m_itemIndex && m_itemIndex->members == now.members &&
        (m_itemIndex->unique || m_itemIndex->revision == now.revision)) {
        return *m_itemIndex;
    }
    auto index = std::make_unique<ItemIndex>();
    index->revision = now.revision;
    index->members = now.members;
    m_root->walk([&index](const ptrTunerClassTreeItem& item) {
        index->items.push_back(item.get());
        return true;
    });
    index->places = IdTable(static_cast<int>(index->items.size()));
    for (int i = 0; i < static_cast<int>(index->items.size()); ++i) {
        const int first =
            index->places.insert(i, [&index](int place) -> const QString& { return index->idAt(place); });
        index->unique = index->unique && first == i;
    }
    m_itemIndex = std::move(index);
    return *m_itemIndex;
}

TunerClassTree::PlaceIndex& TunerClassTree::placeIndex() const
{
    const quint64 now = m_root->m_class->changes->revision;
    const bool known = m_placeIndex != nullptr;
    if (!known) {
        m_placeIndex = std::make_unique<PlaceIndex>(*this);
    }
    if (!known || m_placeIndex->revision != now) {
        m_placeIndex->revision = now;
        m_placeIndex->readTree(*m_root);
    }
    return *m_placeIndex;
}

} // namespace Kolta
