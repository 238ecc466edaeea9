#pragma once

#include <QSocketNotifier>
#include <QString>

#include <memory>

namespace KoltaCli {

// What commands that print until they are interrupted have in common.

/// The time as it stands in a line of such output.
QString now();
/// Sees that the reader of a pipe has gone also while there is nothing to print. Null when the output is no
/// pipe.
std::unique_ptr<QSocketNotifier> watchOutput();

} // namespace KoltaCli
