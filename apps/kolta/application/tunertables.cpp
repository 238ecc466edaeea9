#include "tunertables.h"

#include <kolta/cli/output.h>

#include <koltacommon/guidindex.h>
#include <koltacommon/guidtext.h>
#include <koltacommon/koltaresourceobserver.h>
#include <koltacommon/koltaserverinterface.h>
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

/// Whom this process has planned a tuner for is told as shortly.
QString shortReason(const TunerCandidate& candidate)
{
    const bool isPlanned = candidate.refusal == TunerRefusal::Excluded && !candidate.detail.isEmpty();
    return isPlanned ? candidate.detail : toText(candidate.refusal);
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
            isRefused ? QStringLiteral("refused: ") + shortReason(candidate) : toText(candidate.ahead)};
}

/// Why a tuner stands where it does. What is known of its holder or its range says more than the short word.
QString reasonOf(const TunerCandidate& candidate)
{
    if (candidate.refusal == TunerRefusal::None)
        return toText(candidate.ahead);
    if (candidate.detail.isEmpty())
        return QStringLiteral("refused: ") + toText(candidate.refusal);
    const QString reason = candidate.refusal == TunerRefusal::NotIdle
                               ? QStringLiteral("%1 by %2").arg(toText(candidate.refusal), candidate.detail)
                               : candidate.detail;
    return QStringLiteral("refused: ") + reason;
}

} // namespace

QString nameOf(const Tuner& tuner)
{
    return tuner.GetTavikResource().GetDisplayName();
}

QString guidOf(const Tuner& tuner)
{
    return Kolta::ResourceGuid::of(tuner);
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

Table reasonTable(const Kolta::TunerSelection& selection)
{
    Table table(
        {QStringLiteral("RANK"), QStringLiteral("TUNER"), QStringLiteral("COST"), QStringLiteral("REASON")});
    table.alignRight({0, 2});
    int rank = 0;
    for (const TunerCandidate& candidate : selection.candidates) {
        const QStringList all = cells(candidate, ++rank);
        table.addRow({all.at(0), all.at(1), all.at(2), reasonOf(candidate)});
    }
    return table;
}

/// Published: the words stay as they are, whatever people read.
QString nameOf(TunerRefusal refusal)
{
    switch (refusal) {
    case TunerRefusal::NotAccessible:
        return QStringLiteral("not accessible");
    case TunerRefusal::NotIdle:
        return QStringLiteral("not idle");
    default:
        return toText(refusal);
    }
}

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
        object[QStringLiteral("refusal")] = nameOf(candidate.refusal);
    if (!candidate.detail.isEmpty())
        object[QStringLiteral("detail")] = candidate.detail;
    return object;
}

QVector<QJsonObject> toJson(const Kolta::TunerSelection& selection)
{
    QVector<QJsonObject> objects;
    int rank = 0;
    for (const TunerCandidate& candidate : selection.candidates) {
        QJsonObject object = toJson(candidate);
        if (candidate.refusal == TunerRefusal::None)
            object[QStringLiteral("rank")] = ++rank;
        if (candidate.ahead != Kolta::TunerCriterion::None)
            object[QStringLiteral("ahead")] = toText(candidate.ahead);
        objects.append(object);
    }
    return objects;
}

const Tuner* findTuner(const Kolta::KoltaResourceObserver& resources, const QString& server,
                       const QString& text)
{
    const QUuid guid = Kolta::guidFromText(text);
    QVector<const Tuner*> found;
    for (const Tuner& tuner : resources.GetCurrentResources().GetTuner()) {
        if (guid.isNull() ? nameOf(tuner) == text : Kolta::guidFromText(guidOf(tuner)) == guid)
            found.append(&tuner);
    }
    if (found.size() == 1)
        return found.first();
    printError(
        found.isEmpty()
            ? QStringLiteral("%1 has no tuner \"%2\"").arg(server, text)
            : QStringLiteral("%1 tuners are called \"%2\", give its GUID").arg(found.size()).arg(text));
    return nullptr;
}

QString findTuner(Kolta::KoltaServerInterface& server, const QString& text)
{
    const Tuner* const tuner = findTuner(server.getResourceObserver(), server.getAddress(), text);
    return tuner ? guidOf(*tuner) : QString();
}

} // namespace KoltaCli
