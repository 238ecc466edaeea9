#include <koltacommon/tunerclasstreeitem.h>

#include <resourcemodel/tunerclasses.h>

#include <QUuid>

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClass;
using RESOURCEMANAGEMENT::TunerClassOverview;

namespace {

const QString& rootID()
{
    static const QString id = QStringLiteral("root");
    return id;
}

} // namespace

TunerClassTreeItem::TunerClassTreeItem(RootItemType)
    : m_kind(Kind::Root), m_id(&rootID()), m_name(rootID()), m_class(std::make_unique<ClassPart>())
{
    m_class->changes = std::make_shared<Changes>();
}

TunerClassTreeItem::TunerClassTreeItem(const TunerClass& tunerClass)
    : m_kind(Kind::Class)
    , m_cost(tunerClass.GetCostPenalty())
    , m_name(tunerClass.GetName())
    , m_class(std::make_unique<ClassPart>())
{
    m_class->id = tunerClass.GetGUID();
    m_id = &m_class->id;
    m_class->description = tunerClass.GetDescription();
    m_class->rdc = tunerClass.GetRDC();
    m_class->hwProcessing = tunerClass.GetHWProcessingRDC();
}

TunerClassTreeItem::TunerClassTreeItem(const Tuner& tuner, const QString& tunerID)
    : m_kind(Kind::Tuner), m_own(std::make_unique<OwnRecord>(OwnRecord{tuner, tunerID}))
{
    m_id = &m_own->id;
    m_record = &m_own->tuner;
}

TunerClassTreeItem::~TunerClassTreeItem()
{
    if (!m_class)
        return;
    // Level by level from a list: a deep tree would otherwise take the stack with it.
    m_class->defaultChild.reset();
    Items doomed = std::move(m_class->children);
    while (!doomed.empty()) {
        const ptrTunerClassTreeItem item = std::move(doomed.back());
        doomed.pop_back();
        if (item.use_count() > 1)
            item->keepRecord();
        if (item.use_count() > 1 || !item->m_class)
            continue;
        item->m_class->defaultChild.reset();
        Items& children = item->m_class->children;
        std::move(children.begin(), children.end(), std::back_inserter(doomed));
        children.clear();
    }
}

const Tuner& TunerClassTreeItem::getTuner() const noexcept
{
    static const Tuner none;
    return m_record ? *m_record : none;
}

const QString& TunerClassTreeItem::getName() const noexcept
{
    return m_name.isNull() && isTunerItem() ? getTuner().GetTavikResource().GetDisplayName() : m_name;
}

void TunerClassTreeItem::setName(const QString& name)
{
    m_name = name.isNull() ? QLatin1String("") : name;
    changed();
}

void TunerClassTreeItem::setDescription(const QString& description)
{
    if (m_class)
        m_class->description = description;
}

void TunerClassTreeItem::setRDC(const QString& rdc)
{
    if (m_class)
        m_class->rdc = rdc;
}

void TunerClassTreeItem::setCost(int cost)
{
    m_cost = cost;
    changed();
}

void TunerClassTreeItem::setHWProcessing(bool hwProcessing)
{
    if (m_class)
        m_class->hwProcessing = hwProcessing;
}

ptrTunerClassTreeItem TunerClassTreeItem::getChild(int index) const
{
    if (index < 0 || index >= getNumberOfChildren())
        return {};
    return getChildren()[static_cast<std::size_t>(index)];
}

int TunerClassTreeItem::getNumberOfTunerDescendants() const
{
    int count = 0;
    walk([&count](const ptrTunerClassTreeItem& item) {
        count += item->isTunerItem();
        return true;
    });
    return count;
}

int TunerClassTreeItem::getTreeIndex() const
{
    const ptrTunerClassTreeItem parent = getParent();
    return parent ? static_cast<int>(m_place - parent->m_class->firstPlace) : 0;
}

int TunerClassTreeItem::getDepth() const
{
    int depth = 0;
    for (ptrTunerClassTreeItem item = getParent(); item; item = item->getParent())
        ++depth;
    return depth;
}

int TunerClassTreeItem::getPathCost() const
{
    qint64 cost = m_cost;
    for (ptrTunerClassTreeItem item = getParent(); item; item = item->getParent())
        cost += item->m_cost;
    return static_cast<int>(
        qBound<qint64>(std::numeric_limits<int>::min(), cost, std::numeric_limits<int>::max()));
}

bool TunerClassTreeItem::isDefaultChild() const
{
    const ptrTunerClassTreeItem parent = getParent();
    return parent && parent->m_class->defaultChild.get() == this;
}

void TunerClassTreeItem::makeDefaultChild()
{
    if (const ptrTunerClassTreeItem parent = getParent())
        parent->m_class->defaultChild = shared_from_this();
}

ptrTunerClassTreeItem TunerClassTreeItem::getDefaultTuner() const
{
    const ptrTunerClassTreeItem* item = &getDefaultChild();
    while (*item && (*item)->isClassItem())
        item = &(*item)->m_class->defaultChild;
    return *item;
}

