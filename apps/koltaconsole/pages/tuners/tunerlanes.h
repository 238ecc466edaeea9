#pragma once

#include <koltaconsole/plots/frequencylanes.h>

namespace Kolta {
class TunerModel;
}

namespace KoltaConsole {

class RowIndex;
class Session;

/// By what tuners are put together.
enum class TunerGroups { ByClass, ByServer, ByType, None };

/// The name of the group that the tuner in that row is in.
QString tunerGroupOf(const Kolta::TunerModel& model, int row, TunerGroups groups);
/// The tuners that fit the filter as lanes, in the order of the lanes' names, with what runs on each.
QVector<Lane> lanesOf(const Session& session, const RowIndex& rows, TunerGroups groups);

} // namespace KoltaConsole
