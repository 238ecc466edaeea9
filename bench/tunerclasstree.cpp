#include "figure.h"

#include <koltacommon/tunerclasstree.h>
#include <simulation/resourcegenerator.h>

#include <QUuid>

#include <memory>

namespace Bench {

namespace {

using Kolta::TunerClassTree;
using RESOURCEMANAGEMENT::ResourceOverview;
using RESOURCEMANAGEMENT::TunerClass;
using RESOURCEMANAGEMENT::TunerClassOverview;

constexpr int many = 10000;
constexpr int few = 1000;
constexpr int tunersPerClass = 20;
constexpr int nesting = 6;

/// An installation whose tuners are scattered over classes, in chains of six.
struct World
{
    explicit World(int tuners) : resources(KoltaSimulation::makeResources(tuners, 1))
    {
        tunerClasses.EditTunerIdDefinition().SetChoice(2);
        const int count = tuners / tunersPerClass;
        for (int i = 0; i < count; ++i) {
            TunerClass tunerClass;
            tunerClass.SetGUID(QUuid::createUuid().toString());
            tunerClass.SetName(QStringLiteral("class %1").arg(i));
            tunerClass.SetCostPenalty(i % 7);
            if (i % nesting != 0)
                tunerClass.SetSuperclassGUID(tunerClasses.GetTunerClass().last().GetGUID());
            // Neighbours in the overview are in different classes.
            for (int tuner = i; tuner < tuners; tuner += count)
                tunerClass.EditTunerID().append(resources.GetTuner().at(tuner).GetTavikResource().GetGUID());
            tunerClasses.EditTunerClass().append(tunerClass);
        }
    }

    void build() const
    {
        const TunerClassTree tree(tunerClasses, resources);
        require(tree.getRootItem()->getNumberOfTunerChildren() == 0, "a tuner is in no class");
    }

    void makeDefaultHierarchy() const
    {
        TunerClassTree tree(TunerClassOverview(), resources);
        tree.createDefaultHierarchy({});
        require(!tree.getOriginalTunerClassOverview().GetTunerClass().isEmpty(), "there are no classes");
    }

    ResourceOverview resources;
    TunerClassOverview tunerClasses;
};

Sides buildAgainstParse()
{
    const auto world = std::make_shared<World>(many);
    const QString text = world->resources.GetXmlString();
    return {timed([world] { world->build(); }), timed([text] {
                ResourceOverview overview;
                overview.SetXmlString(text, true);
                require(overview.GetTuner().size() == many, "the overview is not complete");
            })};
}

template<void (World::*work)() const>
Sides growth()
{
    const auto large = std::make_shared<World>(many);
    const auto small = std::make_shared<World>(few);
    constexpr int equalWork = many / few;
    const auto workSmall = [small] {
        for (int i = 0; i < equalWork; ++i)
            (*small.*work)();
    };
    return {timed([large] { (*large.*work)(); }), timed(workSmall, equalWork)};
}

const bool parseAdded = addFigure({"class_tree_build_10k_vs_parse_10k", "parsing the same resource overview",
                                   1.0, Unit::Time, buildAgainstParse});
const bool buildAdded =
    addFigure({"class_tree_build_growth_10k_over_1k", "itself with 1,000 tuners instead of 10,000", 13,
               Unit::Time, growth<&World::build>});
const bool hierarchyAdded =
    addFigure({"default_hierarchy_growth_10k_over_1k", "itself with 1,000 tuners instead of 10,000", 13,
               Unit::Time, growth<&World::makeDefaultHierarchy>});

} // namespace

} // namespace Bench
