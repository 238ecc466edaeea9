#include "demo.h"

#include <kolta/application/tunerplan.h>
#include <kolta/application/tunertables.h>

#include <koltacommon/resourcedemandclassobserver.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassresourceselector.h>
#include <koltacommon/tunerclasstree.h>

#include <QSet>

#include <algorithm>

// The step of the demo in which tuners are chosen and planned by their class.

namespace KoltaCli {

using Kolta::ptrTunerClassTreeItem;
using Kolta::TunerBookingManager;
using Kolta::TunerClassTree;

namespace {

/// A class and its tuners that can be planned.
struct Supply
{
    QString className;
    int tuners = 0;
    int free = 0;
};

/// Classes of which at least one tuner is free, in the order of the tree.
QVector<Supply> findSupplies(const TunerClassTree& tree, const TunerBookingManager& manager)
{
    QVector<Supply> supplies;
    tree.getRootItem()->applyToAllDescendants([&](const ptrTunerClassTreeItem& item) {
        if (!item->isClassItem())
            return;
        Supply supply;
        supply.className = item->getName();
        QSet<QString> free;
        for (const Kolta::TunerPlace& place : *tree.getTunerPlacesOfClass(supply.className)) {
            ++supply.tuners;
            if (manager.getTunerState(guidOf(*place.tuner)) == TunerBookingManager::eFree)
                free.insert(guidOf(*place.tuner));
        }
        supply.free = free.size();
        if (supply.free > 0)
            supplies.append(supply);
    });
    return supplies;
}

} // namespace

bool Demo::allocateTuners()
{
    m_report.beginStep(QStringLiteral("The application chooses and plans tuners by their class"));
    Kolta::ResourceDemandClassObserver demandClasses;
    m_report.check(demandClasses.init(m_server.nodePath(QStringLiteral("DemandClasses"))),
                   QStringLiteral("the server publishes its demand classes"));
    TunerClassTree tree(RESOURCEMANAGEMENT::TunerClassOverview(), m_resources->GetCurrentResources());
    tree.createDefaultHierarchy(demandClasses.GetCurrentDemandClasses().GetResourceDemandClass());
    m_report.say(QStringLiteral("default classes, made from the tuners and the demand classes:"));
    m_report.show(classTable(tree, QStringLiteral("CLASS")));

    TunerBookingManager manager;
    manager.init(*m_resources);
    const QVector<Supply> supplies = findSupplies(tree, manager);
    m_report.set(QStringLiteral("classes"), supplies.size());
    if (supplies.isEmpty()) {
        m_report.say(QStringLiteral("no tuner is free, so there is nothing to choose from"));
        return m_report.endStep();
    }
    const auto [scarcest, largest] =
        std::minmax_element(supplies.begin(), supplies.end(), [](const Supply& a, const Supply& b) {
            return a.free < b.free || (a.free == b.free && a.tuners < b.tuners);
        });
    tellChoice(tree, largest->className);
    tellPlans(tree, scarcest->className, scarcest->free);
    return m_report.endStep();
}

/// The choice among the tuners of a class that has free ones.
void Demo::tellChoice(const TunerClassTree& tree, const QString& className)
{
    Kolta::TunerClassResourceSelector selector;
    selector.setTunerClassOverview(tree.getOriginalTunerClassOverview());
    selector.setResourceOverview(tree.getResources());
    const Kolta::TunerSelection selection = selector.explainSelection(className);
    const Kolta::TunerCandidate* const chosen = selection.chosen();
    if (!m_report.check(chosen, QStringLiteral("a tuner of class %1 is chosen").arg(className)))
        return;
    m_report.check(chosen->tuner == selector.selectTuner(className),
                   QStringLiteral("the tuner that is chosen is the one that is explained"));
    m_report.say(QString());
    m_report.say(
        QStringLiteral("%1 is the tuner of class %2 to be used:").arg(nameOf(chosen->tuner), className));
    m_report.show(selectionTable(selection));
    m_report.set(QStringLiteral("class"), className);
    m_report.set(QStringLiteral("chosen"), nameOf(chosen->tuner));
    m_report.set(QStringLiteral("ahead"), toText(chosen->ahead));
}

/// As many requests for a class as it has free tuners, then one more.
void Demo::tellPlans(const TunerClassTree& tree, const QString& className, int freeTuners)
{
    TunerBookingManager manager;
    manager.init(*m_resources);
    QStringList classNames;
    while (classNames.size() < freeTuners)
        classNames.append(className);
    TunerPlan good = planGreedily(tree, manager.getFreeTuners(), classNames);
    book(good, manager);
    m_report.say(QString());
    m_report.say(QStringLiteral("%1 is asked for as often as it has free tuners:").arg(className));
    m_report.show(planTable(good));
    m_report.check(good.holds(), QStringLiteral("each request gets a tuner, which is booked for it"));
    m_report.set(QStringLiteral("booked"), freeTuners);

    QString refusal;
    m_report.check(!manager.planTuner(guidOf(good.requests.first().tuner), refusal),
                   QStringLiteral("a planned tuner is not planned again"));
    m_report.say(QStringLiteral("booking %1 again: %2").arg(nameOf(good.requests.first().tuner), refusal));
    manager.clearPlanning();
    classNames.append(className);
    TunerPlan bad = planGreedily(tree, manager.getFreeTuners(), classNames);
    book(bad, manager);
    const TunerPlan::Request& last = bad.requests.last();
    m_report.check(!bad.holds() && !last.served && last.heldBy >= 0,
                   QStringLiteral("one request more cannot be served, as another holds the tuner"));
    m_report.say(QStringLiteral("one request more is left without: ") + last.problem);
    m_report.set(QStringLiteral("problem"), last.problem);
}

} // namespace KoltaCli
