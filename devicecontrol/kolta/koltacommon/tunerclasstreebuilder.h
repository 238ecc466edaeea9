#pragma once

#include <koltacommon/idtable.h>
#include <koltacommon/tunerclasstreeitem.h>

#include <QString>
#include <QVector>

#include <limits>
#include <vector>

namespace Kolta {

/// Builds the items of a TunerClassTree from its two overviews, to the result that setting one parent after
/// the other would have, in linear time: it moves numbers in linked lists and makes the items' own lists of
/// children once, at the end. Used once.
class TunerClassTreeBuilder
{
public:
    TunerClassTreeBuilder(const RESOURCEMANAGEMENT::TunerClassOverview& tunerClasses,
                          const RESOURCEMANAGEMENT::ResourceOverview& resources);
    /// The root.
    ptrTunerClassTreeItem build();

private:
    static constexpr int kNone = -1;
    static constexpr int kRoot = 0; ///< its place in m_items and m_nodes

    /// Where an item stands: places in m_items.
    struct Node
    {
        int parent = kNone;
        int previous = kNone; ///< among the parent's children
        int next = kNone;
    };
    /// What stands below a class.
    struct Children
    {
        int first = kNone;
        int last = kNone;
        int byDefault = kNone;
    };

    void addTuners();
    void addClasses();
    void nestClasses();
    void chooseDefaultChildren();
    void makeItems();
    void add(ptrTunerClassTreeItem item);
    int find(const QString& id) const;
    void attach(int item, int parent);
    void link(int item, int parent);
    void unlink(int item);
    Node& nodeOf(int item) { return m_nodes[static_cast<std::size_t>(item)]; }
    const ptrTunerClassTreeItem& itemAt(int item) const { return m_items[static_cast<std::size_t>(item)]; }
    Children& childrenOf(int classItem);
    bool isTuner(int item) const { return item != kRoot && item < m_firstClass; }
    bool isBelow(int item, int ancestor);

    const RESOURCEMANAGEMENT::TunerClassOverview& m_tunerClasses;
    const QVector<RESOURCEMANAGEMENT::Tuner>& m_tuners;
    std::vector<ptrTunerClassTreeItem> m_items; ///< root, tuners, classes, each in the overview's order
    std::vector<Node> m_nodes;                  ///< by place in m_items
    std::vector<Children> m_children;           ///< of the root, then of the classes
    IdTable m_places;                           ///< in m_items; the root has none
    int m_firstClass = std::numeric_limits<int>::max();
};

} // namespace Kolta
