#pragma once

#include <koltacommon/tunerclasscostfunction.h>
#include <koltacommon/tunerclasstree.h>

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

    /// Position of the chosen one among the places for which accept(place) holds; -1 when there is none.
    /// `accept` is called once per place, in order.
    template<class Accept>
    int choose(const Places& places, Accept accept)
    {
        return knowsPolicy() ? chooseByWeights(places, accept) : chooseByPolicy(places, accept);
    }
    /// The positions in the order in which they are chosen one after the other. Quadratic for policies other
    /// than the default one.
    std::vector<int> orderOfChoice(const std::vector<TunerWeights>& candidates) const;
    /// What puts the first candidate ahead of the second; both neighbours in the order of choice.
    TunerCriterion criterion(const TunerWeights& first, const TunerWeights& second) const;
    /// The positions by increasing cost; of equal cost, in the order of choice as far as that takes no more
    /// than sorting.
    std::vector<int> orderOfCost(const std::vector<TunerWeights>& candidates) const;

    /// What the default policy weighs, with the cost that the policy in use calculates.
    TunerWeights weigh(const TunerPlace& place);
    /// The same for a tuner without a place in the tree.
    TunerWeights weighOutsider(const RESOURCEMANAGEMENT::Tuner& tuner) const;

    /// Number of the tuner in the overview.
    int positionOf(const TunerPlace& place) const;
    int tunerCount() const;
    /// Number of the first tuner in the overview that has the same GUID: one number for what is one tuner.
    int identityOf(const TunerPlace& place);

private:
    bool knowsPolicy() const;
    const TunerWeights& weightsOf(const TunerPlace& place);
    int chosenBy(const QVector<RESOURCEMANAGEMENT::Tuner>& tuners) const;

    template<class Accept>
    int chooseByWeights(const Places& places, Accept& accept)
    {
        int best = -1;
        TunerWeights bestWeights{};
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (!accept(places[i]))
                continue;
            const TunerWeights& weights = weightsOf(places[i]);
            if (best < 0 || DefaultCostFunction::compare(weights, bestWeights).order < 0) {
                best = static_cast<int>(i);
                bestWeights = weights;
            }
        }
        return best;
    }

    template<class Accept>
    int chooseByPolicy(const Places& places, Accept& accept)
    {
        QVector<RESOURCEMANAGEMENT::Tuner> tuners;
        std::vector<int> positions;
        for (std::size_t i = 0; i < places.size(); ++i) {
            if (!accept(places[i]))
                continue;
            tuners.append(*places[i].tuner);
            positions.push_back(static_cast<int>(i));
        }
        const int chosen = chosenBy(tuners);
        return chosen < 0 ? -1 : positions[static_cast<std::size_t>(chosen)];
    }

    std::shared_ptr<TunerClassTree> m_tree;
    std::shared_ptr<const AbstractTunerClassCostFunction> m_policy;
    quint64 m_revision = 0;              ///< of the tree, for m_weights
    std::vector<TunerWeights> m_weights; ///< by number in the overview; without tuner until asked for
    std::vector<int> m_identities;       ///< by number in the overview; made on first use
};

} // namespace Kolta
