#pragma once

#include <koltacommon/tunerclasstreeitem.h>

#include <QHash>
#include <QString>
#include <QVector>

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
    static constexpr int none = -1;
    static constexpr int root = 0; ///< its place in m_items and m_nodes

    /// Where an item stands: indices into m_items.
    struct Node
    {
        int parent = none;
        int previous = none; ///< among the parent's children
        int next = none;
        int firstChild = none;
        int lastChild = none;
        int children = 0;
        int defaultChild = none;
    };

    void addTuners();
    void addClasses();
    void nestClasses();
    void chooseDefaultChildren();
    void makeItems();
    void add(const ptrTunerClassTreeItem& item);
    int find(const QString& id) const;
    void attach(int item, int parent);
    void link(int item, int parent);
    void unlink(int item);
    bool isBelow(int item, int ancestor) const;

    const RESOURCEMANAGEMENT::TunerClassOverview& m_tunerClasses;
    const QVector<RESOURCEMANAGEMENT::Tuner>& m_tuners;
    std::vector<ptrTunerClassTreeItem> m_items; ///< root, tuners, classes, each in the overview's order
    std::vector<Node> m_nodes;                  ///< by place in m_items
    QHash<QString, int> m_places;               ///< of the first item with an ID; the root has none
    int m_firstClass = none;
};

} // namespace Kolta
