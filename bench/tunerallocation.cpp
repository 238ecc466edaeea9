#include "figure.h"

#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassresourceselector.h>
#include <koltacommon/tunerclasstree.h>
#include <resourcemodel/demandclasses.h>
#include <resourcemodel/textreader.h>
#include <resourcemodel/tunerclasses.h>
#include <simulation/resourcegenerator.h>

#include <QSet>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace Bench {

namespace {

using Kolta::TunerBookingManager;
using Kolta::TunerClassResourceSelector;
using Kolta::TunerClassTree;
using RESOURCEMANAGEMENT::ResourceDemandClass;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClass;
using RESOURCEMANAGEMENT::TunerClassOverview;

constexpr int kMany = 10000;
constexpr int kTunersPerClass = 20;
constexpr int kSubclasses = 4; ///< of one class; 500 classes so are nested six levels deep
constexpr int kNoClass = -1;
constexpr int kByGuid = 2; ///< as a choice of tuner ID

int superclassOf(int number)
{
    return number == 0 ? kNoClass : (number - 1) / kSubclasses;
}

QString nameOf(int number)
{
    return QStringLiteral("C%1").arg(number);
}

QString classGuid(int number)
{
    return QStringLiteral("{class %1}").arg(number);
}

int penaltyOf(int number)
{
    return number * 7 % 5;
}

/// An installation all of whose tuners are below class 0; class n encloses classes 4n + 1 to 4n + 4.
struct Installation
{
    explicit Installation(int tuners) : Installation(tuners, tuners / kTunersPerClass) {}
    Installation(int tuners, int classes);

    int classOf(int tuner) const { return tuner % classCount; }

    int classCount;
    ResourceOverview resources;
    TunerClassOverview tunerClasses;
};

Installation::Installation(int tuners, int classes)
    : classCount(classes), resources(KoltaSimulation::makeResources(tuners, 1))
{
    std::vector<QVector<QString>> members(static_cast<std::size_t>(classes));
    for (int i = 0; i < tuners; ++i) {
        members[static_cast<std::size_t>(classOf(i))].append(
            resources.GetTuner().at(i).GetTavikResource().GetGUID());
    }
    tunerClasses.EditTunerIdDefinition().SetChoice(kByGuid);
    for (int i = 0; i < classes; ++i) {
        const int number = i * 193 % classes; // enclosing classes are listed before and after enclosed ones
        TunerClass tunerClass;
        tunerClass.SetGUID(classGuid(number));
        tunerClass.SetName(nameOf(number));
        tunerClass.SetRDC(QStringLiteral("sw"));
        tunerClass.SetCostPenalty(penaltyOf(number));
        if (superclassOf(number) != kNoClass)
            tunerClass.SetSuperclassGUID(classGuid(superclassOf(number)));
        tunerClass.SetTunerID(members[static_cast<std::size_t>(number)]);
        tunerClasses.EditTunerClass().append(tunerClass);
    }
}

/// All that a choice looks at in a tuner.
struct Key
{
    bool accessible;
    bool idle;
    int cost;
    int depth;
    double bandwidth;
    bool hardwareProcessing;
    bool panoramaScan;
    QString displayName;
    QString guid;
};

bool isPreferred(const Key& a, const Key& b)
{
    if (a.cost != b.cost)
        return a.cost < b.cost;
    if (a.depth != b.depth)
        return a.depth < b.depth;
    if (std::abs(a.bandwidth - b.bandwidth) >= 1.0)
        return a.bandwidth < b.bandwidth;
    if (a.hardwareProcessing != b.hardwareProcessing)
        return b.hardwareProcessing;
    if (a.panoramaScan != b.panoramaScan)
        return b.panoramaScan;
    if (const int names = QString::localeAwareCompare(a.displayName, b.displayName))
        return names < 0;
    return a.guid < b.guid;
}

/// The keys of all tuners, made from the records and the numbers of the classes alone.
std::vector<Key> makeKeys(const Installation& installation)
{
    std::vector<Key> keys;
    const QVector<Tuner>& tuners = installation.resources.GetTuner();
    for (int i = 0; i < tuners.size(); ++i) {
        const Tuner& tuner = tuners.at(i);
        int cost = 0;
        int depth = 1;
        for (int c = installation.classOf(i); c != kNoClass; c = superclassOf(c), ++depth)
            cost += penaltyOf(c);
        keys.push_back({tuner.GetAccessible(), tuner.GetIdle(), cost, depth,
                        std::max(tuner.GetMaxSWBandwidth(), tuner.GetMaxHWBandwidth()),
                        tuner.GetSupportsHardwareProcessing(), tuner.GetSupportsPScan(),
                        tuner.GetTavikResource().GetDisplayName(), tuner.GetTavikResource().GetGUID()});
    }
    return keys;
}

const Key* plainChoice(const std::vector<Key>& keys)
{
    const Key* best = nullptr;
    for (const Key& key : keys) {
        if (key.accessible && key.idle && (!best || isPreferred(key, *best)))
            best = &key;
    }
    return best;
}

/// Lets a tree go and makes it anew: what is kept is as large in one installation as in ten of a tenth.
struct TreeBuilding
{
    explicit TreeBuilding(int tuners, int /*number*/ = 0) : installation(tuners)
    {
        work();
        for (int i = 0; i < tuners; ++i) {
            const auto item = tree->getClassForTuner(installation.resources.GetTuner().at(i));
            require(item && item->getName() == nameOf(installation.classOf(i)), "a tuner is out of place");
        }
        for (int i = 0; i < installation.classCount; ++i) {
            const auto parent = tree->findItemByID(classGuid(i))->getParent();
            require(i == 0 ? parent->isRootItem() : parent->getName() == nameOf(superclassOf(i)),
                    "a class is out of place");
        }
    }

