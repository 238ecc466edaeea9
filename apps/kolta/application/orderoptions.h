#pragma once

#include <kolta/cli/command.h>

#include <koltacommon/productionorder.h>
#include <koltacommon/tunerneeds.h>

namespace KoltaCli {

class CommandLine;

/// What the first argument of a command that orders may be.
QStringList orderKinds();
/// All that says what is ordered.
QVector<Option> orderOptions();
/// Reads it; what must be looked up on a server, --tuner, --mcp and --storage, stands in the order as it was
/// typed if it is no GUID. What does not go together, or nothing.
QString readOrder(const CommandLine& line, Kolta::ProductionOrder& order);

/// What a tuner must be able to do, for commands that choose one without an order.
QVector<Option> needsOptions();
Kolta::TunerNeeds needsFrom(const CommandLine& line);
/// The storages; a GUID may stand there in any form and gets that of the overviews.
QStringList storagesFrom(const CommandLine& line);

} // namespace KoltaCli
