#include <koltacommon/tunerchooser.h>

#include <QHash>

#include <algorithm>
#include <functional>
#include <numeric>
#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

TunerChooser::TunerChooser(std::shared_ptr<TunerClassTree> tree,
                           std::shared_ptr<const AbstractTunerClassCostFunction> policy)
    : m_tree(std::move(tree)), m_policy(std::move(policy))
{
}

std::vector<int> TunerChooser::orderOfChoice(const std::vector<TunerWeights>& candidates) const
{
    if (knowsPolicy())
        return DefaultCostFunction::orderOfChoice(candidates);
    QVector<Tuner> rest;
    for (const TunerWeights& candidate : candidates)
        rest.append(*candidate.tuner);
    std::vector<int> positions(candidates.size());
    std::iota(positions.begin(), positions.end(), 0);
    std::vector<int> order;
    while (!rest.isEmpty()) {
        const int chosen = std::max(0, chosenBy(rest)); // whoever chooses none gets them as they are listed
        order.push_back(positions[static_cast<std::size_t>(chosen)]);
        rest.removeAt(chosen);
        positions.erase(positions.begin() + chosen);
    }
    return order;
}

TunerCriterion TunerChooser::criterion(const TunerWeights& first, const TunerWeights& second) const
{
    return knowsPolicy() ? DefaultCostFunction::compare(first, second).criterion : TunerCriterion::Policy;
}

std::vector<int> TunerChooser::orderOfCost(const std::vector<TunerWeights>& candidates) const
{
    if (knowsPolicy())
        return DefaultCostFunction::orderOfChoice(candidates);
    std::vector<int> order(candidates.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&candidates](int a, int b) {
        return candidates[static_cast<std::size_t>(a)].cost < candidates[static_cast<std::size_t>(b)].cost;
    });
    return order;
}

TunerWeights TunerChooser::weigh(const TunerPlace& place)
{
    TunerWeights weights = weightsOf(place);
    if (!knowsPolicy())
        weights.cost = m_policy->calculateCost(*place.tuner);
    return weights;
}

TunerWeights TunerChooser::weighOutsider(const Tuner& tuner) const
{
    const int depth = DefaultCostFunction::notInTree;
    return DefaultCostFunction::weigh(TunerPlace{&tuner, nullptr, m_policy->calculateCost(tuner), depth});
}

int TunerChooser::positionOf(const TunerPlace& place) const
{
    return static_cast<int>(place.tuner - m_tree->getResources().GetTuner().constData());
}

int TunerChooser::tunerCount() const
{
    return m_tree->getResources().GetTuner().size();
}

int TunerChooser::identityOf(const TunerPlace& place)
{
    if (m_identities.empty()) {
        QHash<QString, int> firstByGuid;
        firstByGuid.reserve(tunerCount());
        for (const Tuner& tuner : m_tree->getResources().GetTuner()) {
            const int position = static_cast<int>(m_identities.size());
            int& first = *firstByGuid.insert(tuner.GetTavikResource().GetGUID(),
                                             firstByGuid.value(tuner.GetTavikResource().GetGUID(), position));
            m_identities.push_back(first);
        }
    }
    return m_identities[static_cast<std::size_t>(positionOf(place))];
}

/// Whether the weights of this tree's places are what the policy goes by. A policy may be shared with others,
/// who give it other trees.
bool TunerChooser::knowsPolicy() const
{
    return DefaultCostFunction::isExactly(*m_policy) &&
           static_cast<const DefaultCostFunction&>(*m_policy).tree() == m_tree;
}

const TunerWeights& TunerChooser::weightsOf(const TunerPlace& place)
{
    if (m_weights.empty() || m_revision != m_tree->revision()) {
        m_revision = m_tree->revision();
        m_weights.assign(static_cast<std::size_t>(tunerCount()), TunerWeights{});
    }
    TunerWeights& weights = m_weights[static_cast<std::size_t>(positionOf(place))];
    if (!weights.tuner)
        weights = DefaultCostFunction::weigh(place);
    return weights;
}

/// Position of the policy's choice; -1 for its end, null, or anything outside the list.
int TunerChooser::chosenBy(const QVector<Tuner>& tuners) const
{
    if (tuners.isEmpty())
        return -1;
    const std::less<const Tuner*> isBefore;
    const Tuner* const chosen = m_policy->cheapestOf(tuners);
    const bool isInside = !isBefore(chosen, tuners.constBegin()) && isBefore(chosen, tuners.constEnd());
    return isInside ? static_cast<int>(chosen - tuners.constBegin()) : -1;
}

} // namespace Kolta
