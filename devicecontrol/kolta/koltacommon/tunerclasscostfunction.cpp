#include <koltacommon/tunerclasscostfunction.h>

#include <koltacommon/tunerclasstree.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <typeinfo>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;

namespace {

double bandwidthOf(const Tuner& tuner)
{
    const double software = tuner.IsMaxSWBandwidthSet() && tuner.GetMaxSWBandwidth() > 0.0 // false for NaN
                                ? tuner.GetMaxSWBandwidth()
                                : 0.0;
    return tuner.IsMaxHWBandwidthSet() ? std::max(software, tuner.GetMaxHWBandwidth()) : software;
}

TunerWeights makeWeights(const Tuner& tuner, int cost, int depth)
{
    return {&tuner,
            cost,
            depth,
            bandwidthOf(tuner),
            tuner.IsSupportsHardwareProcessingSet() && tuner.GetSupportsHardwareProcessing(),
            tuner.IsSupportsPScanSet() && tuner.GetSupportsPScan()};
}

template<class Value>
int order(const Value& a, const Value& b)
{
    return a < b ? -1 : b < a ? 1 : 0;
}

/// The criteria before the bandwidth.
TunerVerdict comparePlace(const TunerWeights& a, const TunerWeights& b)
{
    if (a.cost != b.cost)
        return {order(a.cost, b.cost), TunerCriterion::Cost};
    return {order(a.depth, b.depth), TunerCriterion::Depth};
}

int compareBandwidth(double a, double b)
{
    return std::abs(a - b) >= 1.0 ? order(a, b) : 0; // two infinite ones do not differ
}

/// The criteria after the bandwidth.
TunerVerdict compareCapabilities(const TunerWeights& a, const TunerWeights& b)
{
    if (a.hardwareProcessing != b.hardwareProcessing)
        return {order(a.hardwareProcessing, b.hardwareProcessing), TunerCriterion::HardwareProcessing};
    if (a.panoramaScan != b.panoramaScan)
        return {order(a.panoramaScan, b.panoramaScan), TunerCriterion::PanoramaScan};
    const auto& first = a.tuner->GetTavikResource();
    const auto& second = b.tuner->GetTavikResource();
    if (const int names = QString::localeAwareCompare(first.GetDisplayName(), second.GetDisplayName()))
        return {names, TunerCriterion::DisplayName};
    if (const int guids = first.GetGUID().compare(second.GetGUID(), Qt::CaseSensitive))
        return {guids, TunerCriterion::Guid};
    return {0, TunerCriterion::ListOrder};
}

/// Puts part of a list of candidates into the order of choice.
class ChoiceSorter
{
public:
    using Iterator = std::vector<int>::iterator;

    explicit ChoiceSorter(const std::vector<TunerWeights>& candidates) : m_candidates(candidates) {}

    std::vector<int> sort()
    {
        std::vector<int> places(m_candidates.size());
        std::iota(places.begin(), places.end(), 0);
        std::sort(places.begin(), places.end(), [this](int a, int b) {
            const int byPlace = comparePlace(at(a), at(b)).order;
            return byPlace ? byPlace < 0 : at(a).bandwidth < at(b).bandwidth;
        });
        for (auto first = places.begin(); first != places.end();) {
            auto last = first + 1;
            while (last != places.end() && isNeighbour(*(last - 1), *last))
                ++last;
            sortRun(first, last);
            first = last;
        }
        return places;
    }

private:
    const TunerWeights& at(int place) const { return m_candidates[static_cast<std::size_t>(place)]; }

    bool isNeighbour(int a, int b) const
    {
        return comparePlace(at(a), at(b)).order == 0 &&
               compareBandwidth(at(a).bandwidth, at(b).bandwidth) == 0;
    }

    /// A run is ahead of all that follows it. Inside it bandwidth decides between ends alone, if at all.
    void sortRun(Iterator first, Iterator last)
    {
        const bool isChain = compareBandwidth(at(*first).bandwidth, at(*(last - 1)).bandwidth) != 0;
        std::sort(first, last, [this](int a, int b) {
            const int verdict = compareCapabilities(at(a), at(b)).order;
            return verdict ? verdict < 0 : a < b;
        });
        if (isChain)
            chooseOneByOne(first, last);
    }

