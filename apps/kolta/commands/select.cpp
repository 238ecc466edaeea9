#include "commands.h"

#include <kolta/application/orderoptions.h>
#include <kolta/application/tunerchoice.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/tunerselection.h>

#include <algorithm>

namespace KoltaCli {

using Kolta::TunerCandidate;
using Kolta::TunerSelection;

namespace {

void printChosen(const TunerCandidate& chosen)
{
    Table table(
        {QStringLiteral("TUNER"), QStringLiteral("COST"), QStringLiteral("GUID"), QStringLiteral("ADDRESS")});
    table.alignRight({1});
    table.addRow({nameOf(chosen.tuner), QString::number(chosen.cost), guidOf(chosen.tuner),
                  chosen.tuner.GetTavikResource().GetAddress()});
    table.print();
}

/// Every tuner of the class, and for those of whom more is known, why they were refused.
void printAll(const TunerSelection& selection, bool json)
{
    if (json) {
        for (const QJsonObject& object : toJson(selection))
            printJson(object);
        return;
    }
    selectionTable(selection).print();
    TunerSelection known = selection;
    const auto isPlain = [](const TunerCandidate& candidate) {
        return candidate.detail.isEmpty() || candidate.refusal == Kolta::TunerRefusal::Excluded;
    };
    known.candidates.erase(std::remove_if(known.candidates.begin(), known.candidates.end(), isPlain),
                           known.candidates.end());
    if (known.candidates.isEmpty())
        return;
    printLine(QString());
    reasonTable(known).print();
}

int select(const CommandLine& line, const TunerChoice& choice)
{
    const QString className = line.argument(0);
    if (!choice.knowsClass(className))
        return eExitFailed;
    const TunerSelection selection = choice.tuners().explain(className, needsFrom(line), storagesFrom(line));
    const TunerCandidate* const chosen = selection.chosen();
    if (!line.json())
        choice.printOrigin();
    if (line.isSet("explain"))
        printAll(selection, line.json());
    else if (chosen && line.json())
        printJson(toJson(*chosen));
    else if (chosen)
        printChosen(*chosen);
    if (chosen)
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
        "Chooses the tuner of a class that is to be used, of the installation.",
        {{"CLASS", "Name of a tuner class."}},
        Servers::options(needsOptions() +
                         QVector<Option>{flag(
                             "explain", "Show every tuner of the class, in order of preference, and why.")}),
        with(TunerChoice::start, select)};
}

} // namespace KoltaCli