    void work()
    {
        tree.reset();
        tree = std::make_unique<TunerClassTree>(installation.tunerClasses, installation.resources);
        const auto& root = tree->getRootItem();
        require(root->getNumberOfChildren() == 1 &&
                    root->getChild(0)->getNumberOfChildren() == kTunersPerClass + kSubclasses,
                "the tree is not complete");
    }

    Installation installation;
    std::unique_ptr<TunerClassTree> tree;
};

Sides buildAgainstParsing()
{
    const auto building = std::make_shared<TreeBuilding>(kMany);
    const auto parse = [text = building->installation.resources.GetXmlString()] {
        ResourceOverview overview;
        overview.SetXmlString(text, false);
        require(overview.GetTuner().size() == kMany, "the overview is not complete");
    };
    return {timed([building] { building->work(); }), timed(parse)};
}

/// One choice among all tuners.
struct Selection
{
    explicit Selection(int tuners, int /*number*/ = 0)
    {
        const Installation installation(tuners);
        keys = makeKeys(installation);
        expected = plainChoice(keys)->guid;
        selector.setTunerClassOverview(installation.tunerClasses);
        selector.setResourceOverview(installation.resources);
        work(); // the tree is built by the first query
    }

    void work() const
    {
        require(selector.selectTuner(className).GetTavikResource().GetGUID() == expected,
                "another tuner was chosen");
    }

    QString className = nameOf(0);
    std::vector<Key> keys;
    QString expected;
    TunerClassResourceSelector selector;
};

Sides selectionAgainstScan()
{
    const auto selection = std::make_shared<const Selection>(kMany);
    const auto scan = [selection] {
        const Key* const choice = plainChoice(selection->keys);
        require(choice && choice->guid == selection->expected, "another tuner was chosen by the scan");
    };
    return {timed([selection] { selection->work(); }), timed(scan)};
}

/// Replaces the classes of a tree by the default ones.
struct DefaultHierarchy
{
    DefaultHierarchy(int tunerCount, int /*number*/)
        : tuners(tunerCount), tree(TunerClassOverview(), KoltaSimulation::makeResources(tunerCount, 1))
    {
        ResourceDemandClass demandClass;
        demandClass.SetDemandClassName(QStringLiteral("hw_20MHz"));
        demandClasses.append(demandClass);
        work();
        require(tree.getRootItem()->getNumberOfTunerDescendants() == tuners,
                "a tuner is missing in the default classes");
    }

