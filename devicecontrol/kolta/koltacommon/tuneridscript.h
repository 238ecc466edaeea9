#pragma once

#include <koltacommon/export.h>

#include <QString>
#include <QStringList>

namespace RESOURCEMANAGEMENT {
class Tuner;
}

namespace Kolta {

/// Computes a tuner ID by a user's script, in ECMAScript as Qt Script has it.
///
/// The script sees the global texts "TunerXml" (the tuner record as XML), "ConfigurationXml" (the tuner's
/// configuration), "Address", "Guid", "DisplayName" and "SerialNumber", and what the language itself brings;
/// neither files nor objects of the application nor anything to print with. It leaves the ID as a text in
/// the global "TunerID".
///
/// Returns an empty text, and appends one line to `errors` unless that is null, when the script throws or
/// does not end in time (the line is 0 then), sets no text or an empty one, or the tuner cannot be written as
/// XML.
///
/// The caller waits for no longer than the configured time, "TunerIdScript"/"TimeLimitMs", and a moment.
/// Scripts run on threads of their own and never process the application's events. A script that loops is
/// stopped when its time is over. One that cannot be stopped then (it is within a single long operation of
/// the language, such as the sorting of millions of numbers, or only calls itself, or loops while its result
/// or exception is read) is left behind and burns its thread until it ends. As long as four of them do, no
/// further script is run. The memory that a script takes within its time is not bounded: who must not be able
/// to bring the process down must not be let write scripts. Needs a QCoreApplication; any thread.
KOLTA_COMMON_EXPORT QString evaluateTunerIdScript(const RESOURCEMANAGEMENT::Tuner& tuner,
                                                  const QString& script, QStringList* errors);

} // namespace Kolta