    /// Repeats the scan on ranks instead of names.
    void chooseOneByOne(Iterator first, Iterator last)
    {
        struct Link
        {
            int place;
            int rank;
            double bandwidth;
        };
        std::vector<Link> chain;
        for (auto place = first; place != last; ++place) {
            const bool isTie = place != first && compareCapabilities(at(*(place - 1)), at(*place)).order == 0;
            const int rank = chain.empty() ? 0 : chain.back().rank + !isTie;
            chain.push_back({*place, rank, at(*place).bandwidth});
        }
        std::sort(chain.begin(), chain.end(), [](const Link& a, const Link& b) { return a.place < b.place; });
        for (; first != last; ++first) {
            auto best = chain.begin();
            for (auto link = best + 1; link != chain.end(); ++link) {
                const int byBandwidth = compareBandwidth(link->bandwidth, best->bandwidth);
                if (byBandwidth ? byBandwidth < 0 : link->rank < best->rank)
                    best = link;
            }
            *first = best->place;
            chain.erase(best);
        }
    }

    const std::vector<TunerWeights>& m_candidates;
};

} // namespace

AbstractTunerClassCostFunction::~AbstractTunerClassCostFunction() = default;

QVector<Tuner>::const_iterator AbstractTunerClassCostFunction::cheapestOf(const QVector<Tuner>& tuners) const
{
    auto best = tuners.constBegin();
    for (auto tuner = best; tuner != tuners.constEnd(); ++tuner) {
        if (tuner != best && cheaperThan(*tuner, *best))
            best = tuner;
    }
    return best;
}

void DefaultCostFunction::init(const std::shared_ptr<TunerClassTree>& tree)
{
    m_tree = tree;
}

int DefaultCostFunction::calculateCost(const Tuner& tuner) const
{
    if (!m_tree)
        return -1;
    const ptrTunerClassTreeItem item = m_tree->findItemForTuner(tuner);
    return item ? item->getPathCost() : notInTree;
}

bool DefaultCostFunction::cheaperThan(const Tuner& a, const Tuner& b) const
{
    return compare(weigh(a), weigh(b)).order < 0;
}

QVector<Tuner>::const_iterator DefaultCostFunction::cheapestOf(const QVector<Tuner>& tuners) const
{
    if (!isExactly(*this) || tuners.isEmpty())
        return AbstractTunerClassCostFunction::cheapestOf(tuners);
    auto best = tuners.constBegin();
    TunerWeights bestWeights = weigh(*best);
    for (auto tuner = best + 1; tuner != tuners.constEnd(); ++tuner) {
        const TunerWeights weights = weigh(*tuner);
        if (compare(weights, bestWeights).order < 0) {
            best = tuner;
            bestWeights = weights;
        }
    }
    return best;
}

bool DefaultCostFunction::isExactly(const AbstractTunerClassCostFunction& policy)
{
    return typeid(policy) == typeid(DefaultCostFunction);
}

TunerWeights DefaultCostFunction::weigh(const Tuner& tuner) const
{
    const ptrTunerClassTreeItem item = m_tree ? m_tree->findItemForTuner(tuner) : nullptr;
    // Virtual on purpose: who replaces the cost keeps the other criteria.
    return makeWeights(tuner, calculateCost(tuner), item ? item->getDepth() : notInTree);
}

TunerWeights DefaultCostFunction::weigh(const TunerPlace& place)
{
    return makeWeights(*place.tuner, place.cost, place.depth);
}

TunerVerdict DefaultCostFunction::compare(const TunerWeights& a, const TunerWeights& b)
{
    const TunerVerdict byPlace = comparePlace(a, b);
    if (byPlace.order)
        return byPlace;
    if (const int byBandwidth = compareBandwidth(a.bandwidth, b.bandwidth))
        return {byBandwidth, TunerCriterion::Bandwidth};
    return compareCapabilities(a, b);
}

std::vector<int> DefaultCostFunction::orderOfChoice(const std::vector<TunerWeights>& candidates)
{
    return ChoiceSorter(candidates).sort();
}

} // namespace Kolta
