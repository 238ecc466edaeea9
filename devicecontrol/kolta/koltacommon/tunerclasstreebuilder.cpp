#include <koltacommon/tunerclasstreebuilder.h>

#include <koltacommon/tuneridgetter.h>

#include <resourcemodel/tunerclasses.h>

#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::TunerClass;
using RESOURCEMANAGEMENT::TunerClassOverview;

TunerClassTreeBuilder::TunerClassTreeBuilder(const TunerClassOverview& tunerClasses,
                                             const ResourceOverview& resources)
    : m_tunerClasses(tunerClasses), m_tuners(resources.GetTuner())
{
}

ptrTunerClassTreeItem TunerClassTreeBuilder::build()
{
    const int size = 1 + m_tuners.size() + m_tunerClasses.GetTunerClass().size();
    m_items.reserve(static_cast<std::size_t>(size));
    m_nodes.reserve(static_cast<std::size_t>(size));
    m_places = IdTable(size);

    m_items.push_back(std::make_shared<TunerClassTreeItem>(TunerClassTreeItem::RootItemType()));
    m_nodes.emplace_back();
    m_children.emplace_back();
    addTuners();
    addClasses();
    nestClasses();
    chooseDefaultChildren();
    makeItems();
    return m_items[kRoot];
}

void TunerClassTreeBuilder::addTuners()
{
    for (const RESOURCEMANAGEMENT::Tuner& tuner : m_tuners) {
        const QString& id = TunerIdGetter::idOf(m_tunerClasses, tuner);
        if (!id.isEmpty())
            add(std::make_shared<TunerClassTreeItem>(tuner, id));
    }
    m_firstClass = static_cast<int>(m_items.size());
}

void TunerClassTreeBuilder::addClasses()
{
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        const int place = static_cast<int>(m_items.size());
        m_children.emplace_back();
        add(std::make_shared<TunerClassTreeItem>(tunerClass));
        for (const QString& id : tunerClass.GetTunerID())
            attach(find(id), place);
    }
}

void TunerClassTreeBuilder::nestClasses()
{
    int place = m_firstClass;
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        const int superclass = find(tunerClass.GetSuperclassGUID());
        if (superclass != kNone && !isTuner(superclass))
            attach(place, superclass);
        ++place;
    }
}

void TunerClassTreeBuilder::chooseDefaultChildren()
{
    int place = m_firstClass;
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        const int child = find(tunerClass.GetDefaultChild());
        if (child != kNone && nodeOf(child).parent == place)
            childrenOf(place).byDefault = child;
        ++place;
    }
}

void TunerClassTreeBuilder::makeItems()
{
    for (int place = 0; place < static_cast<int>(m_items.size()); ++place) {
        if (isTuner(place))
            continue;
        const ptrTunerClassTreeItem& item = itemAt(place);
        TunerClassTreeItem::ClassPart& part = *item->m_class;
        part.changes = itemAt(kRoot)->m_class->changes;
        const Children& children = childrenOf(place);
        for (int i = children.first; i != kNone; i = nodeOf(i).next) {
            const ptrTunerClassTreeItem& child = itemAt(i);
            child->m_parent = item;
            child->m_place = static_cast<qint64>(part.children.size());
            part.tunerChildren += isTuner(i);
            part.children.push_back(child);
        }
        if (children.byDefault != kNone)
            part.defaultChild = itemAt(children.byDefault);
    }
}

/// Enters an item below the root.
void TunerClassTreeBuilder::add(ptrTunerClassTreeItem item)
{
    const int place = static_cast<int>(m_items.size());
    m_items.push_back(std::move(item));
    m_nodes.emplace_back();
    link(place, kRoot);
    if (!itemAt(place)->getID().isEmpty())
        m_places.insert(place, [this](int i) -> const QString& { return itemAt(i)->getID(); });
}

/// The first item so far with that ID, tuners before classes.
int TunerClassTreeBuilder::find(const QString& id) const
{
    return m_places.find(id, [this](int i) -> const QString& { return itemAt(i)->getID(); });
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
    if (siblings.first == kNone && itemAt(parent)->getID() != QLatin1String("root"))
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

TunerClassTreeBuilder::Children& TunerClassTreeBuilder::childrenOf(int classItem)
{
    return m_children[static_cast<std::size_t>(classItem == kRoot ? 0 : 1 + classItem - m_firstClass)];
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
