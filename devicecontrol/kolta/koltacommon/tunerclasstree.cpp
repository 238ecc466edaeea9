#include <koltacommon/tunerclasstree.h>

#include <koltacommon/defaulttunerhierarchy.h>
#include <koltacommon/tunerclasstreebuilder.h>
#include <koltacommon/tuneridgetter.h>

#include <resourcemodel/demandclasses.h>

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
    QHash<QString, TunerClassTreeItem*> items;
};

/// Where the tuners of the resource overview are. Tuners are named by their position in the overview; the
/// first of those that share a tuner ID stands for all of them.
struct TunerClassTree::PlaceIndex
{
    static constexpr int none = -1;
    static constexpr std::size_t keptPerTuner = 16; ///< bound of what the lists take, in entries

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
        int range; ///< to be closed when the level is done; `none` for further classes of one name
    };

    void readOverview(const QVector<Tuner>& tuners, const TunerClassOverview& tunerClasses);
    void readTree(const TunerClassTreeItem& root);
    void enter(const TunerClassTreeItem& item, const Level& parent, std::vector<Level>& levels);
    ptrTunerPlaces makeList(const Range& range);

    quint64 revision = 0;
    QHash<QString, int> firstByID;
    std::vector<int> nextOfID;      ///< the next tuner with the same ID
    std::vector<TunerPlace> places; ///< `item` is null for what is not in the tree

    std::vector<int> tour; ///< the tuner items depth-first
    std::vector<Range> ranges;
    QHash<QString, int> rangeByName; ///< of the first class of a name
    QHash<QString, ptrTunerPlaces> lists;
    std::size_t listEntries = 0;
    std::vector<char> marked; ///< all false between uses
};

void TunerClassTree::PlaceIndex::readOverview(const QVector<Tuner>& tuners,
                                              const TunerClassOverview& tunerClasses)
{
    const auto count = static_cast<std::size_t>(tuners.size());
    firstByID.reserve(tuners.size());
    nextOfID.assign(count, none);
    places.resize(count);
    marked.assign(count, false);
    // From the back, so that each chain of equal IDs begins with the first.
    for (int i = tuners.size() - 1; i >= 0; --i) {
        const auto position = static_cast<std::size_t>(i);
        places[position] = {&tuners.at(i), nullptr, 0, 0};
        const QString id = TunerIdGetter::resolveId(tunerClasses, tuners.at(i), nullptr);
        if (id.isEmpty())
            continue;
        int& first = *firstByID.insert(id, firstByID.value(id, none));
        nextOfID[position] = first;
        first = i;
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

    std::vector<Level> levels{{root.getChildren().begin(), root.getChildren().end(), 0, 0, none}};
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next != level.end) {
            const TunerClassTreeItem& item = **level.next++;
            enter(item, Level(level), levels);
        } else {
            if (level.range != none)
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
    const int first = firstByID.value(item.getID(), none);
    for (int i = first; i != none && !places[static_cast<std::size_t>(i)].item;) {
        TunerPlace& place = places[static_cast<std::size_t>(i)];
        place.item = &item;
        place.cost = static_cast<int>(
            qBound<qint64>(std::numeric_limits<int>::min(), cost, std::numeric_limits<int>::max()));
        place.depth = depth;
        i = nextOfID[static_cast<std::size_t>(i)];
    }
    if (item.isTunerItem()) {
        if (first != none)
            tour.push_back(first);
        return;
    }
    int range = none;
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
    int lowest = std::numeric_limits<int>::max();
    int highest = none;
    int count = 0;
    for (auto first = tour.begin() + range.begin; first != tour.begin() + range.end; ++first) {
        for (int i = *first; i != none && !marked[static_cast<std::size_t>(i)];) {
            marked[static_cast<std::size_t>(i)] = true;
            lowest = std::min(lowest, i);
            highest = std::max(highest, i);
            ++count;
            i = nextOfID[static_cast<std::size_t>(i)];
        }
    }
    auto list = std::make_shared<std::vector<TunerPlace>>();
    list->reserve(static_cast<std::size_t>(count));
    for (int i = lowest; i <= highest; ++i) {
        const auto position = static_cast<std::size_t>(i);
        if (marked[position])
            list->push_back(places[position]);
        marked[position] = false;
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
        m_firstRevision += m_root->m_changes->revision + 1;
    m_itemIndex.reset();
    m_placeIndex.reset();
    m_root = TunerClassTreeBuilder(m_tunerClasses, m_resources).build();
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
    const auto& items = itemIndex().items;
    const auto match = items.constFind(id);
    if (match != items.constEnd())
        return (*match)->shared_from_this();
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
    return id.isEmpty() ? ptrTunerClassTreeItem() : findItemByID(id);
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
    const int range = index.rangeByName.value(className, PlaceIndex::none);
    if (range == PlaceIndex::none) {
        static const auto empty = std::make_shared<const std::vector<TunerPlace>>();
        return empty;
    }
    const ptrTunerPlaces list = index.makeList(index.ranges[static_cast<std::size_t>(range)]);
    index.listEntries += list->size();
    // In a very deep tree the lists of all classes would take far more than the tree.
    if (index.listEntries > index.places.size() * PlaceIndex::keptPerTuner) {
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

TunerClassTree::Items TunerClassTree::getAllDefaultTuners() const
{
    Items tuners;
    m_root->walkClasses([&tuners](const ptrTunerClassTreeItem& item) {
        if (const ptrTunerClassTreeItem tuner = item->getDefaultTuner())
            tuners.push_back(tuner);
        return true;
    });
    return tuners;
}

TunerClassTree::Items TunerClassTree::getAllClassesWithDefaultTuner(const Tuner& tuner) const
{
    Items classes;
    const QString id = resolveTunerID(tuner);
    if (id.isEmpty())
        return classes;
    m_root->walkClasses([&classes, &id](const ptrTunerClassTreeItem& item) {
        const ptrTunerClassTreeItem defaultTuner = item->getDefaultTuner();
        if (defaultTuner && defaultTuner->getID() == id)
            classes.push_back(item);
        return true;
    });
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
    return m_firstRevision + m_root->m_changes->revision;
}

const TunerClassTree::ItemIndex& TunerClassTree::itemIndex() const
{
    const TunerClassTreeItem::Changes& now = *m_root->m_changes;
    if (m_itemIndex && m_itemIndex->members == now.members &&
        (m_itemIndex->unique || m_itemIndex->revision == now.revision)) {
        return *m_itemIndex;
    }
    auto index = std::make_unique<ItemIndex>();
    index->revision = now.revision;
    index->members = now.members;
    index->items.reserve(m_resources.GetTuner().size() + m_tunerClasses.GetTunerClass().size());
    m_root->walk([&index](const ptrTunerClassTreeItem& item) {
        TunerClassTreeItem*& entry = index->items[item->getID()];
        index->unique = index->unique && !entry;
        if (!entry)
            entry = item.get();
        return true;
    });
    m_itemIndex = std::move(index);
    return *m_itemIndex;
}

TunerClassTree::PlaceIndex& TunerClassTree::placeIndex() const
{
    const quint64 now = m_root->m_changes->revision;
    const bool known = m_placeIndex != nullptr;
    if (!known) {
        m_placeIndex = std::make_unique<PlaceIndex>();
        m_placeIndex->readOverview(m_resources.GetTuner(), m_tunerClasses);
    }
    if (!known || m_placeIndex->revision != now) {
        m_placeIndex->revision = now;
        m_placeIndex->readTree(*m_root);
    }
    return *m_placeIndex;
}

} // namespace Kolta
