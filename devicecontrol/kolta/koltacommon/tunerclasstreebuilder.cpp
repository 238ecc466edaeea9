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
    : m_tunerClasses(tunerClasses), m_tuners(resources.GetTuner())
{
}

ptrTunerClassTreeItem TunerClassTreeBuilder::build()
{
    const int size = 1 + m_tuners.size() + m_tunerClasses.GetTunerClass().size();
    m_items.reserve(static_cast<std::size_t>(size));
    m_nodes.reserve(static_cast<std::size_t>(size));
    m_places.reserve(size);

    m_items.push_back(std::make_shared<TunerClassTreeItem>(TunerClassTreeItem::RootItemType()));
    m_nodes.emplace_back();
    addTuners();
    addClasses();
    nestClasses();
    chooseDefaultChildren();
    makeItems();
    return m_items[root];
}

void TunerClassTreeBuilder::addTuners()
{
    for (const Tuner& tuner : m_tuners) {
        const QString id = TunerIdGetter::resolveId(m_tunerClasses, tuner, nullptr);
        if (!id.isEmpty())
            add(std::make_shared<TunerClassTreeItem>(tuner, id));
    }
    m_firstClass = static_cast<int>(m_items.size());
}

void TunerClassTreeBuilder::addClasses()
{
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        const int place = static_cast<int>(m_items.size());
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
        if (superclass >= m_firstClass)
            attach(place, superclass);
        ++place;
    }
}

void TunerClassTreeBuilder::chooseDefaultChildren()
{
    int place = m_firstClass;
    for (const TunerClass& tunerClass : m_tunerClasses.GetTunerClass()) {
        const int child = find(tunerClass.GetDefaultChild());
        if (child != none && m_nodes[static_cast<std::size_t>(child)].parent == place)
            m_nodes[static_cast<std::size_t>(place)].defaultChild = child;
        ++place;
    }
}

void TunerClassTreeBuilder::makeItems()
{
    for (std::size_t place = 0; place < m_items.size(); ++place) {
        const Node& node = m_nodes[place];
        TunerClassTreeItem& item = *m_items[place];
        item.m_changes = m_items[root]->m_changes;
        for (int child = node.firstChild; child != none;) {
            const ptrTunerClassTreeItem& childItem = m_items[static_cast<std::size_t>(child)];
            childItem->m_parent = m_items[place];
            childItem->m_place = item.getNumberOfChildren();
            item.m_tunerChildren += childItem->isTunerItem();
            item.m_children->push_back(childItem);
            child = m_nodes[static_cast<std::size_t>(child)].next;
        }
        if (node.defaultChild != none)
            item.m_defaultChild = m_items[static_cast<std::size_t>(node.defaultChild)];
    }
}

/// Enters an item below the root.
void TunerClassTreeBuilder::add(const ptrTunerClassTreeItem& item)
{
    const int place = static_cast<int>(m_items.size());
    m_items.push_back(item);
    m_nodes.emplace_back();
    link(place, root);
    const QString& id = item->getID();
    if (!id.isEmpty() && !m_places.contains(id))
        m_places.insert(id, place);
}

/// The first item so far with that ID, tuners before classes.
int TunerClassTreeBuilder::find(const QString& id) const
{
    return m_places.value(id, none);
}

/// Moves an item below another; what makes no sense is passed over.
void TunerClassTreeBuilder::attach(int item, int parent)
{
    if (item == none || item == parent || m_nodes[static_cast<std::size_t>(item)].parent == parent ||
        isBelow(parent, item)) {
        return;
    }
    unlink(item);
    link(item, parent);
}

void TunerClassTreeBuilder::link(int item, int parent)
{
    Node& node = m_nodes[static_cast<std::size_t>(item)];
    Node& above = m_nodes[static_cast<std::size_t>(parent)];
    const bool isTuner = m_items[static_cast<std::size_t>(item)]->isTunerItem();
    node.parent = parent;
    node.previous = isTuner ? none : above.lastChild;
    node.next = isTuner ? above.firstChild : none;
    (node.previous == none ? above.firstChild : m_nodes[static_cast<std::size_t>(node.previous)].next) = item;
    (node.next == none ? above.lastChild : m_nodes[static_cast<std::size_t>(node.next)].previous) = item;
    if (++above.children == 1 && m_items[static_cast<std::size_t>(parent)]->getID() != QLatin1String("root"))
        above.defaultChild = item;
}

void TunerClassTreeBuilder::unlink(int item)
{
    const Node& node = m_nodes[static_cast<std::size_t>(item)];
    Node& above = m_nodes[static_cast<std::size_t>(node.parent)];
    // The same rule as in TunerClassTreeItem::deleteChildInternal().
    if (above.defaultChild == item)
        above.defaultChild = above.firstChild == item ? node.next : above.firstChild;
    (node.previous == none ? above.firstChild : m_nodes[static_cast<std::size_t>(node.previous)].next) =
        node.next;
    (node.next == none ? above.lastChild : m_nodes[static_cast<std::size_t>(node.next)].previous) =
        node.previous;
    --above.children;
}

bool TunerClassTreeBuilder::isBelow(int item, int ancestor) const
{
    if (m_nodes[static_cast<std::size_t>(ancestor)].children == 0)
        return false;
    while (item != none && item != ancestor)
        item = m_nodes[static_cast<std::size_t>(item)].parent;
    return item != none;
}

} // namespace Kolta