bool TunerClassTreeItem::setParent(const ptrTunerClassTreeItem& newParent)
{
    const ptrTunerClassTreeItem self = weak_from_this().lock();
    if (!self || isRootItem() || !newParent || newParent->isTunerItem())
        return false;
    const ptrTunerClassTreeItem oldParent = getParent();
    if (newParent == oldParent || newParent == self || newParent->isBelow(*this))
        return false;

    const int oldIndex = getTreeIndex();
    const auto oldTree = tree();
    newParent->insertChild(self);
    m_parent = newParent;
    if (newParent->getNumberOfChildren() == 1 && newParent->getID() != rootID())
        newParent->m_class->defaultChild = self;
    if (oldParent)
        oldParent->deleteChildInternal(oldIndex, true);
    joinTree(oldTree, newParent->m_class->changes);
    changed();
    return true;
}

ptrTunerClassTreeItem TunerClassTreeItem::addChild(const QString& name, const QString& description)
{
    TunerClass tunerClass;
    tunerClass.SetGUID(QUuid::createUuid().toString());
    tunerClass.SetName(name);
    tunerClass.SetDescription(description);
    auto child = std::make_shared<TunerClassTreeItem>(tunerClass);
    return child->setParent(weak_from_this().lock()) ? child : ptrTunerClassTreeItem();
}

bool TunerClassTreeItem::deleteChild(int index)
{
    return deleteChildInternal(index, false);
}

TunerClassTreeItem::Items TunerClassTreeItem::getTunerDescendants() const
{
    Items tuners;
    walk([&tuners](const ptrTunerClassTreeItem& item) {
        if (item->isTunerItem())
            tuners.push_back(item);
        return true;
    });
    return tuners;
}

ptrTunerClassTreeItem TunerClassTreeItem::findDescendantRecursive(const Predicate& predicate) const
{
    std::vector<ptrTunerClassTreeItem> items;
    walk([&items](const ptrTunerClassTreeItem& item) {
        items.push_back(item);
        return true;
    });
    const auto match =
        predicate ? std::find_if(items.begin(), items.end(), std::cref(predicate)) : items.end();
    return match != items.end() ? *match : ptrTunerClassTreeItem();
}

ptrTunerClassTreeItem TunerClassTreeItem::findDescendantRecursive(const QString& id) const
{
    ptrTunerClassTreeItem match;
    walk([&match, &id](const ptrTunerClassTreeItem& item) {
        if (item->getID() == id)
            match = item;
        return !match;
    });
    return match;
}

void TunerClassTreeItem::applyToAllDescendants(const Visitor& visitor) const
{
    if (!visitor)
        return;
    findDescendantRecursive([&visitor](const ptrTunerClassTreeItem& item) {
        visitor(item);
        return false;
    });
}

TunerClass TunerClassTreeItem::toTunerClass() const
{
    TunerClass record;
    record.SetGUID(getID());
    record.SetName(getName());
    record.SetDescription(getDescription());
    record.SetRDC(getRDC());
    record.SetCostPenalty(m_cost);
    record.SetHWProcessingRDC(getHWProcessing());
    const ptrTunerClassTreeItem parent = getParent();
    if (parent && !parent->isRootItem())
        record.SetSuperclassGUID(parent->getID());
    if (getDefaultChild())
        record.SetDefaultChild(getDefaultChild()->getID());
    record.EditTunerID().reserve(getNumberOfTunerChildren());
    for (int i = getNumberOfTunerChildren() - 1; i >= 0; --i)
        record.EditTunerID().append(getChildren()[static_cast<std::size_t>(i)]->getID());
    return record;
}

void TunerClassTreeItem::addSubtreeXmlData(TunerClassOverview& overview) const
{
    walkClasses([&overview](const ptrTunerClassTreeItem& item) {
        overview.EditTunerClass().append(item->toTunerClass());
        return true;
    });
}

const TunerClassTreeItem::ClassPart& TunerClassTreeItem::classPart() const noexcept
{
    static const ClassPart none;
    return m_class ? *m_class : none;
}

/// Makes a tuner independent of the tree that holds its record.
void TunerClassTreeItem::keepRecord()
{
    if (!m_record || m_own)
        return;
    m_own = std::make_unique<OwnRecord>(OwnRecord{*m_record, *m_id});
    m_record = &m_own->tuner;
    m_id = &m_own->id;
}

/// Whether this class is below another item.
bool TunerClassTreeItem::isBelow(const TunerClassTreeItem& ancestor) const
{
    // Only what has a class below it is worth the way up, which may be long.
    if (ancestor.getNumberOfTunerChildren() == ancestor.getNumberOfChildren())
        return false;
    ptrTunerClassTreeItem item = getParent();
    while (item && item.get() != &ancestor)
        item = item->getParent();
    return item != nullptr;
}

