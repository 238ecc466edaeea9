#pragma once

#include <koltacommon/tunerclasscostfunction.h>
#include <koltacommon/tunerclasstree.h>
#include <koltacommon/tunerselection.h>

#include <QHash>

#include <memory>
#include <vector>

namespace Kolta {

/// Chooses among the tuners of one tree as a policy says; the one place where that happens.
///
/// For the default policy nothing is copied, and what it weighs in a tuner is remembered until the tree
/// changes. Any other policy is asked through its virtual operations, with lists of records. Places must
/// come from the same tree. Not thread-safe.
class TunerChooser
{
public:
    using Places = std::vector<TunerPlace>;

    TunerChooser(std::shared_ptr<TunerClassTree> tree,
                 std::shared_ptr<const AbstractTunerClassCostFunction> policy);

    const TunerClassTree& tree() const noexcept { return *m_tree; }

    /// Goes on with another resource overview, of which only what is different is looked at. False, and
    /// nothing happens, when the tree must be built anew, or is in other hands than this chooser's and its
    /// policy's, which go on with the tree as it is.
    bool refresh(const RESOURCEMANAGEMENT::ResourceOverview& resources);

    /// Position of the chosen one among the places that the filter accepts; -1 when there is none. The filter
    /// is asked once per place, in order.
    int choose(const ptrTunerPlaces& places, const TunerFilter& filter);
    /// The same among the places whose tuner has no holder yet, by identity (see identityOf()).
    int chooseUnheld(const ptrTunerPlaces& places, const std::vector<int>& holders);
    /// The positions in the order in which they are chosen one after the other, without those that the policy
    /// leaves when it chooses none. Quadratic for policies other than the default one.
    std::vector<int> orderOfChoice(const std::vector<TunerWeights>& candidates) const;
    /// What puts the first candidate ahead of the second; both neighbours in the order of choice.
    TunerCriterion criterion(const TunerWeights& first, const TunerWeights& second) const;
    /// The positions by increasing cost; of equal cost, in the order of choice as far as that takes no more
    /// than sorting.
    std::vector<int> orderOfCost(const std::vector<TunerWeights>& candidates) const;

    /// What the default policy weighs, with the cost that the policy in use calculates.
    TunerWeights weigh(const TunerPlace& place) const;
    /// The same for a tuner without a place in the tree.
    TunerWeights weighOutsider(const RESOURCEMANAGEMENT::Tuner& tuner) const;

    /// Number of the tuner in the overview.
    int positionOf(const TunerPlace& place) const;
    int tunerCount() const;
    /// Number of the first tuner in the overview that has the same GUID: one number for what is one tuner.
    int identityOf(const TunerPlace& place);

private:
    /// What there is to know of the tuners of one list, in its order.
    struct Ranked
    {
        ptrTunerPlaces places; ///< held, so that no other list gets its address
        std::vector<TunerWeights> weights;
        std::vector<TunerRefusal> states;
    };

    bool knowsPolicy() const;
    std::shared_ptr<const Ranked> rank(const ptrTunerPlaces& places);
    static void rankAnew(Ranked& ranked, const RESOURCEMANAGEMENT::Tuner& tuner);
    template<class Accept>
    int chooseByPolicy(const Places& places, Accept accept) const;

    std::shared_ptr<TunerClassTree> m_tree;
    std::shared_ptr<const AbstractTunerClassCostFunction> m_policy;
    quint64 m_revision = 0; ///< of the tree, for m_ranked
    QHash<const Places*, std::shared_ptr<Ranked>> m_ranked;
    std::size_t m_rankedTuners = 0;
    std::vector<int> m_identities; ///< by number in the overview; made on first use
};

} // namespace Kolta