    void work()
    {
        tree.createDefaultHierarchy(demandClasses);
        const auto& root = tree.getRootItem();
        // Three types of tuners, and all ZELM tuners below one class.
        require(root->getNumberOfTunerChildren() == 0 && root->getNumberOfChildren() == 4,
                "the default classes are not as they should be");
    }

    int tuners;
    TunerClassTree tree;
    QVector<ResourceDemandClass> demandClasses;
};

/// Two overviews as they come from a server one after the other, with 1 % of the tuners changed; shifted:
/// with one more at the front and one less at the end, besides.
struct Generations
{
    explicit Generations(int tunerCount, bool isShifted = false) : changes(tunerCount / 100)
    {
        REPORTGENERATOR::TextReader reader;
        ResourceOverview overview = KoltaSimulation::makeResources(tunerCount, 1);
        reader.read(overview.GetXmlString(), overviews[0]);
        if (isShifted) {
            overview.EditTuner().prepend(KoltaSimulation::makeTuner(tunerCount, 1));
            overview.EditTuner().removeLast();
        }
        for (int i = 50; i < tunerCount; i += 100) {
            Tuner& tuner = overview.EditTuner()[i];
            tuner.SetIdle(!tuner.GetIdle());
        }
        reader.read(overview.GetXmlString(), overviews[1]);
    }

    const ResourceOverview& next()
    {
        current = 1 - current;
        return overviews[current];
    }

    int changes;
    ResourceOverview overviews[2];
    int current = 0;
};

struct BookingUpdate
{
    explicit BookingUpdate(int tunerCount, int /*number*/ = 0, bool isShifted = false)
        : generations(tunerCount, isShifted)
    {
        manager.sl_updateTuners(generations.overviews[0]);
        QObject::connect(&manager, &TunerBookingManager::si_TunerStateChanged, [this] { ++announced; });
    }

    void work()
    {
        announced = 0;
        manager.sl_updateTuners(generations.next());
        require(announced == generations.changes, "an update was not announced as it should be");
    }

    Generations generations;
    int announced = 0;
    TunerBookingManager manager;
};

template<bool isShifted>
Sides bookingAgainstPass()
{
    const auto update = std::make_shared<BookingUpdate>(kMany, 0, isShifted);
    const auto pass = [update] {
        const QVector<Tuner>& before = update->generations.overviews[0].GetTuner();
        const QVector<Tuner>& after = update->generations.overviews[1].GetTuner();
        int changes = 0;
        for (int i = isShifted ? 1 : 0; i < after.size(); ++i) {
            const Tuner& former = before.at(isShifted ? i - 1 : i);
            if (!former.IsSameAs(after.at(i)))
                changes += former.GetIdle() != after.at(i).GetIdle();
        }
        require(changes == update->generations.changes, "the overviews do not share their records");
    };
    return {timed([update] { update->work(); }), timed(pass)};
}

/// A selector gets overviews in which only states changed, and chooses among all tuners.
struct SelectorRefresh
{
    explicit SelectorRefresh(int tuners) : generations(tuners)
    {
        Installation installation(tuners);
        for (int i = 0; i < 2; ++i) {
            installation.resources = generations.overviews[i];
            const std::vector<Key> keys = makeKeys(installation);
            expected[i] = plainChoice(keys)->guid;
        }
        selector.setTunerClassOverview(installation.tunerClasses);
    }

    void work()
    {
        selector.setResourceOverview(generations.next());
        require(selector.selectTuner(className).GetTavikResource().GetGUID() == expected[generations.current],
                "another tuner was chosen");
    }

