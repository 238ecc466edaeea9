#pragma once

#include <koltacommon/export.h>
#include <resourcemodel/resources.h>

#include <QString>
#include <QVector>

#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace RESOURCEMANAGEMENT {
class TunerClass;
class TunerClassOverview;
} // namespace RESOURCEMANAGEMENT

namespace Kolta {

class TunerClassTreeItem;
using ptrTunerClassTreeItem = std::shared_ptr<TunerClassTreeItem>;

/// One node of a tuner class tree: the root, a class, or a tuner.
///
/// A parent owns its children; a child holds its parent weakly, so an item that outlives its tree is simply
/// without a parent. Among the children tuners stand ahead of classes: a tuner is inserted at the front, a
/// class appended at the back. (Tuners therefore appear in the reverse order of their attachment; this is
/// meant.) The default child is always one of the children.
///
/// Items live in shared handles (std::make_shared); one that does not can be neither parent nor child.
/// Searches and walks go depth-first, an item before what is below it, and do not recurse: depth is limited
/// by memory only. Nothing throws but what a visitor throws. Not thread-safe.
class KOLTA_COMMON_EXPORT TunerClassTreeItem : public std::enable_shared_from_this<TunerClassTreeItem>
{
public:
    /// Tag of the root's constructor.
    struct RootItemType
    {
    };
    using Items = std::deque<ptrTunerClassTreeItem>;
    using Visitor = std::function<void(const ptrTunerClassTreeItem&)>;
    using Predicate = std::function<bool(const ptrTunerClassTreeItem&)>;

    /// The root: a class item whose ID and name are "root", without cost.
    explicit TunerClassTreeItem(RootItemType tag);
    /// A class without parent and children. Members and superclass that the record names are not looked at.
    explicit TunerClassTreeItem(const RESOURCEMANAGEMENT::TunerClass& tunerClass);
    /// A tuner without parent; keeps an (implicitly shared) copy of the record.
    TunerClassTreeItem(const RESOURCEMANAGEMENT::Tuner& tuner, const QString& tunerID);
    ~TunerClassTreeItem();

    bool isRootItem() const noexcept { return m_kind == Kind::Root; }
    /// True for the root as well.
    bool isClassItem() const noexcept { return m_kind != Kind::Tuner; }
    bool isTunerItem() const noexcept { return m_kind == Kind::Tuner; }

    /// The class's GUID, the tuner's tuner ID, or "root".
    const QString& getID() const noexcept { return *m_id; }
    /// The class's name, or the tuner's display name.
    const QString& getName() const noexcept;
    void setName(const QString& name);
    /// Empty for tuners; so are the next two. To set them in a tuner does nothing.
    const QString& getDescription() const noexcept { return classPart().description; }
    void setDescription(const QString& description);
    /// Name of the resource demand class that a production on a tuner of this class needs.
    const QString& getRDC() const noexcept { return classPart().rdc; }
    void setRDC(const QString& rdc);
    /// The class's own cost penalty; 0 for the root and for tuners.
    int getCost() const noexcept { return m_cost; }
    void setCost(int cost);
    /// Whether the demand class means hardware processing.
    bool getHWProcessing() const noexcept { return classPart().hwProcessing; }
    void setHWProcessing(bool hwProcessing);
    /// The tuner's record; an empty one for the root and for classes.
    const RESOURCEMANAGEMENT::Tuner& getTuner() const noexcept;

    /// Empty for the root, for an item that was removed, and when the parent is gone.
    ptrTunerClassTreeItem getParent() const { return m_parent.lock(); }
    const Items& getChildren() const noexcept { return classPart().children; }
    /// Empty when `index` is out of range.
    ptrTunerClassTreeItem getChild(int index) const;
    int getNumberOfChildren() const noexcept { return static_cast<int>(getChildren().size()); }
    /// Tuners among the children.
    int getNumberOfTunerChildren() const noexcept { return classPart().tunerChildren; }
    /// Tuners anywhere below this item.
    int getNumberOfTunerDescendants() const;
    /// Position among the parent's children; 0 without a parent.
    int getTreeIndex() const;
    /// Number of ancestors: 0 for the root, 1 for a class directly below it.
    int getDepth() const;
    /// Sum of the cost penalties of this item and all its ancestors, kept within the range of int.
    int getPathCost() const;

    /// The child that is taken when the class is asked for its default tuner; may be empty.
    const ptrTunerClassTreeItem& getDefaultChild() const noexcept { return classPart().defaultChild; }
    bool isDefaultChild() const;
    /// Makes this item the default child of its parent; nothing happens without a parent.
    void makeDefaultChild();
    /// The tuner that the default children lead to, from here downwards; empty when they lead to none, and
    /// for a tuner.
    ptrTunerClassTreeItem getDefaultTuner() const;

    /// Moves this item, with all that is below it, below `newParent`. The first child of a parent whose ID is
    /// not "root" becomes its default child. What is left behind is treated as by deleteChild().
    /// Returns whether the item moved. Nothing happens when `newParent` is empty, a tuner, already the
    /// parent, this item itself or below it, or when this item is the root.
    bool setParent(const ptrTunerClassTreeItem& newParent);
    /// Appends a new class with a fresh GUID. Returns it; empty when this item is a tuner.
    ptrTunerClassTreeItem addChild(const QString& name, const QString& description);
    /// Removes the child at `index`; all classes below it vanish with it, and their tuners become children
    /// of this item. If it was the default child, child 0 takes over, child 1 if `index` is 0 (not simply the
    /// next one; this is meant); if it was the only child, the first of the tuners that came up, if any.
    /// False when `index` is out of range.
    bool deleteChild(int index);

