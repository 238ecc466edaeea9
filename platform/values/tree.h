#pragma once

#include <values/export.h>
#include <values/observable.h>

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

#include <list>
#include <memory>
#include <utility>
#include <vector>

namespace values {

class Tree;
class ValueBase;

/// Whether an item exists.
enum TValueState : int {
    eValueValid = 0,  ///< exists
    eValueDeleted = 1 ///< was deleted while somebody was bound to it; comes back at the same path
};

/// One item of the value tree: a plain node, or (as ValueBase) a value. Owned by its parent, so by the tree.
class KOLTA_VALUES_EXPORT TreeItem : public Observable
{
public:
    ~TreeItem() override;

    /// Full path, "/" between names, beginning with "/" (the root's is "/"); empty while the item is not in a
    /// tree.
    const QString& GetPath() const noexcept { return m_path; }
    /// Last part of the path, or the name given at construction.
    QString GetName() const;
    TValueState GetState() const noexcept { return m_state; }
    bool IsDeleted() const noexcept { return m_state == eValueDeleted; }
    Tree* GetTree() const noexcept { return m_tree; }
    TreeItem* GetParent() const noexcept { return m_parent; }
    /// The existing children in the order in which they came.
    QVector<TreeItem*> GetChildren() const;
    QStringList GetChildNames() const;

protected:
    explicit TreeItem(const QString& name = QString(), TValueState state = eValueValid);
    /// For constructors that cannot pass both on: those between a virtual base and the class of the object.
    void SetIdentity(const QString& name, TValueState state);
    void OnUnobserved() override;
    /// Empties the content when the item is deleted; it may be called for an empty one.
    virtual void ClearContent() {}

private:
    friend class Tree;
    class Pin;
    using Children = std::list<std::unique_ptr<TreeItem>>;

    QString m_path;
    QString m_name;
    Tree* m_tree = nullptr;
    TreeItem* m_parent = nullptr;
    Children m_children;       ///< tombstones included
    Children::iterator m_self; ///< this among the parent's children
    int m_pins = 0;            ///< running operations that still need this object
    TValueState m_state;
};

/// An inner node without a value.
class Node final : public TreeItem
{
public:
    explicit Node(const QString& name = QString()) : TreeItem(name) {}
};

/// Why a change that was made here is not wanted by the process that decides on the item. The link that
/// carried it has put the item back to what is valid there.
enum class WishFailure {
    Refused,   ///< it was not done: the owner does not allow it, or it could not be sent in time
    Conflict,  ///< made on a content that another had changed meanwhile
    TooOld,    ///< nobody has decided on it in time; it may have happened
    EpochEnded ///< the owner has begun a new life; it may have happened
};

/// Hears of everything that happens in a tree, once per event and before the observers do, so that the order
/// of the calls is the order of the events even when observers change the tree further. This is where a link
/// that carries the tree to other processes hooks in: it applies remote changes with an originator of its own
/// and names that one in Tree::AddListener(), so that it is not called back for them.
class KOLTA_VALUES_EXPORT ITreeListener
{
public:
    virtual ~ITreeListener() = default;
    /// The item is new, or deleted no more; its content is complete.
    virtual void OnItemAdded(TreeItem& item) = 0;
    /// The item is still readable (its state says deleted already); it is destroyed or becomes an empty
    /// tombstone after the call.
    virtual void OnItemRemoved(TreeItem& item) = 0;
    /// `originator` may be null.
    virtual void OnItemChanged(TreeItem& item, TChangeCode code, IObserver* originator) = 0;
    /// The same for a value that is announced although its content did not change.
    virtual void OnItemAnnounced(TreeItem& item, TChangeCode code, IObserver* originator)
    {
        OnItemChanged(item, code, originator);
    }
    /// The same for a value that was written as an order, see Value::Order(). `isNew`: its content changed.
    virtual void OnItemOrdered(TreeItem& item, bool isNew, IObserver* originator)
    {
        if (isNew)
            OnItemChanged(item, eChangeValue, originator);
        else
            OnItemAnnounced(item, eChangeValue, originator);
    }
    /// A change that was made here at `path` did not last; see Tree::TellWishFailed(). `reason` is for
    /// people.
    virtual void OnWishFailed(const QString& /*path*/, WishFailure /*failure*/, const QString& /*reason*/) {}
};

/// The shared value tree of one process: finds any path in constant time and owns all items.
///
/// Paths are texts like "/ConnectManager/AdminTree/S1/ADMINISTRATION/Resources"; a missing leading "/" is
/// added and a trailing one removed; comparison is exact. "/" is the root, which is always there. A value
/// that is deleted while observers are attached stays as a tombstone: same object, state eValueDeleted,
/// content cleared, observers told with code eChangeState. Setting a value of the same type at that path
/// brings the same object back to life with code eChangeState, then eChangeValue for its content. It goes for
/// good with its last observer, once no notification of it runs. Observers and listeners may change the tree
/// in any way while they are called, but not destroy it. What they undo is not announced any further, and
/// what they create in the place of something that is being deleted stays. One thread only: the thread that
/// owns the tree, normally the main thread.
class KOLTA_VALUES_EXPORT Tree
{
public:
    /// The process-wide tree.
    static Tree& Instance();

