#pragma once

#include <kolta/cli/table.h>

#include <QString>

namespace Kolta {
class TunerClassTree;
class TunerClassTreeItem;
struct TunerSelection;
} // namespace Kolta
namespace RESOURCEMANAGEMENT {
class Tuner;
}

namespace KoltaCli {

struct TunerPlan;

// Tuner classes, choices and plans as tables for people.

/// The classes as a tree with branches.
Table classTable(const Kolta::TunerClassTree& tree, const QString& title);
/// Every candidate in the order of choice, then the refused ones.
Table selectionTable(const Kolta::TunerSelection& selection);
Table planTable(const TunerPlan& plan);

QString nameOf(const RESOURCEMANAGEMENT::Tuner& tuner);
QString guidOf(const RESOURCEMANAGEMENT::Tuner& tuner);

/// How many tuners a class has, nested classes included.
struct TunerCount
{
    int all = 0;
    int free = 0;
};
TunerCount countTuners(const Kolta::TunerClassTreeItem& item);

} // namespace KoltaCli
