#pragma once

#include <QString>

namespace KoltaApps {

/// The URL of the tree that a program looks at when its user names none: that of the environment's
/// KOLTA_TREE, else that of the configuration; empty for none.
QString usualTreeUrl();

} // namespace KoltaApps
