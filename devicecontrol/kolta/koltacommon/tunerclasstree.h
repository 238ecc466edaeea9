#pragma once

#include <koltacommon/export.h>
#include <koltacommon/tunerclasstreeitem.h>

#include <resourcemodel/demandclasses.h>
#include <resourcemodel/tunerclasses.h>

#include <QString>
#include <QVector>

#include <memory>
#include <utility>
#include <vector>

namespace Kolta {

/// Where a tuner of the resource overview stands in the tree, for those who compare many tuners.
struct TunerPlace
{
    const RESOURCEMANAGEMENT::Tuner* tuner; ///< in the tree's resource overview; good as long as the tree
    const TunerClassTreeItem* item;         ///< what findItemByID() finds for it; good until the tree changes
    int cost;                               ///< the item's path cost
    int depth;                              ///< the item's depth
};

/// The tuners of one class.
using ptrTunerPlaces = std::shared_ptr<const std::vector<TunerPlace>>;

/// The tuners of an installation, arranged in its tuner classes, as the tuner class overview and the resource
/// overview say.
///
/// Classes and tuners are told apart by their IDs: a class by its GUID, a tuner by the tuner ID that the
/// tuner class overview chooses (see TunerIdGetter). What the overviews say is taken in order; what makes no
/// sense is passed over:
/// - a tuner without tuner ID is not in the tree; tuners that no class lists stay below the root, in reverse
///   order of the overview;
/// - an ID that occurs more than once means the first in this order: tuners, then classes, each as listed;
/// - a tuner that two classes list belongs to the last of them; listing it twice in one class counts once;
/// - a member that is unknown, the class itself or encloses it, and a superclass that is unknown, a tuner,
///   the class itself or below it, is ignored: the item stays where it is, at first below the root. Of
///   several superclasses that form a circle so the last one listed stays below the root;
/// - a class that lists the GUID of a class listed before it gets that class as a child;
/// - a default child that is unknown or no child of the class is ignored; the first child attached is it;
/// - an empty ID names nothing.
/// Building takes time in proportion to both overviews; a list of nested classes that have members of their
/// own before they get their superclass costs the depth of nesting on top.
///
/// Searches for what does not exist yield an empty handle or list; nothing throws. Look-ups by ID and the
/// tuners of a class are indexed on first use after a change. Not thread-safe, queries included.
class KOLTA_COMMON_EXPORT TunerClassTree
{
public:
    using Items = TunerClassTreeItem::Items;

    /// Keeps (implicitly shared) copies of both overviews.
    TunerClassTree(const RESOURCEMANAGEMENT::TunerClassOverview& tunerClasses,
                   const RESOURCEMANAGEMENT::ResourceOverview& resources);
    ~TunerClassTree();

    /// A new tree built from the two overviews of this one; what was changed in the items since is not in it.
    std::shared_ptr<TunerClassTree> clone() const;
    /// Replaces the classes of the held overview by default classes made from the tuners' types and
    /// bandwidths (see makeDefaultTunerClasses()), and builds the tree anew.
    void createDefaultHierarchy(const QVector<RESOURCEMANAGEMENT::ResourceDemandClass>& demandClasses);
    /// Takes over a resource overview whose tuners have the same tuner IDs at the same places, as when only
    /// their states changed, without building anything anew. The places in `changed` are those of other
    /// records than before; what getTunerPlacesOfClass() gave stays good if the tuners keep their addresses
    /// (see getResources()). False, and nothing happens, when the tree must be built anew: also after it was
    /// changed itself, or when tuner IDs are not unique.
    bool refresh(const RESOURCEMANAGEMENT::ResourceOverview& resources, std::vector<int>& changed);
    /// The held overview with the classes of the tree as it is now. A tree built from it is equal save
    /// for the tuners below the root (their order, and those that were deleted, come back from the resources)
    /// and the root's default child.
    RESOURCEMANAGEMENT::TunerClassOverview createOverview() const;

    /// The tuner class overview that the tree was built from.
    const RESOURCEMANAGEMENT::TunerClassOverview& getOriginalTunerClassOverview() const noexcept;
    const RESOURCEMANAGEMENT::ResourceOverview& getResources() const noexcept { return m_resources; }
    const ptrTunerClassTreeItem& getRootItem() const noexcept { return m_root; }

    /// The first item, depth-first, with that ID; the root for "root" if no other item is called so.
    ptrTunerClassTreeItem findItemByID(const QString& id) const;
    /// The first class, depth-first, with exactly that name. The root is no class by its name.
    ptrTunerClassTreeItem findClassItemByName(const QString& name) const;
    /// The item of that tuner, by its tuner ID; never the root, whatever the tuner is called.
    ptrTunerClassTreeItem findItemForTuner(const RESOURCEMANAGEMENT::Tuner& tuner) const;
    /// The parent of the tuner's item: its class, or the root.
    ptrTunerClassTreeItem getClassForTuner(const RESOURCEMANAGEMENT::Tuner& tuner) const;

    /// Every tuner of the resource overview whose tuner ID is that of a tuner below the named class, in the
    /// order of the overview. Never null. The list is made once and shared until the tree changes (see
    /// revision()); holding the handle keeps the list, not what it points to.
    ptrTunerPlaces getTunerPlacesOfClass(const QString& className) const;
    /// Copies of the same tuners' records.
    QVector<RESOURCEMANAGEMENT::Tuner> getAllTunerDescendantsOfClass(const QString& className) const;

    /// The default tuner of every class that has one, classes depth-first; a tuner appears once per class.
    Items getAllDefaultTuners() const;
    /// The classes, depth-first, whose default tuner has the tuner ID of the given one.
    Items getAllClassesWithDefaultTuner(const RESOURCEMANAGEMENT::Tuner& tuner) const;

    /// The records of the tuners among `items`.
    static QVector<RESOURCEMANAGEMENT::Tuner> getTunerObjects(const Items& items);
    /// Records of the classes among `items`, the root left out.
    static QVector<RESOURCEMANAGEMENT::TunerClass> getTunerClassObjects(const Items& items);

    /// The tuner ID that the held tuner class overview chooses.
    QString resolveTunerID(const RESOURCEMANAGEMENT::Tuner& tuner) const;

    /// Grows whenever an item comes, goes or moves, or the name or cost of one changes: what was derived from
    /// the tree under another revision is out of date.
    quint64 revision() const noexcept;

    TunerClassTree(const TunerClassTree&) = delete;
    TunerClassTree& operator=(const TunerClassTree&) = delete;

private:
    struct ItemIndex;
    struct PlaceIndex;

    void initTree();
    const ItemIndex& itemIndex() const;
    PlaceIndex& placeIndex() const;
    std::vector<std::pair<ptrTunerClassTreeItem, ptrTunerClassTreeItem>> defaultTuners() const;

    RESOURCEMANAGEMENT::TunerClassOverview m_tunerClasses;
    RESOURCEMANAGEMENT::ResourceOverview m_resources;
    ptrTunerClassTreeItem m_root;
    quint64 m_firstRevision = 0; ///< revisions of the roots before this one
    quint64 m_builtRevision = 0; ///< of the root when it was built
    mutable std::unique_ptr<ItemIndex> m_itemIndex;
    mutable std::unique_ptr<PlaceIndex> m_placeIndex;
};

} // namespace Kolta
