#pragma once

#include <values/observable.h>

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>
#include <vector>

namespace values {

class Tree;
class ValueBase;

/// Whether an item exists.
enum TValueState : int {
    eValueValid = 0,  ///< exists
    eValueDeleted = 1 ///< was deleted while somebody was bound to it; comes back at the same path
};

/// One item of the value tree: a plain node, or (as ValueBase) a value. Owned by the tree.
class TreeItem : public Observable
{
public:
    ~TreeItem() override;

    /// Full path, "/" between names, beginning with "/"; empty while the item is not in a tree.
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
    void OnUnobserved() override;

private:
    friend class Tree;
    QString m_path;
    QString m_name;
    Tree* m_tree = nullptr;
    TreeItem* m_parent = nullptr;
    std::vector<TreeItem*> m_children; ///< tombstones included; the tree owns them
    TValueState m_state;
};

/// An inner node without a value.
class Node final : public TreeItem
{
public:
    explicit Node(const QString& name = QString()) : TreeItem(name) {}
};

/// Hears of everything that happens in a tree. This is where a link that carries the tree to other processes
/// hooks in: it sees every item come and go and every change with its originator, and applies remote changes
/// with itself as the originator, so that it is not called back for them.
class ITreeListener
{
public:
    virtual ~ITreeListener() = default;
    virtual void OnItemAdded(TreeItem& item) = 0;
    /// The item is still readable; it is deleted or becomes a tombstone after the call.
    virtual void OnItemRemoved(TreeItem& item) = 0;
    /// `originator` may be null.
    virtual void OnItemChanged(TreeItem& item, TChangeCode code, IObserver* originator) = 0;
};

/// The shared value tree of one process: finds any path in constant time and owns all items.
///
/// Paths are texts like "/ConnectManager/AdminTree/S1/ADMINISTRATION/Resources"; a missing leading "/" is added and
/// a trailing one removed; comparison is exact.
/// A value that is deleted while observers are attached stays as a tombstone: same object, state eValueDeleted,
/// content cleared, observers told with code eChangeState. Setting a value of the same type at that path brings the
/// same object back to life with code eChangeState, then eChangeValue for its content. It goes for good with its
/// last observer.
/// One thread only: the thread that owns the tree, normally the main thread.
class Tree
{
public:
    /// The process-wide tree.
    static Tree& Instance();

    Tree();
    ~Tree();

    /// The item at `path`, tombstones included (ask GetState()); null when there is none.
    TreeItem* Find(const QString& path) const;
    /// Find() and cast to a value type; null when there is none or it is of another type.
    template<class T>
    T* FindAs(const QString& path) const
    {
        return dynamic_cast<T*>(Find(path));
    }
    /// Number of items, tombstones included.
    int Size() const noexcept { return m_items.size(); }

    /// The node at `path`, made with all its parents when missing. An existing value is returned as it is.
    TreeItem* EnsureNode(const QString& path);
    /// Puts `value` at `path`, making the parents. When a tombstone of the same type stands there, the tombstone
    /// takes over `value`'s content and is returned. When an existing item or a tombstone of another type stands
    /// there, nothing changes and the result is null. Parents are told with eChangeChildAdded.
    ValueBase* Add(const QString& path, std::unique_ptr<ValueBase> value);
    /// Add() for a value made in place: Emplace<StringValue>(path, text). Returns the value at the path afterwards,
    /// or null when Add() refused it.
    template<class T, class... Args>
    T* Emplace(const QString& path, Args&&... args)
    {
        return dynamic_cast<T*>(Add(path, std::make_unique<T>(std::forward<Args>(args)...)));
    }
    /// Deletes the item and everything below it, children first. Observed values become tombstones; observed nodes
    /// and nodes above a tombstone stay as deleted nodes. False when there is nothing, or only a tombstone.
    bool Remove(const QString& path);
    /// Removes everything. Observed items become tombstones.
    void Clear();

    /// `listener` is not owned; remove it before it dies. Adding or removing during a notification is allowed.
    void AddListener(ITreeListener* listener);
    void RemoveListener(ITreeListener* listener);

    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;

private:
    friend class TreeItem;
    friend class ValueBase;

    QHash<QString, TreeItem*> m_items; ///< by full path; owns
    TreeItem* m_root = nullptr;
    std::vector<ITreeListener*> m_listeners;
};

/// The path as the tree keeps it: with a leading "/", without a trailing or doubled one.
QString NormalisedPath(const QString& path);

} // namespace values
