#include <koltacommon/tunerclassresourceselector.h>

#include <koltacommon/tunerchooser.h>
#include <koltacommon/tunerclasstree.h>

#include <resourcemodel/tunerclasses.h>

#include <QCoreApplication>
#include <QHash>

#include <utility>

namespace Kolta {

using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClassOverview;

struct TunerClassResourceSelector::Private
{
    ResourceOverview resources;
    TunerClassOverview tunerClasses;
    std::shared_ptr<AbstractTunerClassCostFunction> costFunction;
    std::shared_ptr<TunerChooser> chooser; ///< with the tree
    bool treeBuilt = false;
    bool classesChanged = false; ///< since it was built

    /// A query holds what it gets here: user code that it calls may cause the next tree to be built.
    std::shared_ptr<TunerChooser> ensureTree()
    {
        // Nobody else may hold a chooser that changes: a query that is under way goes on with what it has.
        if (!treeBuilt && chooser.use_count() == 1 && !classesChanged)
            treeBuilt = chooser->refresh(resources);
        if (!treeBuilt) {
            classesChanged = false;
            const auto tree = std::make_shared<TunerClassTree>(tunerClasses, resources);
            chooser = std::make_shared<TunerChooser>(tree, costFunction);
            costFunction->init(tree);
            treeBuilt = true;
        }
        return chooser;
    }
};

namespace {

constexpr int kNone = -1;

TunerCandidate makeCandidate(const TunerWeights& weights, TunerRefusal refusal)
{
    return {*weights.tuner,
            weights.cost,
            weights.depth,
            weights.bandwidth,
            weights.hardwareProcessing,
            weights.panoramaScan,
            refusal,
            TunerCriterion::None,
            QString()};
}

/// Candidates of one kind, to be appended in the order of choice.
struct Candidates
{
    std::vector<TunerWeights> weights;
    std::vector<TunerRefusal> refusals;

    void add(const TunerWeights& candidate, TunerRefusal refusal)
    {
        weights.push_back(candidate);
        refusals.push_back(refusal);
    }

    void appendTo(QVector<TunerCandidate>& list, const TunerChooser& chooser) const
    {
        const TunerWeights* previous = nullptr;
        std::vector<char> isPlaced(weights.size(), false);
        for (const int index : chooser.orderOfChoice(weights)) {
            const auto i = static_cast<std::size_t>(index);
            isPlaced[i] = true;
            if (previous && refusals[i] == TunerRefusal::None)
                list.last().ahead = chooser.criterion(*previous, weights[i]);
            previous = &weights[i];
            list.append(makeCandidate(weights[i], refusals[i]));
        }
        for (std::size_t i = 0; i < weights.size(); ++i) {
            const bool isAccepted = refusals[i] == TunerRefusal::None;
            if (!isPlaced[i])
                list.append(makeCandidate(weights[i], isAccepted ? TunerRefusal::NotChosen : refusals[i]));
        }
    }
};

/// Hands out tuners, each once.
class TunerHandOut
{
public:
    explicit TunerHandOut(TunerChooser& chooser)
        : m_chooser(chooser), m_holders(static_cast<std::size_t>(chooser.tunerCount()), kNone)
    {
    }

    /// The place that the request gets; null when none is left.
    const TunerPlace* next(const ptrTunerPlaces& places, int request)
    {
        const int chosen = m_chooser.chooseUnheld(places, m_holders);
        if (chosen == kNone)
            return nullptr;
        const TunerPlace& place = (*places)[static_cast<std::size_t>(chosen)];
        holderOf(place) = request;
        return &place;
    }

    /// The request that got the tuner; -1 when none did.
    int& holderOf(const TunerPlace& place)
    {
        return m_holders[static_cast<std::size_t>(m_chooser.identityOf(place))];
    }

private:
    TunerChooser& m_chooser;
    std::vector<int> m_holders; ///< by identity
};

/// One call of assignTuners(): tuners get numbers in the order of their cost.
class AssignmentTask
{
public:
    AssignmentTask(TunerChooser& chooser, const QStringList& classNames, const TunerFilter& filter);
    TunerAssignment run(const QStringList& classNames);

private:
    void collect(const TunerFilter& filter);
    void numberTuners();
    void makeOffers();
    /// What is known of one tuner of the overview.
    struct Known
    {
        bool asked = false;
        bool accepted = false;
        int number = kNone; ///< the same for all that have one GUID
        int cost = 0;
    };
    Known& knownOf(const TunerPlace& place)
    {
        return m_known[static_cast<std::size_t>(m_chooser.positionOf(place))];
    }

