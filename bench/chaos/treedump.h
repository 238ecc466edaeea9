#pragma once

#include <values/tree.h>

#include <QByteArray>

namespace Chaos {

/// All that is at and below `path`, in a form that is the same in every process: a line for each item, by
/// path, and below it one for each item of its content.
QByteArray dumpOf(const values::Tree& tree, const QString& path);

} // namespace Chaos
