#include "commands.h"

#include <kolta/application/tunerallocation.h>
#include <kolta/application/tunerplan.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/tunerbookingmanager.h>

#include <QJsonArray>

namespace KoltaCli {

namespace {

/// Requests are counted from 1. A tuner that the request does not get is `wanted`.
QJsonObject toJson(const TunerPlan::Request& request, int number)
{
    QJsonObject object{{QStringLiteral("request"), number},
                       {QStringLiteral("class"), request.className},
                       {QStringLiteral("served"), request.served},
                       {QStringLiteral("booked"), request.booked}};
    if (request.served) {
        object[QStringLiteral("tuner")] = nameOf(request.tuner);
        object[QStringLiteral("guid")] = guidOf(request.tuner);
        object[QStringLiteral("cost")] = request.cost;
    }
    if (request.heldBy >= 0) {
        object[QStringLiteral("wanted")] = nameOf(request.tuner);
        object[QStringLiteral("heldBy")] = request.heldBy + 1;
    }
    if (!request.conflict.isEmpty()) {
        QJsonArray numbers;
        for (const int place : request.conflict)
            numbers.append(place + 1);
        object[QStringLiteral("conflict")] = numbers;
    }
    if (!request.problem.isEmpty())
        object[QStringLiteral("problem")] = request.problem;
    return object;
}

/// One object per request, then one for the whole.
void printObjects(const TunerPlan& plan)
{
    int number = 0;
    for (const TunerPlan::Request& request : plan.requests)
        printJson(toJson(request, ++number));
    printJson({{QStringLiteral("planned"), plan.holds()}, {QStringLiteral("totalCost"), plan.totalCost}});
}

void printProblems(const TunerPlan& plan)
{
    for (int place = 0; place < plan.requests.size(); ++place) {
        const TunerPlan::Request& request = plan.requests.at(place);
        if (!request.problem.isEmpty())
            printError(QStringLiteral("request %1 (%2): %3")
                           .arg(QString::number(place + 1), request.className, request.problem));
    }
}

/// Half a plan is of no use to anybody.
void undoUnlessWhole(const TunerPlan& plan, Kolta::TunerBookingManager& manager)
{
    for (const TunerPlan::Request& request : plan.requests) {
        if (request.booked && !plan.holds())
            manager.undoTunerPlanning(guidOf(request.tuner));
    }
}

int plan(const CommandLine& line, const TunerAllocation& allocation)
{
    const QStringList classNames = line.arguments();
    const bool clear = line.isSet("clear");
    if (classNames.isEmpty() && !clear)
        return line.usageError(QStringLiteral("CLASS is missing"));
    for (const QString& name : classNames) {
        if (!allocation.knowsClass(name))
            return eExitFailed;
    }
    Kolta::TunerBookingManager& manager = allocation.booking();
    if (clear)
        manager.clearPlanning();
    if (classNames.isEmpty())
        return eExitOk;
    const auto tuners = line.isSet("all") ? manager.getAllTuners() : manager.getFreeTuners();
    const auto makePlan = line.isSet("optimal") ? planOptimally : planGreedily;
    TunerPlan made = makePlan(allocation.tree(), tuners, classNames);
    book(made, manager);
    undoUnlessWhole(made, manager);
    if (line.json()) {
        printObjects(made);
    } else {
        allocation.printOrigin();
        planTable(made).print();
    }
    printProblems(made);
    return made.holds() ? eExitOk : eExitFailed;
}

} // namespace

Command planCommand()
{
    return {
        "plan",
        "give tuners to several classes at once",
        "Gives each class a free tuner of its own, in a simulated installation inside this process: each in "
        "turn its cheapest one that is left. Within a shell the tuners stay planned if all classes got one.",
        {{"CLASS", "Name of a tuner class; also repeatedly.", Argument::Any}},
        EmbeddedInstallation::options(
            {flag("clear", "Give back first what is planned; then no class is needed."),
             flag("optimal",
                  "Share the tuners out so that all are served whenever that is possible, at the least "
                  "total cost."),
             flag("all", "Hand out all tuners, whether or not they are free at present.")}),
        with(TunerAllocation::start, plan)};
}

} // namespace KoltaCli