    TunerChooser& m_chooser;
    std::vector<int> m_classOfRequest;
    std::vector<ptrTunerPlaces> m_placesOfClass;
    std::vector<Known> m_known;
    std::vector<const TunerPlace*> m_candidates;
    std::vector<TunerWeights> m_weights; ///< of the candidates
    int m_tunerCount = 0;
    std::vector<std::vector<TunerOffer>> m_offers;
    std::vector<std::vector<const Tuner*>> m_tunersOfOffers;
};

AssignmentTask::AssignmentTask(TunerChooser& chooser, const QStringList& classNames,
                               const TunerFilter& filter)
    : m_chooser(chooser), m_known(static_cast<std::size_t>(chooser.tunerCount()))
{
    QHash<QString, int> classes;
    for (const QString& name : classNames) {
        if (!classes.contains(name)) {
            classes.insert(name, classes.size());
            m_placesOfClass.push_back(chooser.tree().getTunerPlacesOfClass(name));
        }
        m_classOfRequest.push_back(classes.value(name));
    }
    collect(filter);
    numberTuners();
    makeOffers();
}

void AssignmentTask::collect(const TunerFilter& filter)
{
    for (const ptrTunerPlaces& places : m_placesOfClass) {
        for (const TunerPlace& place : *places) {
            Known& known = knownOf(place);
            if (std::exchange(known.asked, true))
                continue;
            known.accepted = filter.refusalOf(*place.tuner) == TunerRefusal::None;
            if (!known.accepted)
                continue;
            m_candidates.push_back(&place);
            m_weights.push_back(m_chooser.weigh(place));
            known.cost = m_weights.back().cost;
        }
    }
}

void AssignmentTask::numberTuners()
{
    std::vector<int> numbers(m_known.size(), kNone); // by identity
    for (const int index : m_chooser.orderOfCost(m_weights)) {
        const TunerPlace& place = *m_candidates[static_cast<std::size_t>(index)];
        int& number = numbers[static_cast<std::size_t>(m_chooser.identityOf(place))];
        if (number == kNone)
            number = m_tunerCount++;
        knownOf(place).number = number;
    }
}

void AssignmentTask::makeOffers()
{
    std::vector<int> lastClass(static_cast<std::size_t>(m_tunerCount), kNone);
    std::vector<std::size_t> lastOffer(static_cast<std::size_t>(m_tunerCount));
    for (const ptrTunerPlaces& places : m_placesOfClass) {
        const int classIndex = static_cast<int>(m_offers.size());
        std::vector<TunerOffer>& offers = m_offers.emplace_back();
        std::vector<const Tuner*>& tuners = m_tunersOfOffers.emplace_back();
        for (const TunerPlace& place : *places) {
            const Known& known = knownOf(place);
            if (!known.accepted)
                continue;
            const auto number = static_cast<std::size_t>(known.number);
            if (std::exchange(lastClass[number], classIndex) != classIndex) {
                lastOffer[number] = offers.size();
                offers.push_back({known.number, known.cost});
                tuners.push_back(place.tuner);
            } else if (known.cost < offers[lastOffer[number]].cost) { // another record of the same GUID
                offers[lastOffer[number]].cost = known.cost;
                tuners[lastOffer[number]] = place.tuner;
            }
        }
    }
}

TunerAssignment AssignmentTask::run(const QStringList& classNames)
{
    const TunerMatching matching = matchTuners(m_tunerCount, m_offers, m_classOfRequest);
    TunerAssignment assignment;
    assignment.totalCost = matching.totalCost;
    for (int i = 0; i < classNames.size(); ++i) {
        TunerAssignment::Request request;
        request.className = classNames.at(i);
        const int tuner = matching.tunerOfRequest[static_cast<std::size_t>(i)];
        const auto classIndex = static_cast<std::size_t>(m_classOfRequest[static_cast<std::size_t>(i)]);
        const std::vector<TunerOffer>& offers = m_offers[classIndex];
        for (std::size_t offer = 0; tuner != kNone && !request.served; ++offer) {
            if (offers[offer].tuner != tuner)
                continue;
            request.served = true;
            request.tuner = *m_tunersOfOffers[classIndex][offer];
            request.cost = offers[offer].cost;
        }
        assignment.requests.append(request);
    }
    for (const std::vector<int>& conflict : matching.conflicts)
        assignment.conflicts.append(QVector<int>(conflict.begin(), conflict.end()));
    return assignment;
}

} // namespace

TunerClassResourceSelector::TunerClassResourceSelector() : TunerClassResourceSelector(nullptr) {}

TunerClassResourceSelector::TunerClassResourceSelector(
    const std::shared_ptr<AbstractTunerClassCostFunction>& costFunction)
    : d(std::make_unique<Private>())
{
    d->costFunction = costFunction ? costFunction : std::make_shared<DefaultCostFunction>();
}

TunerClassResourceSelector::~TunerClassResourceSelector() = default;
TunerClassResourceSelector::TunerClassResourceSelector(TunerClassResourceSelector&&) noexcept = default;
TunerClassResourceSelector&
TunerClassResourceSelector::operator=(TunerClassResourceSelector&&) noexcept = default;

void TunerClassResourceSelector::setResourceOverview(const ResourceOverview& resources)
{
    d->resources = resources;
    d->treeBuilt = false;
}

void TunerClassResourceSelector::setResourceOverview(const QVector<Tuner>& tuners)
{
    d->resources.SetTuner(tuners);
    d->treeBuilt = false;
}

void TunerClassResourceSelector::setTunerClassOverview(const TunerClassOverview& tunerClasses)
{
    d->tunerClasses = tunerClasses;
    d->classesChanged = true;
    d->treeBuilt = false;
}

Tuner TunerClassResourceSelector::selectTuner(const QString& className) const
{
    return selectTuner(className, TunerFilter::Exclude(), QStringList());
}

Tuner TunerClassResourceSelector::selectTuner(const QString& className, const TunerFilter::Exclude& exclude,
                                              const QStringList& storageGuids) const
{
    return selectTuner(className, TunerFilter::freeTuners(exclude, storageGuids));
}

Tuner TunerClassResourceSelector::selectTuner(const QString& className, const TunerFilter& filter) const
{
    const std::shared_ptr<TunerChooser> chooser = d->ensureTree();
    const ptrTunerPlaces places = chooser->tree().getTunerPlacesOfClass(className);
    const int chosen = chooser->choose(places, filter);
    return chosen == kNone ? Tuner() : *(*places)[static_cast<std::size_t>(chosen)].tuner;
}

TunerSelection TunerClassResourceSelector::explainSelection(const QString& className,
                                                            const TunerFilter::Exclude& exclude,
                                                            const QStringList& storageGuids) const
{
    return explainSelection(className, TunerFilter::freeTuners(exclude, storageGuids));
}

TunerSelection TunerClassResourceSelector::explainSelection(const QString& className,
                                                            const TunerFilter& filter) const
{
    const std::shared_ptr<TunerChooser> chooser = d->ensureTree();
    const TunerClassTree& tree = chooser->tree();
    TunerSelection selection;
    selection.className = className;
    selection.classExists = tree.findClassItemByName(className) != nullptr;
    if (!selection.classExists)
        return selection;

    const ptrTunerPlaces places = tree.getTunerPlacesOfClass(className);
    Candidates accepted;
    Candidates refused;
    for (const TunerPlace& place : *places) {
        const TunerRefusal refusal = filter.refusalOf(*place.tuner);
        (refusal == TunerRefusal::None ? accepted : refused).add(chooser->weigh(place), refusal);
    }
    accepted.appendTo(selection.candidates, *chooser);
    refused.appendTo(selection.candidates, *chooser);
    for (TunerCandidate& candidate : selection.candidates) {
        if (candidate.refusal == TunerRefusal::OutOfRange || candidate.refusal == TunerRefusal::TooNarrow)
            candidate.detail = problemWith(candidate.tuner, filter.needs());
    }
    for (const Tuner& tuner : tree.getResources().GetTuner()) {
        if (!tree.findItemForTuner(tuner))
            selection.candidates.append(
                makeCandidate(chooser->weighOutsider(tuner), TunerRefusal::NotInTree));
    }
    return selection;
}

bool TunerClassResourceSelector::canBeRunSimultaneously(const QStringList& classNames,
                                                        QStringList* errors) const
{
    const std::shared_ptr<TunerChooser> chooser = d->ensureTree();
    TunerHandOut handOut(*chooser);
    bool result = true;
    for (int request = 0; request < classNames.size(); ++request) {
        const QString& className = classNames.at(request);
        if (handOut.next(chooser->tree().getTunerPlacesOfClass(className), request))
            continue;
        result = false;
        if (errors) {
            errors->append(QCoreApplication::translate("Kolta::TunerClassResourceSelector",
                                                       "Not enough tuners of class %1 available.")
                               .arg(className));
        }
    }
    return result;
}

QVector<TunerAllotment>
TunerClassResourceSelector::explainSimultaneousUse(const QStringList& classNames) const
{
    const std::shared_ptr<TunerChooser> chooser = d->ensureTree();
    TunerHandOut handOut(*chooser);
    QVector<TunerAllotment> allotments;
    for (const QString& className : classNames) {
        TunerAllotment allotment;
        allotment.className = className;
        const ptrTunerPlaces places = chooser->tree().getTunerPlacesOfClass(className);
        if (const TunerPlace* const place = handOut.next(places, allotments.size())) {
            allotment.served = true;
            allotment.tuner = *place->tuner;
        } else {
            const int wanted = chooser->choose(places, TunerFilter());
            if (wanted != kNone) {
                const TunerPlace& taken = (*places)[static_cast<std::size_t>(wanted)];
                allotment.tuner = *taken.tuner;
                allotment.heldBy = handOut.holderOf(taken);
            }
        }
        allotments.append(allotment);
    }
    return allotments;
}

TunerAssignment TunerClassResourceSelector::assignTuners(const QStringList& classNames,
                                                         const TunerFilter& filter) const
{
    const std::shared_ptr<TunerChooser> chooser = d->ensureTree();
    return AssignmentTask(*chooser, classNames, filter).run(classNames);
}

QString TunerClassResourceSelector::getMCPResourceDemandClassForTunerClass(const QString& className) const
{
    const ptrTunerClassTreeItem item = d->ensureTree()->tree().findClassItemByName(className);
    return item ? item->getRDC() : QString();
}

} // namespace Kolta
