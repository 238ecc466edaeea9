#pragma once

#include "../plots/frequencylanes.h"

namespace KoltaConsole {

class RowIndex;
class Session;

/// By what tuners are put together.
enum class TunerGroups { ByClass, ByServer, ByType, None };

/// The shown tuners as lanes, in the order of the lanes' names, with what runs on each.
QVector<Lane> lanesOf(const Session& session, const RowIndex& rows, TunerGroups groups);

} // namespace KoltaConsole
