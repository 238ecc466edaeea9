#include <koltacommon/tunerclasscostfunction.h>

#include <koltacommon/tunerclasstree.h>

#include <algorithm>
#include <numeric>
#include <tuple>
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

} // namespace

/// Puts candidates into the order of choice.
class DefaultCostFunction::ChoiceSorter
{
public:
    using Iterator = std::vector<int>::iterator;

    explicit ChoiceSorter(const std::vector<TunerWeights>& candidates) : m_candidates(candidates) {}

    std::vector<int> sort()
    {
        std::vector<int> places(m_candidates.size());
        std::iota(places.begin(), places.end(), 0);
        std::sort(places.begin(), places.end(), [this](int a, int b) {
            return std::make_tuple(at(a).cost, at(a).depth, at(a).bandwidth) <
                   std::make_tuple(at(b).cost, at(b).depth, at(b).bandwidth);
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
        return at(a).cost == at(b).cost && at(a).depth == at(b).depth &&
               !isDecisive(at(a).bandwidth, at(b).bandwidth);
    }

    /// A run is ahead of all that follows it. Inside it bandwidth decides between ends alone, if at all.
    void sortRun(Iterator first, Iterator last)
    {
        const bool isChain = isDecisive(at(*first).bandwidth, at(*(last - 1)).bandwidth);
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
                if (isDecisive(link->bandwidth, best->bandwidth) ? link->bandwidth < best->bandwidth
                                                                 : link->rank < best->rank)
                    best = link;
            }
            *first = best->place;
            chain.erase(best);
        }
    }

    const std::vector<TunerWeights>& m_candidates;
};

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
    return item ? item->getPathCost() : kNotInTree;
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
    return makeWeights(tuner, calculateCost(tuner), item ? item->getDepth() : kNotInTree);
}

TunerWeights DefaultCostFunction::weigh(const TunerPlace& place)
{
    return makeWeights(*place.tuner, place.cost, place.depth);
}

TunerVerdict DefaultCostFunction::compareCapabilities(const TunerWeights& a, const TunerWeights& b)
{
    if (a.hardwareProcessing != b.hardwareProcessing)
        return {a.hardwareProcessing ? 1 : -1, TunerCriterion::HardwareProcessing};
    if (a.panoramaScan != b.panoramaScan)
        return {a.panoramaScan ? 1 : -1, TunerCriterion::PanoramaScan};
    const auto& first = a.tuner->GetTavikResource();
    const auto& second = b.tuner->GetTavikResource();
    if (const int names = QString::localeAwareCompare(first.GetDisplayName(), second.GetDisplayName()))
        return {names, TunerCriterion::DisplayName};
    if (const int guids = first.GetGUID().compare(second.GetGUID(), Qt::CaseSensitive))
        return {guids, TunerCriterion::Guid};
    return {0, TunerCriterion::ListOrder};
}

std::vector<int> DefaultCostFunction::orderOfChoice(const std::vector<TunerWeights>& candidates)
{
    return ChoiceSorter(candidates).sort();
}

} // namespace Kolta
