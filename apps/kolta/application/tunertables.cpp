#include "tunertables.h"

#include "tunerplan.h"

#include <koltacommon/tunerclasstree.h>
#include <koltacommon/tunerselection.h>
#include <koltacommon/units.h>

#include <QHash>

namespace KoltaCli {

using Kolta::ptrTunerClassTreeItem;
using Kolta::TunerCandidate;
using Kolta::TunerClassTreeItem;
using Kolta::TunerFilter;
using Kolta::TunerRefusal;
using RESOURCEMANAGEMENT::Tuner;

namespace {

QString yes(bool value)
{
    return value ? QStringLiteral("yes") : QString();
}

/// What stands left of the names of a class's children.
using Margins = QHash<const TunerClassTreeItem*, QString>;

QString drawBranch(const ptrTunerClassTreeItem& item, Margins& margins)
{
    const ptrTunerClassTreeItem parent = item->getParent();
    // Classes stand behind the tuners, so the last child of a class that has classes is one.
    const bool isLast = item->getTreeIndex() == parent->getNumberOfChildren() - 1;
    const QString margin = margins.value(parent.get());
    margins.insert(item.get(), margin + (isLast ? QStringLiteral("   ") : QStringLiteral("│  ")));
    return margin + (isLast ? QStringLiteral("└─ ") : QStringLiteral("├─ ")) + item->getName();
}

QStringList cells(const TunerCandidate& candidate, int rank)
{
    const bool isRefused = candidate.refusal != TunerRefusal::None;
    const bool hasPlace = candidate.refusal != TunerRefusal::NotInTree;
    return {isRefused ? QString() : QString::number(rank),
            nameOf(candidate.tuner),
            hasPlace ? QString::number(candidate.cost) : QString(),
            hasPlace ? QString::number(candidate.depth) : QString(),
            Kolta::megahertzToText(candidate.bandwidth),
            yes(candidate.hardwareProcessing),
            yes(candidate.panoramaScan),
            isRefused ? QStringLiteral("refused: ") + toText(candidate.refusal) : toText(candidate.ahead)};
}

} // namespace

QString nameOf(const Tuner& tuner)
{
    return tuner.GetTavikResource().GetDisplayName();
}

QString guidOf(const Tuner& tuner)
{
    return tuner.GetTavikResource().GetGUID();
}

TunerCount countTuners(const TunerClassTreeItem& item)
{
    TunerCount count;
    for (const ptrTunerClassTreeItem& tuner : item.getTunerDescendants()) {
        ++count.all;
        if (TunerFilter::refusalByState(tuner->getTuner()) == TunerRefusal::None)
            ++count.free;
    }
    return count;
}

Table classTable(const Kolta::TunerClassTree& tree, const QString& title)
{
    Table table({title, QStringLiteral("COST"), QStringLiteral("FREE"), QStringLiteral("TUNERS"),
                 QStringLiteral("DEFAULT"), QStringLiteral("DESCRIPTION")});
    table.alignRight({1, 2, 3});
    Margins margins;
    tree.getRootItem()->applyToAllDescendants([&](const ptrTunerClassTreeItem& item) {
        if (!item->isClassItem())
            return;
        const TunerCount count = countTuners(*item);
        const ptrTunerClassTreeItem& defaultChild = item->getDefaultChild();
        table.addRow({drawBranch(item, margins), QString::number(item->getCost()),
                      QString::number(count.free), QString::number(count.all),
                      defaultChild ? defaultChild->getName() : QString(), item->getDescription()});
    });
    return table;
}

Table selectionTable(const Kolta::TunerSelection& selection)
{
    Table table({QStringLiteral("RANK"), QStringLiteral("TUNER"), QStringLiteral("COST"),
                 QStringLiteral("DEPTH"), QStringLiteral("MHz"), QStringLiteral("HARDWARE"),
                 QStringLiteral("PANORAMA"), QStringLiteral("AHEAD OF THE NEXT BY")});
    table.alignRight({0, 2, 3, 4});
    int rank = 0;
    for (const TunerCandidate& candidate : selection.candidates)
        table.addRow(cells(candidate, ++rank));
    return table;
}

Table planTable(const TunerPlan& plan)
{
    Table table({QStringLiteral("REQUEST"), QStringLiteral("CLASS"), QStringLiteral("TUNER"),
                 QStringLiteral("COST"), QStringLiteral("BOOKED")});
    table.alignRight({0, 3});
    int number = 0;
    for (const TunerPlan::Request& request : plan.requests)
        table.addRow({QString::number(++number), request.className,
                      request.served ? nameOf(request.tuner) : QStringLiteral("-"),
                      request.served ? QString::number(request.cost) : QString(), yes(request.booked)});
    table.addRow({QString(), QString(), QStringLiteral("total"), QString::number(plan.totalCost)});
    return table;
}

} // namespace KoltaCli
