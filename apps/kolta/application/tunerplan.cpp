#include "tunerplan.h"

#include "tunertables.h"

#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassresourceselector.h>
#include <koltacommon/tunerclasstree.h>

#include <algorithm>

namespace KoltaCli {

using Kolta::TunerClassResourceSelector;
using Kolta::TunerClassTree;
using RESOURCEMANAGEMENT::Tuner;

namespace {

TunerClassResourceSelector makeSelector(const TunerClassTree& tree, const QVector<Tuner>& tuners)
{
    TunerClassResourceSelector selector;
    selector.setTunerClassOverview(tree.getOriginalTunerClassOverview());
    selector.setResourceOverview(tuners);
    return selector;
}

QString describe(const QStringList& classNames, int place)
{
    return QStringLiteral("%1 (%2)").arg(QString::number(place + 1), classNames.at(place));
}

QString describe(const QStringList& classNames, const QVector<int>& places)
{
    QStringList texts;
    for (const int place : places)
        texts.append(describe(classNames, place));
    const QString last = texts.takeLast();
    return texts.join(QStringLiteral(", ")) + QStringLiteral(" and ") + last;
}

QString noTuners(const QString& className)
{
    return QStringLiteral("none of the tuners of %1 can be had").arg(className);
}

} // namespace

bool TunerPlan::holds() const
{
    return std::all_of(requests.begin(), requests.end(),
                       [](const Request& request) { return request.served && request.booked; });
}

TunerPlan planGreedily(const TunerClassTree& tree, const QVector<Tuner>& tuners,
                       const QStringList& classNames)
{
    Kolta::DefaultCostFunction policy;
    policy.init(tree.clone());
    TunerPlan plan;
    for (const auto& allotment : makeSelector(tree, tuners).explainSimultaneousUse(classNames)) {
        TunerPlan::Request request;
        request.className = allotment.className;
        request.served = allotment.served;
        request.tuner = allotment.tuner;
        request.heldBy = allotment.heldBy;
        if (request.served) {
            request.cost = policy.calculateCost(request.tuner);
            plan.totalCost += request.cost;
        } else if (request.heldBy < 0) {
            request.problem = noTuners(request.className);
        } else {
            request.problem = QStringLiteral("%1, which it would have got, is held by request %2")
                                  .arg(nameOf(request.tuner), describe(classNames, request.heldBy));
        }
        plan.requests.append(request);
    }
    return plan;
}

TunerPlan planOptimally(const TunerClassTree& tree, const QVector<Tuner>& tuners,
                        const QStringList& classNames)
{
    const Kolta::TunerAssignment assignment = makeSelector(tree, tuners).assignTuners(classNames);
    TunerPlan plan;
    plan.totalCost = assignment.totalCost;
    int conflicts = 0;
    for (const auto& assigned : assignment.requests) {
        TunerPlan::Request request;
        request.className = assigned.className;
        request.served = assigned.served;
        request.tuner = assigned.tuner;
        request.cost = assigned.cost;
        if (!request.served) {
            request.conflict = assignment.conflicts.value(conflicts++);
            request.problem =
                request.conflict.size() < 2
                    ? noTuners(request.className)
                    : QStringLiteral("requests %1 cannot be served together, they have %2 tuners in all")
                          .arg(describe(classNames, request.conflict),
                               QString::number(request.conflict.size() - 1));
        }
        plan.requests.append(request);
    }
    return plan;
}

void book(TunerPlan& plan, Kolta::TunerBookingManager& manager)
{
    for (TunerPlan::Request& request : plan.requests) {
        if (request.served)
            request.booked = manager.planTuner(guidOf(request.tuner), request.problem);
    }
}

} // namespace KoltaCli
