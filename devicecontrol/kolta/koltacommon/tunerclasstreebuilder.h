#pragma once

#include <koltacommon/idtable.h>
#include <koltacommon/tunerclasstreeitem.h>

#include <QString>
#include <QVector>

#include <vector>

namespace Kolta {

/// Builds the items of a TunerClassTree from its two overviews, to the result that setting one parent after
/// the other would have, in linear time: it moves numbers in linked lists and makes the items at the end,
/// each once and next to its siblings in memory. Used once; the overviews must outlive it.
class TunerClassTreeBuilder
{
public:
    TunerClassTreeBuilder(const RESOURCEMANAGEMENT::TunerClassOverview& tunerClasses,
                          const RESOURCEMANAGEMENT::ResourceOverview& resources);
    /// The root.
    ptrTunerClassTreeItem build();

private:
    static constexpr int kNone = -1;
    static constexpr int kRoot = 0; ///< its place; then come the tuners and the classes, as listed

    /// Where an item stands, in places.
    struct Node
    {
        int parent = kNone;   ///< of a tuner without ID there is none
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

    /// An ID in the overviews, and its characters within reach, so that a comparison need not look for them.
    struct Id
    {
        const QString* text = nullptr;
        QStringView view;
    };

    void addTuners();
    void addClasses();
    void addMembers(const QVector<QString>& ids, int parent);
    void nestClasses();
    void chooseDefaultChildren();
    ptrTunerClassTreeItem makeItems() const;
    ptrTunerClassTreeItem makeTuner(int place) const;
    void add(int place, const QString& id);
    void attach(int item, int parent);
    void link(int item, int parent);
    void unlink(int item);
    Node& nodeOf(int item) { return m_nodes[static_cast<std::size_t>(item)]; }
    const Node& nodeOf(int item) const { return m_nodes[static_cast<std::size_t>(item)]; }
    const QString& idOf(int item) const { return *m_ids[static_cast<std::size_t>(item)].text; }
    auto idAt() const
    {
        return [this](int place) { return m_ids[static_cast<std::size_t>(place)].view; };
    }
    /// Of the root 0, of the classes from 1.
    std::size_t numberOf(int classItem) const
    {
        return static_cast<std::size_t>(classItem == kRoot ? 0 : 1 + classItem - m_firstClass);
    }
    Children& childrenOf(int classItem) { return m_children[numberOf(classItem)]; }
    bool isTuner(int item) const { return item != kRoot && item < m_firstClass; }
    bool isBelow(int item, int ancestor);

    const RESOURCEMANAGEMENT::TunerClassOverview& m_tunerClasses;
    const QVector<RESOURCEMANAGEMENT::Tuner>& m_tuners;
    const int m_firstClass; ///< place of the first class
    const int m_size;
    std::vector<Node> m_nodes;        ///< by place
    std::vector<Id> m_ids;            ///< by place
    std::vector<Children> m_children; ///< by number
    IdTable m_places;                 ///< by ID; the root has none
    std::vector<uint> m_hashes;       ///< of the IDs that a class lists
};

} // namespace Kolta
