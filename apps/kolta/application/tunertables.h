#pragma once

#include <kolta/cli/table.h>

#include <QJsonObject>
#include <QString>
#include <QVector>

namespace Kolta {
class KoltaResourceObserver;
class KoltaServerInterface;
class TunerClassTree;
class TunerClassTreeItem;
struct TunerCandidate;
struct TunerSelection;
} // namespace Kolta
namespace RESOURCEMANAGEMENT {
class Tuner;
}

namespace KoltaCli {

// Tuner classes and choices as tables for people, and choices as JSON for programs.

/// The classes as a tree with branches.
Table classTable(const Kolta::TunerClassTree& tree, const QString& title);
/// Every candidate in the order of choice with all that it depends on, then the refused ones.
Table selectionTable(const Kolta::TunerSelection& selection);
/// The same with the cost alone and all that is known of why, narrow enough for any terminal.
Table reasonTable(const Kolta::TunerSelection& selection);
QJsonObject toJson(const Kolta::TunerCandidate& candidate);
/// One object per candidate in order; `rank` is missing for the refused ones, `ahead` for the last as well.
QVector<QJsonObject> toJson(const Kolta::TunerSelection& selection);

QString nameOf(const RESOURCEMANAGEMENT::Tuner& tuner);
QString guidOf(const RESOURCEMANAGEMENT::Tuner& tuner);

/// How many tuners a class has, nested classes included.
struct TunerCount
{
    int all = 0;
    int free = 0;
};
TunerCount countTuners(const Kolta::TunerClassTreeItem& item);

/// The tuner of `server` that `text` names, by its name or its GUID; until the next change of `resources`.
/// Prints an error and gives null when it names none or several.
const RESOURCEMANAGEMENT::Tuner* findTuner(const Kolta::KoltaResourceObserver& resources,
                                           const QString& server, const QString& text);
/// The GUID of that tuner; nothing where there is none.
QString findTuner(Kolta::KoltaServerInterface& server, const QString& text);

} // namespace KoltaCli