    /// All tuners below this item.
    Items getTunerDescendants() const;
    /// The first item below this one for which `predicate` holds. It is asked about the items that are there
    /// when the search begins, whatever it does to the tree.
    ptrTunerClassTreeItem findDescendantRecursive(const Predicate& predicate) const;
    /// The first item below this one with that ID. Walks; TunerClassTree::findItemByID() looks it up.
    ptrTunerClassTreeItem findDescendantRecursive(const QString& id) const;
    /// Visits the items that are below this one at the time of the call, whatever the visitor does to them.
    void applyToAllDescendants(const Visitor& visitor) const;

    /// The class as a record, with superclass, default child and the IDs of its tuner children in the order
    /// of their attachment, so that a tree that is built from it has them in the same places.
    RESOURCEMANAGEMENT::TunerClass toTunerClass() const;
    /// Appends toTunerClass() of every class below this item.
    void addSubtreeXmlData(RESOURCEMANAGEMENT::TunerClassOverview& overview) const;

    TunerClassTreeItem(const TunerClassTreeItem&) = delete;
    TunerClassTreeItem& operator=(const TunerClassTreeItem&) = delete;

private:
    friend class TunerClassTree;
    friend class TunerClassTreeBuilder;

    enum class Kind : quint8 { Root, Class, Tuner };
    /// What the classes of one tree share: its tuners' records, and what has changed in it; the tree's
    /// look-ups are as old as that.
    struct Changes
    {
        QVector<RESOURCEMANAGEMENT::Tuner> records;
        quint64 revision = 0; ///< any change of structure, names or costs
        quint64 members = 0;  ///< an item came or went
    };

    /// What tuners do not have, of which there are many.
    struct ClassPart
    {
        QString id;
        QString description;
        QString rdc;
        bool hwProcessing = false;
        int tunerChildren = 0;
        qint64 firstPlace = 0; ///< place of child 0
        Items children;
        ptrTunerClassTreeItem defaultChild;
        std::shared_ptr<Changes> changes; ///< null outside of trees
    };

    /// A record that no tree holds.
    struct OwnRecord
    {
        RESOURCEMANAGEMENT::Tuner tuner;
        QString id;
    };

    /// A tuner below a class whose `changes` hold the record, of which `tunerID` is a part or lives for ever:
    /// to make it and to let it go touches no record.
    TunerClassTreeItem(const RESOURCEMANAGEMENT::Tuner* record, const QString* tunerID)
        : m_kind(Kind::Tuner), m_id(tunerID), m_record(record)
    {
    }

    /// Calls visit(item) for what is below this item, depth-first, until it returns false. The visitor must
    /// leave the tree as it is.
    template<class Visit>
    void walk(Visit visit) const
    {
        walk(visit, false);
    }
    /// The same for the classes alone.
    template<class Visit>
    void walkClasses(Visit visit) const
    {
        walk(visit, true);
    }
    template<class Visit>
    void walk(Visit& visit, bool classesOnly) const;
    const ClassPart& classPart() const noexcept;
    void keepRecord();
    bool isBelow(const TunerClassTreeItem& ancestor) const;
    void changed() const;
    std::shared_ptr<Changes> tree() const;
    void joinTree(const std::shared_ptr<Changes>& oldTree, const std::shared_ptr<Changes>& newTree);
    void insertChild(const ptrTunerClassTreeItem& child);
    void takeOutChild(int index);
    bool deleteChildInternal(int index, bool keepItem);
    int moveUpTuners(TunerClassTreeItem& removed);
    void empty(bool leavesTree);
    Items dissolve();

    Kind m_kind;
    int m_cost = 0;
    const QString* m_id; ///< in the class part, in the record, or in the own one
    QString m_name;      ///< null in a tuner that has the display name
    /// Tree index plus the parent's firstPlace: an insertion at either end renumbers nobody.
    qint64 m_place = 0;
    std::weak_ptr<TunerClassTreeItem> m_parent;
    std::unique_ptr<ClassPart> m_class;                  ///< null in tuners
    const RESOURCEMANAGEMENT::Tuner* m_record = nullptr; ///< the own one or the tree's; null in classes
    std::unique_ptr<OwnRecord> m_own;                    ///< of tuners that no tree holds, or did not make
};

template<class Visit>
void TunerClassTreeItem::walk(Visit& visit, bool classesOnly) const
{
    struct Level
    {
        Items::const_iterator next;
        Items::const_iterator end;
    };
    const auto levelOf = [classesOnly](const TunerClassTreeItem& item) {
        const Items& children = item.getChildren();
        return Level{children.begin() + (classesOnly ? item.getNumberOfTunerChildren() : 0), children.end()};
    };
    std::vector<Level> levels{levelOf(*this)};
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.end) {
            levels.pop_back();
            continue;
        }
        const ptrTunerClassTreeItem& item = *level.next++;
        if (!visit(item))
            return;
        if (!item->getChildren().empty())
            levels.push_back(levelOf(*item));
    }
}

} // namespace Kolta
