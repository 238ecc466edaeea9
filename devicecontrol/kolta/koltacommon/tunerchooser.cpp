#include <koltacommon/tunerchooser.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

constexpr std::size_t kRankedPerTuner = 16; // bound of what is kept, as in the tree

/// Position of the policy's choice; -1 for its end, null, or anything outside the list.
int chosenBy(const AbstractTunerClassCostFunction& policy, const QVector<Tuner>& tuners)
{
    if (tuners.isEmpty())
        return -1;
    const std::less<const Tuner*> isBefore;
    const Tuner* const chosen = policy.cheapestOf(tuners);
    const bool isInside = !isBefore(chosen, tuners.constBegin()) && isBefore(chosen, tuners.constEnd());
    return isInside ? static_cast<int>(chosen - tuners.constBegin()) : -1;
}

/// The scan from the front. `accept` is asked first, `acceptBest` only about what would be the best so far.
template<class Accept, class AcceptBest>
int scan(const std::vector<TunerWeights>& weights, Accept accept, AcceptBest acceptBest)
{
    const TunerWeights* best = nullptr;
    std::size_t position = 0;
    for (const TunerWeights& candidate : weights) {
        if (accept(position) && (!best || DefaultCostFunction::compare(candidate, *best).order < 0) &&
            acceptBest(position)) {
            best = &candidate;
        }
        ++position;
    }
    return best ? static_cast<int>(best - weights.data()) : -1;
}

} // namespace

TunerChooser::TunerChooser(std::shared_ptr<TunerClassTree> tree,
                           std::shared_ptr<const AbstractTunerClassCostFunction> policy)
    : m_tree(std::move(tree)), m_policy(std::move(policy))
{
}

bool TunerChooser::refresh(const RESOURCEMANAGEMENT::ResourceOverview& resources)
{
    constexpr int kOwnHandles = 2; // this chooser's and the default policy's
    std::vector<int> changed;
    const Tuner* const address = m_tree->getResources().GetTuner().constData();
    if (!knowsPolicy() || m_tree.use_count() > kOwnHandles || !m_tree->refresh(resources, changed))
        return false;
    m_identities.clear();
    const QVector<Tuner>& tuners = m_tree->getResources().GetTuner();
    if (tuners.constData() != address) {
        m_ranked.clear();
        m_rankedTuners = 0;
    }
    for (const std::shared_ptr<Ranked>& ranked : qAsConst(m_ranked)) {
        for (const int place : changed)
            rankAnew(*ranked, tuners.at(place));
    }
    return true;
}

template<class Accept>
int TunerChooser::chooseByPolicy(const Places& places, Accept accept) const
{
    QVector<Tuner> tuners;
    std::vector<int> positions;
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (!accept(places[i]))
            continue;
        tuners.append(*places[i].tuner);
        positions.push_back(static_cast<int>(i));
    }
    const int chosen = chosenBy(*m_policy, tuners);
    return chosen < 0 ? -1 : positions[static_cast<std::size_t>(chosen)];
}

int TunerChooser::choose(const ptrTunerPlaces& places, const TunerFilter& filter)
{
    if (!knowsPolicy()) {
        return chooseByPolicy(*places, [&filter](const TunerPlace& place) {
            return filter.refusalOf(*place.tuner) == TunerRefusal::None;
        });
    }
    const std::shared_ptr<const Ranked> ranked = rank(places);
    const auto accept = [&filter, &ranked](std::size_t position) {
        const Tuner& tuner = *ranked->weights[position].tuner;
        return filter.refusalOf(tuner, ranked->states[position]) == TunerRefusal::None;
    };
    return scan(ranked->weights, accept, [](std::size_t) { return true; });
}

int TunerChooser::chooseUnheld(const ptrTunerPlaces& places, const std::vector<int>& holders)
{
    const auto isUnheld = [this, &holders](const TunerPlace& place) {
        return holders[static_cast<std::size_t>(identityOf(place))] < 0;
    };
    if (!knowsPolicy())
        return chooseByPolicy(*places, isUnheld);
    return scan(
        rank(places)->weights, [](std::size_t) { return true; },
        [&places, &isUnheld](std::size_t position) { return isUnheld((*places)[position]); });
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
        const int chosen = chosenBy(*m_policy, rest);
        if (chosen < 0)
            break;
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

TunerWeights TunerChooser::weigh(const TunerPlace& place) const
{
    TunerWeights weights = DefaultCostFunction::weigh(place);
    if (!knowsPolicy())
        weights.cost = m_policy->calculateCost(*place.tuner);
    return weights;
}

TunerWeights TunerChooser::weighOutsider(const Tuner& tuner) const
{
    const int depth = DefaultCostFunction::kNotInTree;
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

/// Made once per list and kept until the tree changes.
std::shared_ptr<const TunerChooser::Ranked> TunerChooser::rank(const ptrTunerPlaces& places)
{
    const bool isFull = m_rankedTuners > kRankedPerTuner * static_cast<std::size_t>(tunerCount());
    if (isFull || m_revision != m_tree->revision()) {
        m_revision = m_tree->revision();
        m_ranked.clear();
        m_rankedTuners = 0;
    }
    std::shared_ptr<Ranked>& entry = m_ranked[places.get()];
    if (!entry) {
        auto ranked = std::make_shared<Ranked>();
        ranked->places = places;
        ranked->weights.reserve(places->size());
        ranked->states.reserve(places->size());
        for (const TunerPlace& place : *places) {
            ranked->weights.push_back(DefaultCostFunction::weigh(place));
            ranked->states.push_back(TunerFilter::refusalByState(*place.tuner));
        }
        m_rankedTuners += places->size();
        entry = std::move(ranked);
    }
    return entry;
}

/// Weighs the tuner again if it is one of the list, which is in the order of the overview.
void TunerChooser::rankAnew(Ranked& ranked, const Tuner& tuner)
{
    const auto isBefore = [](const TunerPlace& place, const Tuner* other) { return place.tuner < other; };
    const auto place = std::lower_bound(ranked.places->begin(), ranked.places->end(), &tuner, isBefore);
    if (place == ranked.places->end() || place->tuner != &tuner)
        return;
    const auto position = static_cast<std::size_t>(place - ranked.places->begin());
    ranked.weights[position] = DefaultCostFunction::weigh(*place);
    ranked.states[position] = TunerFilter::refusalByState(tuner);
}

} // namespace Kolta
