#pragma once

#include <QString>

#include <optional>

namespace KoltaApps {

/// A tree and where it is named: "--tree", "KOLTA_TREE" or "Distribution/Url".
struct NamedTree
{
    QString url; ///< empty when none is named
    QString source;
};

/// The tree that a program looks at: that of its option `--tree` where it is given, else that of the
/// environment's KOLTA_TREE, else that of the configuration.
NamedTree namedTree(const std::optional<QString>& option);

} // namespace KoltaApps
