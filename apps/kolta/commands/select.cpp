#include "commands.h"

#include <kolta/application/tunerallocation.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/tunerselection.h>

namespace KoltaCli {

using Kolta::TunerCandidate;
using Kolta::TunerRefusal;
using Kolta::TunerSelection;

namespace {

QJsonObject toJson(const TunerCandidate& candidate)
{
    QJsonObject object{{QStringLiteral("tuner"), nameOf(candidate.tuner)},
                       {QStringLiteral("guid"), guidOf(candidate.tuner)},
                       {QStringLiteral("bandwidth"), candidate.bandwidth},
                       {QStringLiteral("hardware"), candidate.hardwareProcessing},
                       {QStringLiteral("panorama"), candidate.panoramaScan}};
    if (candidate.refusal != TunerRefusal::NotInTree) {
        object[QStringLiteral("cost")] = candidate.cost;
        object[QStringLiteral("depth")] = candidate.depth;
    }
    if (candidate.refusal != TunerRefusal::None)
        object[QStringLiteral("refusal")] = toText(candidate.refusal);
    return object;
}

/// One object per candidate in order; `rank` is missing for the refused ones, `ahead` for the last as well.
void printObjects(const TunerSelection& selection)
{
    int rank = 0;
    for (const TunerCandidate& candidate : selection.candidates) {
        QJsonObject object = toJson(candidate);
        if (candidate.refusal == TunerRefusal::None)
            object[QStringLiteral("rank")] = ++rank;
        if (candidate.ahead != Kolta::TunerCriterion::None)
            object[QStringLiteral("ahead")] = toText(candidate.ahead);
        printJson(object);
    }
}

void printChosen(const TunerCandidate& chosen)
{
    Table table(
        {QStringLiteral("TUNER"), QStringLiteral("COST"), QStringLiteral("GUID"), QStringLiteral("ADDRESS")});
    table.alignRight({1});
    table.addRow({nameOf(chosen.tuner), QString::number(chosen.cost), guidOf(chosen.tuner),
                  chosen.tuner.GetTavikResource().GetAddress()});
    table.print();
}

void print(const TunerAllocation& allocation, const TunerSelection& selection, bool json, bool explain)
{
    if (!json)
        allocation.printOrigin();
    const TunerCandidate* const chosen = selection.chosen();
    if (explain && json)
        printObjects(selection);
    else if (explain)
        selectionTable(selection).print();
    else if (chosen && json)
        printJson(toJson(*chosen));
    else if (chosen)
        printChosen(*chosen);
}

/// The given storages; a GUID may stand there in any form and gets that of the overviews.
QStringList storagesOf(const CommandLine& line)
{
    QStringList storages = line.values("storage");
    for (QString& storage : storages) {
        const QUuid guid = Kolta::guidFromText(storage);
        if (!guid.isNull())
            storage = guid.toString();
    }
    return storages;
}

int select(const CommandLine& line, const TunerAllocation& allocation)
{
    const QString className = line.argument(0);
    if (!allocation.knowsClass(className))
        return eExitFailed;
    const TunerSelection selection = allocation.explain(className, storagesOf(line));
    print(allocation, selection, line.json(), line.isSet("explain"));
    if (selection.chosen())
        return eExitOk;
    printError(
        QStringLiteral("no tuner of class %1 qualifies: %2").arg(className, refusalSummary(selection)));
    return eExitFailed;
}

} // namespace

Command selectCommand()
{
    return {
        "select",
        "choose the tuner of a class, and tell why that one",
        "Chooses the tuner of a class that is to be used, of a simulated installation inside this process.",
        {{"CLASS", "Name of a tuner class."}},
        EmbeddedInstallation::options(
            {text("storage", "GUID",
                  "Only tuners with an interface to this storage; several times for any of several."),
             flag("explain", "Show every tuner of the class, in order of preference, and why.")}),
        with(TunerAllocation::start, select)};
}

} // namespace KoltaCli
