#include "commands.h"

#include <kolta/application/tunerchoice.h>
#include <kolta/application/tunertables.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/tunerclasstree.h>

namespace KoltaCli {

using Kolta::ptrTunerClassTreeItem;

namespace {

QString nameOf(const ptrTunerClassTreeItem& item)
{
    return item ? item->getName() : QString();
}

/// One object per class; the parent of a class at the top is empty.
void printObjects(const TunerChoice& choice)
{
    choice.tuners().tree().getRootItem()->applyToAllDescendants([&](const ptrTunerClassTreeItem& item) {
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
                   {QStringLiteral("generated"), choice.tuners().isDefault()}});
    });
}

void printTree(const TunerChoice& choice)
{
    choice.printOrigin();
    classTable(choice.tuners().tree(), choice.server().getAddress()).print();
    const int outside = choice.tuners().tree().getRootItem()->getNumberOfTunerChildren();
    if (outside > 0)
        printLine(QStringLiteral("tuners without a class: %1").arg(outside));
}

int classes(const CommandLine& line, const TunerChoice& choice)
{
    if (line.json())
        printObjects(choice);
    else
        printTree(choice);
    return eExitOk;
}

} // namespace

Command classesCommand()
{
    return {"classes",
            "draw the tree of tuner classes",
            "Draws the tree of tuner classes of the installation; of default "
            "classes, if it has none.",
            {},
            Servers::options(),
            with(TunerChoice::start, classes)};
}

} // namespace KoltaCli