    Tree();
    /// Destroys all items. Their observers are detached, not told.
    ~Tree();

    /// The item at `path`, tombstones included (ask GetState()); null when there is none. Fastest for a path
    /// in the form of NormalisedPath().
    TreeItem* Find(const QString& path) const;
    /// Find() and cast to a value type; null when there is none or it is of another type.
    template<class T>
    T* FindAs(const QString& path) const
    {
        return dynamic_cast<T*>(Find(path));
    }
    /// Number of items below the root, tombstones included.
    int Size() const noexcept { return m_items.size(); }

    /// The node at `path`, made with all its parents when missing. An existing value is returned as it is; a
    /// deleted one comes back with empty content. Null only when an observer deleted it again before the
    /// return.
    TreeItem* EnsureNode(const QString& path, IObserver* originator = nullptr);
    /// Puts `value` at `path`, making the parents. When a tombstone of the same type stands there, the
    /// tombstone takes over `value`'s content and is returned. When an existing item or a tombstone of
    /// another type stands there, nothing changes and the result is null. Parents are told with
    /// eChangeChildAdded, after the value is complete. When an observer deletes the value during the call,
    /// the result is not null but the deleted value: it was accepted. It is then to be used no longer than
    /// until the next change of the tree. `originator` is not called back.
    ValueBase* Add(const QString& path, std::unique_ptr<ValueBase> value, IObserver* originator = nullptr);
    /// Add() for a value made in place: Emplace<StringValue>(path, text).
    template<class T, class... Args>
    T* Emplace(const QString& path, Args&&... args)
    {
        return dynamic_cast<T*>(Add(path, std::make_unique<T>(std::forward<Args>(args)...)));
    }
    /// Deletes the item and everything below it, children first. Observed values become tombstones; observed
    /// nodes and nodes above a tombstone stay as deleted nodes. The item itself hears eChangeState, then its
    /// parent eChangeChildRemoved; `originator` is not called back. False when there is nothing, only a
    /// tombstone, or the root.
    bool Remove(const QString& path, IObserver* originator = nullptr);
    /// Removes everything. Observed items become tombstones.
    void Clear(IObserver* originator = nullptr);

    /// `listener` is not owned; remove it before it dies. It does not hear of what `self` originates.
    /// Adding or removing during a notification is allowed; one that is added then hears the next event
    /// first.
    void AddListener(ITreeListener* listener, const IObserver* self = nullptr);
    void RemoveListener(ITreeListener* listener);
    /// Tells all listeners: for the link that carries the tree to other processes, once the item is what it
    /// was. The path need not exist any more.
    void TellWishFailed(const QString& path, WishFailure failure, const QString& reason);

    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

private:
    friend class TreeItem;
    friend class ValueBase;
    struct Arrival;
    struct Listener
    {
        ITreeListener* listener; ///< null where one was removed during a call
        const IObserver* self;
    };

    TreeItem* insert(TreeItem& parent, const QString& path, std::unique_ptr<TreeItem> item);
    void revive(TreeItem& item);
    TreeItem* ensure(const QString& path, std::vector<Arrival>& arrivals);
    void announce(const std::vector<Arrival>& arrivals, IObserver* originator);
    void removeBelow(TreeItem& top, IObserver* originator);
    void removeItem(TreeItem& item, IObserver* originator);
    void drop(TreeItem* item);
    enum class Event { Change, Announcement, Order, RepeatedOrder };
    void changed(ValueBase& value, Event event, TChangeCode code, IObserver* originator);
    template<class Call>
    void tell(const IObserver* originator, const Call& call);

    QHash<QString, TreeItem*> m_items; ///< by full path, without the root
    std::unique_ptr<TreeItem> m_root;
    std::unique_ptr<TreeItem> m_consumed; ///< the newest value that was deleted during its own Add()
    std::vector<Listener> m_listeners;
    int m_telling = 0; ///< running calls of listeners
};

/// The path as the tree keeps it: with a leading "/", without a trailing or doubled one.
KOLTA_VALUES_EXPORT QString NormalisedPath(const QString& path);

} // namespace values
