#include "commands.h"

#include <kolta/application/tunerallocation.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

namespace KoltaCli {

using Kolta::ptrTunerClassTreeItem;

namespace {

QString nameOf(const ptrTunerClassTreeItem& item)
{
    return item ? item->getName() : QString();
}

/// One object per class; the parent of a class at the top is empty.
void printObjects(const TunerAllocation& allocation)
{
    allocation.tree().getRootItem()->applyToAllDescendants([&](const ptrTunerClassTreeItem& item) {
        if (!item->isClassItem())
            return;
        const TunerCount count = countTuners(*item);
        const ptrTunerClassTreeItem parent = item->getParent();
        printJson({{QStringLiteral("name"), item->getName()},
                   {QStringLiteral("guid"), item->getID()},
                   {QStringLiteral("description"), item->getDescription()},
                   {QStringLiteral("parent"), parent->isRootItem() ? QString() : parent->getName()},
                   {QStringLiteral("depth"), item->getDepth()},
                   {QStringLiteral("cost"), item->getCost()},
                   {QStringLiteral("pathCost"), item->getPathCost()},
                   {QStringLiteral("demandClass"), item->getRDC()},
                   {QStringLiteral("hardware"), item->getHWProcessing()},
                   {QStringLiteral("defaultChild"), nameOf(item->getDefaultChild())},
                   {QStringLiteral("defaultTuner"), nameOf(item->getDefaultTuner())},
                   {QStringLiteral("free"), count.free},
                   {QStringLiteral("tuners"), count.all},
                   {QStringLiteral("generated"), allocation.isDefault()}});
    });
}

void printTree(const TunerAllocation& allocation)
{
    allocation.printOrigin();
    printLine(classTable(allocation.tree(), allocation.serverName()));
    const int outside = allocation.tree().getRootItem()->getNumberOfTunerChildren();
    if (outside > 0)
        printLine(QStringLiteral("tuners without a class: %1").arg(outside));
}

} // namespace

int runClasses(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("classes"),
                     QStringLiteral("Draws the tree of tuner classes of a simulated installation inside this "
                                    "process; of default classes, if it has none."));
    EmbeddedInstallation::declareOptions(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto allocation = TunerAllocation::start(line);
    if (!allocation)
        return eExitFailed;
    if (line.json())
        printObjects(*allocation);
    else
        printTree(*allocation);
    return eExitOk;
}

} // namespace KoltaCli
