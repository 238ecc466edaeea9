#include <values/tree.h>

#include <values/value.h>

#include <algorithm>

namespace values {

namespace {

constexpr QChar kSeparator = QLatin1Char('/');

bool isNormal(const QString& path)
{
    return path.size() > 1 && path.startsWith(kSeparator) && !path.endsWith(kSeparator) &&
           !path.contains(QLatin1String("//"));
}

/// Everything from `top` downwards, parents before children and siblings in reverse, so that walking it
/// backwards meets children first and siblings in their order. Without recursion: paths may be deep.
template<class ChildrenOf>
std::vector<TreeItem*> collect(TreeItem* top, const ChildrenOf& childrenOf)
{
    std::vector<TreeItem*> items{top};
    for (std::size_t i = 0; i < items.size(); ++i) {
        const auto& children = childrenOf(*items[i]);
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            items.push_back(&**it);
    }
    return items;
}

} // namespace

/// Keeps an item alive while an operation calls observers; afterwards it is dropped if nothing needs it.
class TreeItem::Pin
{
public:
    explicit Pin(TreeItem& item) : m_item(&item) { ++item.m_pins; }
    Pin(Pin&& other) noexcept : m_item(std::exchange(other.m_item, nullptr)) {}
    ~Pin()
    {
        if (!m_item)
            return;
        --m_item->m_pins;
        if (m_item->m_tree)
            m_item->m_tree->drop(m_item);
    }
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;
    Pin& operator=(Pin&&) = delete;

private:
    TreeItem* m_item;
};

TreeItem::TreeItem(const QString& name, TValueState state) : m_name(name), m_state(state) {}

TreeItem::~TreeItem() = default;

void TreeItem::SetIdentity(const QString& name, TValueState state)
{
    m_name = name;
    m_state = state;
}

QString TreeItem::GetName() const
{
    return m_tree ? m_path.mid(m_path.lastIndexOf(kSeparator) + 1) : m_name;
}

QVector<TreeItem*> TreeItem::GetChildren() const
{
    QVector<TreeItem*> children;
    children.reserve(static_cast<int>(m_children.size()));
    for (const auto& child : m_children) {
        if (!child->IsDeleted())
            children.append(child.get());
    }
    return children;
}

QStringList TreeItem::GetChildNames() const
{
    QStringList names;
    names.reserve(static_cast<int>(m_children.size()));
    for (const auto& child : m_children) {
        if (!child->IsDeleted())
            names.append(child->GetName());
    }
    return names;
}

void TreeItem::OnUnobserved()
{
    if (m_tree)
        m_tree->drop(this);
}

/// An item that has just been made, or made to exist again; pinned until everybody has been told.
struct Tree::Arrival
{
    Arrival(TreeItem& arrived, bool wasDeleted) : item(&arrived), revived(wasDeleted), pin(arrived) {}