std::shared_ptr<TunerClassTreeItem::Changes> TunerClassTreeItem::tree() const
{
    const ptrTunerClassTreeItem parent = m_class ? ptrTunerClassTreeItem() : getParent();
    return parent ? parent->m_class->changes : classPart().changes;
}

void TunerClassTreeItem::changed() const
{
    if (const auto changes = tree())
        ++changes->revision;
}

/// Makes this item, with all below it, part of another tree, or of none.
void TunerClassTreeItem::joinTree(const std::shared_ptr<Changes>& oldTree,
                                  const std::shared_ptr<Changes>& newTree)
{
    if (oldTree == newTree)
        return;
    for (const auto& changes : {oldTree, newTree}) {
        if (changes) {
            ++changes->revision;
            ++changes->members;
        }
    }
    keepRecord();
    if (!m_class)
        return;
    m_class->changes = newTree;
    walk([&newTree](const ptrTunerClassTreeItem& item) {
        item->keepRecord();
        if (item->m_class)
            item->m_class->changes = newTree;
        return true;
    });
}

void TunerClassTreeItem::insertChild(const ptrTunerClassTreeItem& child)
{
    if (child->isTunerItem()) {
        m_class->children.push_front(child);
        child->m_place = --m_class->firstPlace;
        ++m_class->tunerChildren;
    } else {
        child->m_place = m_class->firstPlace + getNumberOfChildren();
        m_class->children.push_back(child);
    }
}

void TunerClassTreeItem::takeOutChild(int index)
{
    Items& children = m_class->children;
    const auto position = children.begin() + index;
    m_class->tunerChildren -= (*position)->isTunerItem();
    // The shorter side closes up.
    if (index < getNumberOfChildren() / 2) {
        std::for_each(children.begin(), position, [](const auto& item) { ++item->m_place; });
        ++m_class->firstPlace;
    } else {
        std::for_each(position + 1, children.end(), [](const auto& item) { --item->m_place; });
    }
    children.erase(position);
}

bool TunerClassTreeItem::deleteChildInternal(int index, bool keepItem)
{
    const ptrTunerClassTreeItem child = getChild(index);
    if (!child)
        return false;
    ptrTunerClassTreeItem& defaultChild = m_class->defaultChild;
    // Not simply the next child: it is meant to be as simple as this.
    if (getNumberOfChildren() >= 2 && defaultChild == child)
        defaultChild = getChild(index == 0 ? 1 : 0);
    // What comes up stands ahead of it.
    takeOutChild(index + (keepItem ? 0 : moveUpTuners(*child)));
    if (defaultChild == child)
        defaultChild = getChild(0);
    if (!keepItem) {
        child->m_parent.reset();
        child->joinTree(m_class->changes, nullptr);
    }
    return true;
}

/// Empties a child; the tuners that were anywhere below it become children of this item. Returns how many.
int TunerClassTreeItem::moveUpTuners(TunerClassTreeItem& removed)
{
    const Items tuners = removed.dissolve();
    for (const ptrTunerClassTreeItem& tuner : tuners) {
        insertChild(tuner);
        tuner->m_parent = weak_from_this();
    }
    changed();
    return static_cast<int>(tuners.size());
}

/// Lets go of the children, and of the tree when it is to leave that.
void TunerClassTreeItem::empty(bool leavesTree)
{
    if (m_class) {
        m_class->defaultChild.reset();
        m_class->tunerChildren = 0;
        m_class->children.clear();
    }
    if (leavesTree) {
        m_parent.reset();
        m_class->changes.reset();
    }
}

/// Takes everything out of this class and the classes below it, and the latter out of the tree. Returns the
/// tuners in the order in which they would be children of this class had the classes below it been deleted
/// one after the other, the deepest first: with every level that they come up their order is turned round.
TunerClassTreeItem::Items TunerClassTreeItem::dissolve()
{
    struct Task
    {
        ptrTunerClassTreeItem item;
        bool forwards;
        bool own; ///< only the item's own tuners
    };
    Items tuners;
    std::vector<Task> tasks{{shared_from_this(), true, false}};
    while (!tasks.empty()) {
        const Task task = std::move(tasks.back());
        tasks.pop_back();
        TunerClassTreeItem& item = *task.item;
        const Items& children = item.getChildren();
        const auto firstClass = children.begin() + item.getNumberOfTunerChildren();
        if (task.own) {
            if (task.forwards)
                tuners.insert(tuners.end(), children.begin(), firstClass);
            else
                tuners.insert(tuners.end(), std::make_reverse_iterator(firstClass), children.rend());
            item.empty(&item != this);
        } else if (task.forwards) {
            // The last task runs first.
            tasks.push_back({task.item, true, true});
            for (auto child = firstClass; child != children.end(); ++child)
                tasks.push_back({*child, false, false});
        } else {
            for (auto child = children.end(); child != firstClass; --child)
                tasks.push_back({*std::prev(child), true, false});
            tasks.push_back({task.item, false, true});
        }
    }
    return tuners;
}

} // namespace Kolta
