#pragma once

#include <QString>

namespace KoltaConsole {

/// The lines of `kolta`, each of which names the tree by `url`, so that it does the same in any terminal: one
/// that names none simulates servers of its own. Those of commands that look at no tree, and those that name
/// one, stay as they are, and so do all where `url` is empty.
QString linesOnTree(const QString& lines, const QString& url);

} // namespace KoltaConsole
