#include <koltacommon/tunerclasstreebuilder.h>

#include <koltacommon/tuneridgetter.h>

#include <resourcemodel/tunerclasses.h>

#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClass;
using RESOURCEMANAGEMENT::TunerClassOverview;

TunerClassTreeBuilder::TunerClassTreeBuilder(const TunerClassOverview& tunerClasses,
                                             const ResourceOverview& resources)
    : m_tunerClasses(tunerClasses)
    , m_tuners(resources.GetTuner())
    , m_firstClass(1 + m_tuners.size())
    , m_size(m_firstClass + tunerClasses.GetTunerClass().size())
    , m_nodes(static_cast<std::size_t>(m_size))
    , m_ids(static_cast<std::size_t>(m_size))
    , m_children(static_cast<std::size_t>(1 + tunerClasses.GetTunerClass().size()))
    , m_places(m_size)
{
}

ptrTunerClassTreeItem TunerClassTreeBuilder::build()
{
    addTuners();
    addClasses();
    nestClasses();
    chooseDefaultChildren();
    return makeItems();
}

void TunerClassTreeBuilder::addTuners()
{
    int place = kRoot;
    for (const Tuner& tuner : m_tuners) {
        const QString& id = TunerIdGetter::idOf(m_tunerClasses, tuner);
        ++place;
        if (!id.isEmpty())
            add(place, id);
    }
}

void TunerClassTreeBuilder::addClasses()
{
    int place = m_firstClass;
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        add(place, tunerClass.GetGUID());
        addMembers(tunerClass.GetTunerID(), place);
        ++place;
    }
}

/// The texts are scattered in memory: all are called for before the first is looked at, and all are hashed
/// before the first is looked up, so that waiting for one is waiting for the others.
void TunerClassTreeBuilder::addMembers(const QVector<QString>& ids, int parent)
{
    for (const QString& id : ids) {
        __builtin_prefetch(id.constData());
        __builtin_prefetch(id.constData() + id.size());
    }
    m_hashes.clear();
    for (const QString& id : ids)
        m_hashes.push_back(m_places.hashOf(id));
    for (int i = 0; i < ids.size(); ++i)
        attach(m_places.find(ids.at(i), m_hashes[static_cast<std::size_t>(i)], idAt()), parent);
}

void TunerClassTreeBuilder::nestClasses()
{
    int place = m_firstClass;
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        const int superclass = m_places.find(tunerClass.GetSuperclassGUID(), idAt());
        if (superclass != kNone && !isTuner(superclass))
            attach(place, superclass);
        ++place;
    }
}

void TunerClassTreeBuilder::chooseDefaultChildren()
{
    int place = m_firstClass;
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        const int child = m_places.find(tunerClass.GetDefaultChild(), idAt());
        if (child != kNone && nodeOf(child).parent == place)
            childrenOf(place).byDefault = child;
        ++place;
    }
}

ptrTunerClassTreeItem TunerClassTreeBuilder::makeItems() const
{
    std::vector<ptrTunerClassTreeItem> classes{
        std::make_shared<TunerClassTreeItem>(TunerClassTreeItem::RootItemType())};
    classes.reserve(m_children.size());
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        classes.push_back(std::make_shared<TunerClassTreeItem>(tunerClass));
        classes.back()->m_class->changes = classes[kRoot]->m_class->changes;
    }
    classes[kRoot]->m_class->changes->records = m_tuners;
    for (std::size_t number = 0; number < classes.size(); ++number) {
        const Children& children = m_children[number];
        TunerClassTreeItem::ClassPart& part = *classes[number]->m_class;
        for (int place = children.first; place != kNone; place = nodeOf(place).next) {
            ptrTunerClassTreeItem child = isTuner(place) ? makeTuner(place) : classes[numberOf(place)];
            child->m_parent = classes[number];
            child->m_place = static_cast<qint64>(part.children.size());
            part.tunerChildren += isTuner(place);
            if (place == children.byDefault)
                part.defaultChild = child;
            part.children.push_back(std::move(child));
        }
    }
    return classes[kRoot];
}

ptrTunerClassTreeItem TunerClassTreeBuilder::makeTuner(int place) const
{
    /// Lets std::make_shared reach a constructor that is not for everybody.
    struct Item : TunerClassTreeItem
    {
        Item(const Tuner* record, const QString* id) : TunerClassTreeItem(record, id) {}
    };
    return std::make_shared<Item>(m_tuners.constData() + place - 1, &idOf(place));
}

/// Enters an item below the root.
void TunerClassTreeBuilder::add(int place, const QString& id)
{
    m_ids[static_cast<std::size_t>(place)] = {&id, id};
    link(place, kRoot);
    if (!id.isEmpty())
        m_places.insert(place, idAt());
}

/// Moves an item below another; what makes no sense is passed over.
void TunerClassTreeBuilder::attach(int item, int parent)
{
    if (item == kNone || item == parent || nodeOf(item).parent == parent || isBelow(parent, item))
        return;
    unlink(item);
    link(item, parent);
}

void TunerClassTreeBuilder::link(int item, int parent)
{
    Node& node = nodeOf(item);
    Children& siblings = childrenOf(parent);
    if (siblings.first == kNone && parent != kRoot && idOf(parent) != QLatin1String("root"))
        siblings.byDefault = item;
    node.parent = parent;
    if (isTuner(item)) {
        node.previous = kNone;
        node.next = std::exchange(siblings.first, item);
        (node.next == kNone ? siblings.last : nodeOf(node.next).previous) = item;
    } else {
        node.next = kNone;
        node.previous = std::exchange(siblings.last, item);
        (node.previous == kNone ? siblings.first : nodeOf(node.previous).next) = item;
    }
}

void TunerClassTreeBuilder::unlink(int item)
{
    const Node& node = nodeOf(item);
    Children& siblings = childrenOf(node.parent);
    // The same rule as in TunerClassTreeItem::deleteChildInternal().
    if (siblings.byDefault == item)
        siblings.byDefault = siblings.first == item ? node.next : siblings.first;
    (node.previous == kNone ? siblings.first : nodeOf(node.previous).next) = node.next;
    (node.next == kNone ? siblings.last : nodeOf(node.next).previous) = node.previous;
}

/// Whether a class is below another item.
bool TunerClassTreeBuilder::isBelow(int item, int ancestor)
{
    // Only what has a class below it is worth the way up, which may be long.
    if (isTuner(ancestor) || childrenOf(ancestor).last == kNone || isTuner(childrenOf(ancestor).last))
        return false;
    while (item != kNone && item != ancestor)
        item = nodeOf(item).parent;
    return item != kNone;
}

} // namespace Kolta