    TreeItem* item;
    bool revived;
    TreeItem::Pin pin;
};

Tree& Tree::Instance()
{
    static Tree tree;
    return tree;
}

Tree::Tree() : m_root(std::make_unique<Node>())
{
    m_root->m_path = kSeparator;
    m_root->m_tree = this;
}

Tree::~Tree()
{
    const auto all = collect(
        m_root.get(), [](const TreeItem& item) -> auto& { return item.m_children; });
    for (auto it = all.rbegin(); it != all.rend(); ++it)
        (*it)->m_children.clear();
}

TreeItem* Tree::Find(const QString& path) const
{
    // Only normal paths are keys, so a hit needs no look at the form of the path.
    const auto it = m_items.constFind(path);
    if (it != m_items.constEnd())
        return *it;
    if (isNormal(path))
        return nullptr;
    const QString normal = NormalisedPath(path);
    return normal.size() == 1 ? m_root.get() : m_items.value(normal);
}

TreeItem* Tree::EnsureNode(const QString& path, IObserver* originator)
{
    const QString normal = NormalisedPath(path);
    std::vector<Arrival> arrivals;
    TreeItem* const item = ensure(normal, arrivals);
    if (arrivals.empty())
        return item;
    announce(arrivals, originator);
    arrivals.clear();
    TreeItem* const left = Find(normal);
    return left && !left->IsDeleted() ? left : nullptr;
}

ValueBase* Tree::Add(const QString& path, std::unique_ptr<ValueBase> value, IObserver* originator)
{
    const QString normal = NormalisedPath(path);
    if (!value || normal.size() == 1)
        return nullptr;
    TreeItem* const old = m_items.value(normal);
    ValueBase* item = dynamic_cast<ValueBase*>(old);
    if (old && (!old->IsDeleted() || !item || !item->Assign(*value)))
        return nullptr;
    m_consumed.reset();

    std::vector<Arrival> arrivals;
    TreeItem* const parent = ensure(normal.left(normal.lastIndexOf(kSeparator)), arrivals);
    if (item) {
        revive(*item);
    } else {
        item = value.get();
        insert(*parent, normal, std::move(value));
    }
    arrivals.emplace_back(*item, old != nullptr);
    announce(arrivals, originator);

    if (item->IsDeleted() && !item->HasObservers() && !item->IsNotifying() && item->m_pins == 1 &&
        item->m_children.empty()) {
        // Somebody consumed the value at once. The caller is to see that it was accepted, so it lives a bit
        // longer.
        m_items.remove(normal);
        m_consumed = std::move(*item->m_self);
        TreeItem* const left = std::exchange(item->m_parent, nullptr);
        left->m_children.erase(item->m_self);
        item->m_tree = nullptr;
        item->m_path.clear();
        drop(left);
    }
    return item;
}

bool Tree::Remove(const QString& path, IObserver* originator)
{
    TreeItem* const item = Find(path);
    if (!item || item == m_root.get() || item->IsDeleted())
        return false;
    removeBelow(*item, originator);
    return true;
}

void Tree::Clear(IObserver* originator)
{
    removeBelow(*m_root, originator);
}

void Tree::AddListener(ITreeListener* listener, const IObserver* self)
{
    if (!listener)
        return;
    RemoveListener(listener);
    m_listeners.push_back({listener, self});
}

void Tree::RemoveListener(ITreeListener* listener)
{
    const auto it = std::find_if(m_listeners.begin(), m_listeners.end(),
                                 [listener](const Listener& entry) { return entry.listener == listener; });
    if (it == m_listeners.end())
        return;
    if (m_telling > 0)
        it->listener = nullptr;
    else
        m_listeners.erase(it);
}

TreeItem* Tree::insert(TreeItem& parent, const QString& path, std::unique_ptr<TreeItem> item)
{
    TreeItem& inserted = *item;
    inserted.m_path = path;
    inserted.m_tree = this;
    inserted.m_parent = &parent;
    inserted.m_state = eValueValid;
    inserted.m_self = parent.m_children.insert(parent.m_children.end(), std::move(item));
    m_items.insert(path, &inserted);
    return &inserted;
}

/// It comes as a new child does: last.
void Tree::revive(TreeItem& item)
{
    item.m_state = eValueValid;
    auto& siblings = item.m_parent->m_children;
    siblings.splice(siblings.end(), siblings, item.m_self);
}

/// Makes the item at a normal path (empty for the root) and all that is missing above it, telling nobody yet.
TreeItem* Tree::ensure(const QString& path, std::vector<Arrival>& arrivals)
{
    TreeItem* item = m_root.get();
    QStringList missing;
    for (QString part = path; part.size() > 1; part.truncate(part.lastIndexOf(kSeparator))) {
        TreeItem* const found = m_items.value(part);
        if (found && !found->IsDeleted()) {
            item = found;
            break;
        }
        missing.prepend(part);
    }
    for (const QString& part : qAsConst(missing)) {
        TreeItem* const deleted = m_items.value(part);
        if (deleted) {
            deleted->ClearContent();
            revive(*deleted);
        }
        item = deleted ? deleted : insert(*item, part, std::make_unique<Node>());
        arrivals.emplace_back(*item, deleted != nullptr);
    }
    return item;
}

void Tree::announce(const std::vector<Arrival>& arrivals, IObserver* originator)
{
    for (const Arrival& arrival : arrivals) {
        if (!arrival.item->IsDeleted())
            tell(originator, [&](ITreeListener& listener) { listener.OnItemAdded(*arrival.item); });
    }
    for (const Arrival& arrival : arrivals) {
        TreeItem& item = *arrival.item;
        if (arrival.revived && !item.IsDeleted())
            item.Notify(eChangeState, originator);
        if (arrival.revived && !item.IsDeleted() && dynamic_cast<ValueBase*>(&item))
            item.Notify(eChangeValue, originator);
        if (!item.IsDeleted())
            item.m_parent->Notify(eChangeChildAdded, originator);
    }
}

/// Deletes everything below `top`, then `top` itself unless it is the root.
void Tree::removeBelow(TreeItem& top, IObserver* originator)
{
    m_consumed.reset();
    // Observers may change anything between two deletions: keep paths, not pointers.
    QStringList paths;
    const auto all = collect(
        &top, [](const TreeItem& item) -> auto& { return item.m_children; });
    for (auto it = all.rbegin(); it != all.rend(); ++it) {
        if (!(*it)->IsDeleted() && *it != m_root.get())
            paths.append((*it)->m_path);
    }
    for (const QString& path : qAsConst(paths)) {
        TreeItem* const item = m_items.value(path);
        if (item && !item->IsDeleted())
            removeItem(*item, originator);
    }
}

void Tree::removeItem(TreeItem& item, IObserver* originator)
{
    const bool recreatedBelow = std::any_of(item.m_children.begin(), item.m_children.end(),
                                            [](const auto& child) { return !child->IsDeleted(); });
    if (recreatedBelow)
        return;
    TreeItem& parent = *item.m_parent;
    const TreeItem::Pin pinnedParent(parent);
    {
        const TreeItem::Pin pinned(item);
        item.m_state = eValueDeleted;
        tell(originator, [&](ITreeListener& listener) { listener.OnItemRemoved(item); });
        if (!item.IsDeleted())
            return;
        item.ClearContent();
        item.Notify(eChangeState, originator);
        if (!item.IsDeleted())
            return;
    }
    // The parent hears of it when the place is free again.
    parent.Notify(eChangeChildRemoved, originator);
}

/// Destroys a deleted item that nothing needs any more, and the deleted nodes above that stood for its sake.
void Tree::drop(TreeItem* item)
{
    while (item != m_root.get() && item->IsDeleted() && !item->HasObservers() && !item->IsNotifying() &&
           item->m_pins == 0 && item->m_children.empty()) {
        TreeItem* const parent = item->m_parent;
        m_items.remove(item->m_path);
        parent->m_children.erase(item->m_self);
        item = parent;
    }
}

void Tree::TellWishFailed(const QString& path, WishFailure failure, const QString& reason)
{
    tell(nullptr, [&](ITreeListener& listener) { listener.OnWishFailed(path, failure, reason); });
}

void Tree::changed(ValueBase& value, Event event, TChangeCode code, IObserver* originator)
{
    const TreeItem::Pin pin(value);
    tell(originator, [&](ITreeListener& listener) {
        if (event == Event::Announcement)
            listener.OnItemAnnounced(value, code, originator);
        else if (event == Event::Change)
            listener.OnItemChanged(value, code, originator);
        else
            listener.OnItemOrdered(value, event == Event::Order, originator);
    });
    if (!value.IsDeleted())
        value.Notify(code, originator);
}

template<class Call>
void Tree::tell(const IObserver* originator, const Call& call)
{
    if (m_listeners.empty())
        return;
    struct Guard
    {
        explicit Guard(Tree& guarded) : tree(guarded) { ++tree.m_telling; }
        ~Guard()
        {
            auto& all = tree.m_listeners;
            if (--tree.m_telling == 0)
                all.erase(
                    std::remove_if(all.begin(), all.end(), [](const Listener& l) { return !l.listener; }),
                    all.end());
        }
        Tree& tree;
    } const guard(*this);
    const std::size_t end = m_listeners.size();
    for (std::size_t i = 0; i < end; ++i) {
        const Listener entry = m_listeners[i];
        if (entry.listener && !(originator && entry.self == originator))
            call(*entry.listener);
    }
}

QString NormalisedPath(const QString& path)
{
    if (isNormal(path))
        return path;
    QString normal;
    normal.reserve(path.size() + 1);
    for (const QString& name : path.split(kSeparator, Qt::SkipEmptyParts))
        normal.append(kSeparator).append(name);
    return normal.isEmpty() ? QString(kSeparator) : normal;
}

} // namespace values