    QString className = nameOf(0);
    Generations generations;
    QString expected[2];
    TunerClassResourceSelector selector;
};

Sides refreshAgainstBuild()
{
    const auto refresh = std::make_shared<SelectorRefresh>(kMany);
    const auto building = std::make_shared<TreeBuilding>(kMany);
    return {timed([refresh] { refresh->work(); }), timed([building] { building->work(); })};
}

/// Whether the 200 outermost classes, the one with all tuners first, can get a tuner each.
struct SimultaneousUse
{
    SimultaneousUse(int tuners, int /*number*/)
    {
        const Installation installation(tuners, 500);
        selector.setTunerClassOverview(installation.tunerClasses);
        selector.setResourceOverview(installation.resources);
        for (int i = 0; i < 200; ++i)
            classNames.append(nameOf(i));
        compareWithPlainHandOut(installation);
        work();
    }

    void work() const
    {
        QStringList errors;
        require(selector.canBeRunSimultaneously(classNames, &errors) && errors.isEmpty(),
                "a class was left without a tuner");
    }

    void compareWithPlainHandOut(const Installation& installation) const
    {
        const std::vector<Key> keys = makeKeys(installation);
        QSet<QString> held;
        const auto allotments = selector.explainSimultaneousUse(classNames);
        for (int request = 0; request < classNames.size(); ++request) {
            const Key* best = nullptr;
            for (int i = 0; i < static_cast<int>(keys.size()); ++i) {
                int enclosing = installation.classOf(i);
                while (enclosing > request) // numbers grow inwards
                    enclosing = superclassOf(enclosing);
                const Key& key = keys[static_cast<std::size_t>(i)];
                if (enclosing == request && !held.contains(key.guid) && (!best || isPreferred(key, *best)))
                    best = &key;
            }
            require(best && allotments.at(request).tuner.GetTavikResource().GetGUID() == best->guid,
                    "a class got another tuner");
            held.insert(best->guid);
        }
    }

    QStringList classNames;
    TunerClassResourceSelector selector;
};

const bool buildAdded =
    addFigure({"class_tree_build_10k_vs_parse_10k", "parsing the resource overview of the same tuners", 0.25,
               Unit::Time, buildAgainstParsing});
const bool refreshAdded =
    addFigure({"selector_refresh_10k_1pct_vs_tree_build", "building the tree of the same tuners", 0.10,
               Unit::Time, refreshAgainstBuild});
const bool selectionAdded = addFigure({"select_tuner_10k_vs_plain_scan",
                                       "one pass over a plain array of keys with the same order of criteria",
                                       6.0, Unit::Time, selectionAgainstScan});
const bool bookingAdded = addFigure({"booking_update_10k_vs_identity_pass",
                                     "one pass over both lists, with a look into the records that changed", 4,
                                     Unit::Time, bookingAgainstPass<false>});
const bool bookingShiftAdded = addFigure({"booking_insert_remove_10k_vs_identity_pass",
                                          "one pass over both lists, each record beside its former one", 0,
                                          Unit::Time, bookingAgainstPass<true>});

template<class World>
bool addGrowth(const char* name)
{
    return addFigure({name, kOfTenths, 1.25, Unit::Time, [] { return growthAtEqualBytes<World>(kMany); }});
}

const bool buildGrowthAdded = addGrowth<TreeBuilding>("class_tree_build_growth_at_equal_bytes");
const bool hierarchyGrowthAdded = addGrowth<DefaultHierarchy>("default_hierarchy_growth_at_equal_bytes");
const bool bookingGrowthAdded = addGrowth<BookingUpdate>("booking_update_growth_at_equal_bytes");
const bool selectionGrowthAdded = addGrowth<Selection>("select_tuner_growth_at_equal_bytes");
const bool simultaneousGrowthAdded =
    addGrowth<SimultaneousUse>("simultaneous_200_classes_growth_at_equal_bytes");

} // namespace

} // namespace Bench
