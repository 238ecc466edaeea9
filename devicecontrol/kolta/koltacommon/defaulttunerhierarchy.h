#pragma once

#include <QVector>

namespace RESOURCEMANAGEMENT {
class ResourceDemandClass;
class ResourceOverview;
class TunerClass;
class TunerClassOverview;
} // namespace RESOURCEMANAGEMENT

namespace Kolta {

/// The tuner classes of an installation that has none, made from its tuners' types and bandwidths.
///
/// One class for each tuner type (letters' case counts) but "ZELM", in the order of first appearance, with
/// the tuners of the type; then the ZELM classes, nested by bandwidth, among which the tuners of type "ZELM"
/// (in any case of letters) are distributed. What ZELM classes there are depends on the tuners and on whether
/// a demand class "hw_20MHz" (in any case of letters) exists. Tuners without tuner ID are left out;
/// `tunerClasses` only says what the tuner ID is. Every class has a fresh GUID.
QVector<RESOURCEMANAGEMENT::TunerClass>
makeDefaultTunerClasses(const RESOURCEMANAGEMENT::TunerClassOverview& tunerClasses,
                        const RESOURCEMANAGEMENT::ResourceOverview& resources,
                        const QVector<RESOURCEMANAGEMENT::ResourceDemandClass>& demandClasses);

} // namespace Kolta
