#include "commands.h"

#include <kolta/application/orderoptions.h>
#include <kolta/application/tunerchoice.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerclassresourceselector.h>
#include <koltacommon/tunerclasstree.h>
#include <koltacommon/tunerplan.h>

#include <QJsonArray>

#include <algorithm>
#include <vector>

namespace KoltaCli {

using Kolta::TunerClassResourceSelector;
using Kolta::TunerPlan;
using RESOURCEMANAGEMENT::Tuner;

namespace {

/// A tuner of a class that is asked for, and what it gets.
struct Share
{
    QString className; ///< empty for a tuner that was named
    bool served = false;
    Tuner tuner;           ///< what it gets, or would get if no other request held it
    int cost = 0;          ///< of the tuner it gets
    int heldBy = -1;       ///< without being served: place of the request that holds the tuner
    QVector<int> conflict; ///< places of the requests that cannot be served together
    TunerPlan booking;     ///< stands when the tuner is planned for it
    QString problem;       ///< why it is not served or not booked, for people
};
using Shares = std::vector<Share>;

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

/// Each class in turn takes its cheapest tuner of those that are left.
Shares shareInTurn(const TunerClassResourceSelector& selector, const Kolta::TunerClassTree& tree,
                   const QStringList& classNames)
{
    Kolta::DefaultCostFunction policy;
    policy.init(tree.clone());
    Shares shares;
    for (const auto& allotment : selector.explainSimultaneousUse(classNames)) {
        Share share;
        share.className = allotment.className;
        share.served = allotment.served;
        share.tuner = allotment.tuner;
        share.heldBy = allotment.heldBy;
        if (share.served)
            share.cost = policy.calculateCost(share.tuner);
        else
            share.problem = share.heldBy < 0
                                ? noTuners(share.className)
                                : QStringLiteral("%1, which it would have got, is held by request %2")
                                      .arg(nameOf(share.tuner), describe(classNames, share.heldBy));
        shares.push_back(std::move(share));
    }
    return shares;
}

/// As many classes as possible are served, at the least total cost.
Shares shareOut(const TunerClassResourceSelector& selector, const QStringList& classNames)
{
    const Kolta::TunerAssignment assignment = selector.assignTuners(classNames);
    Shares shares;
    int conflicts = 0;
    for (const auto& assigned : assignment.requests) {
        Share share;
        share.className = assigned.className;
        share.served = assigned.served;
        share.tuner = assigned.tuner;
        share.cost = assigned.cost;
        if (!share.served) {
            share.conflict = assignment.conflicts.value(conflicts++);
            share.problem =
                share.conflict.size() < 2
                    ? noTuners(share.className)
                    : QStringLiteral("requests %1 cannot be served together, they have %2 tuners in all")
                          .arg(describe(classNames, share.conflict),
                               QString::number(share.conflict.size() - 1));
        }
        shares.push_back(std::move(share));
    }
    return shares;
}

qint64 totalCost(const Shares& shares)
{
    qint64 total = 0;
    for (const Share& share : shares)
        total += share.cost;
    return total;
}

/// Requests are counted from 1. A tuner that the request does not get is `wanted`.
QJsonObject toJson(const Share& share, int number)
{
    QJsonObject object{{QStringLiteral("request"), number},
                       {QStringLiteral("served"), share.served},
                       {QStringLiteral("booked"), share.booking.stands()}};
    if (!share.className.isEmpty())
        object[QStringLiteral("class")] = share.className;
    if (share.served) {
        object[QStringLiteral("tuner")] = nameOf(share.tuner);
        object[QStringLiteral("guid")] = guidOf(share.tuner);
        object[QStringLiteral("cost")] = share.cost;
    }
    if (share.heldBy >= 0) {
        object[QStringLiteral("wanted")] = nameOf(share.tuner);
        object[QStringLiteral("heldBy")] = share.heldBy + 1;
    }
    if (!share.conflict.isEmpty()) {
        QJsonArray numbers;
        for (const int place : share.conflict)
            numbers.append(place + 1);
        object[QStringLiteral("conflict")] = numbers;
    }
    if (!share.problem.isEmpty())
        object[QStringLiteral("problem")] = share.problem;
    return object;
}

/// One object per request, then one for the whole.
void printObjects(const Shares& shares, bool holds)
{
    int number = 0;
    for (const Share& share : shares)
        printJson(toJson(share, ++number));
    printJson({{QStringLiteral("planned"), holds}, {QStringLiteral("totalCost"), totalCost(shares)}});
}

void printTable(const Shares& shares)
{
    Table table({QStringLiteral("REQUEST"), QStringLiteral("CLASS"), QStringLiteral("TUNER"),
                 QStringLiteral("COST"), QStringLiteral("BOOKED")});
    table.alignRight({0, 3});
    int number = 0;
    for (const Share& share : shares)
        table.addRow({QString::number(++number),
                      share.className.isEmpty() ? QStringLiteral("-") : share.className,
                      share.served ? nameOf(share.tuner) : QStringLiteral("-"),
                      share.served ? QString::number(share.cost) : QString(),
                      share.booking.stands() ? QStringLiteral("yes") : QString()});
    table.addRow({QString(), QString(), QStringLiteral("total"), QString::number(totalCost(shares))});
    table.print();
}

void printProblems(const Shares& shares)
{
    int number = 0;
    for (const Share& share : shares) {
        ++number;
        if (share.className.isEmpty() && !share.problem.isEmpty())
            printError(share.problem);
        else if (!share.problem.isEmpty())
            printError(QStringLiteral("request %1 (%2): %3")
                           .arg(QString::number(number), share.className, share.problem));
    }
}

/// Those that are to be handed out: they can do what is needed.
QVector<Tuner> tunersFor(const CommandLine& line, const Kolta::TunerBookingManager& booking)
{
    const auto filter = Kolta::TunerFilter::anyTuners({}, storagesFrom(line)).withNeeds(needsFrom(line));
    QVector<Tuner> tuners = line.isSet("all") ? booking.getAllTuners() : booking.getFreeTuners();
    tuners.erase(std::remove_if(tuners.begin(), tuners.end(),
                                [&filter](const Tuner& tuner) {
                                    return filter.refusalOf(tuner) != Kolta::TunerRefusal::None;
                                }),
                 tuners.end());
    return tuners;
}

/// That one alone, whether or not it can be planned.
Shares shareOf(const QString& guid, const TunerChoice& choice)
{
    Kolta::DefaultCostFunction policy;
    policy.init(choice.tuners().tree().clone());
    Share share;
    share.served = true;
    for (const Tuner& tuner : choice.server().getBookingManager().getAllTuners()) {
        if (guidOf(tuner) == guid)
            share.tuner = tuner;
    }
    share.cost = policy.calculateCost(share.tuner);
    Shares shares;
    shares.push_back(std::move(share));
    return shares;
}

/// What is to be handed out, shared among the classes. Nothing, and an error is printed, when --tuner names
/// none.
Shares makeShares(const CommandLine& line, const TunerChoice& choice)
{
    if (line.isSet("tuner")) {
        const QString guid = findTuner(choice.server(), line.value("tuner"));
        return guid.isEmpty() ? Shares() : shareOf(guid, choice);
    }
    const Kolta::TunerClassTree& tree = choice.tuners().tree();
    TunerClassResourceSelector selector;
    selector.setTunerClassOverview(tree.getOriginalTunerClassOverview());
    selector.setResourceOverview(tunersFor(line, choice.server().getBookingManager()));
    return line.isSet("optimal") ? shareOut(selector, line.arguments())
                                 : shareInTurn(selector, tree, line.arguments());
}

int plan(const CommandLine& line, const TunerChoice& choice)
{
    const QStringList classNames = line.arguments();
    const bool clear = line.isSet("clear");
    const bool isNamed = line.isSet("tuner");
    if (isNamed && !classNames.isEmpty())
        return line.usageError(QStringLiteral("--tuner and CLASS exclude each other"));
    if (classNames.isEmpty() && !clear && !isNamed)
        return line.usageError(QStringLiteral("CLASS is missing"));
    for (const QString& name : classNames) {
        if (!choice.knowsClass(name))
            return eExitFailed;
    }
    Kolta::TunerBookingManager& booking = choice.server().getBookingManager();
    if (clear)
        booking.clearPlanning();
    if (classNames.isEmpty() && !isNamed)
        return eExitOk;
    Shares shares = makeShares(line, choice);
    bool holds = !shares.empty();
    if (!holds)
        return eExitFailed;
    for (Share& share : shares) {
        if (share.served)
            share.booking = TunerPlan::make(booking, guidOf(share.tuner), needsFrom(line), share.problem);
        holds = holds && share.booking.stands();
    }
    if (line.json()) {
        printObjects(shares, holds);
    } else {
        choice.printOrigin();
        printTable(shares);
    }
    printProblems(shares);
    for (Share& share : shares) {
        if (holds) // half a plan is of no use to anybody, and is undone with its shares
            share.booking.leave();
    }
    return holds ? eExitOk : eExitFailed;
}

} // namespace

Command planCommand()
{
    return {
        "plan",
        "give tuners to several classes at once",
        "Gives each class a free tuner of its own, in the installation: each in "
        "turn its cheapest one that is left. Within a shell the tuners stay planned if all classes got one.",
        {{"CLASS", "Name of a tuner class; also repeatedly.", Argument::eAny}},
        Servers::options(
            QVector<Option>{
                flag("clear", "Give back first what is planned; then no class is needed."),
                flag("optimal",
                     "Share the tuners out so that all are served whenever that is possible, at the least "
                     "total cost."),
                flag("all", "Hand out all tuners, whether or not they are free at present."),
                text("tuner", "tuner", "GUID or name of the one tuner to be planned, instead of classes.")} +
            needsOptions()),
        with(TunerChoice::start, plan)};
}

} // namespace KoltaCli
