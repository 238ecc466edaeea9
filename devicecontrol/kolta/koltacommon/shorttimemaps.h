#pragma once

#include <koltacommon/servernodes.h>

#include <values/tree.h>

namespace Kolta {

/// The collection of short-time data of that kind that the server at `basePath` publishes in the tree; null
/// when it publishes none, and while it is away. The tree owns it. On the tree's thread.
///
///     if (auto* const profiles =
///     Kolta::shortTimeMap<Kolta::ShortTimeProfileItemMap>(server.getServerBasePath()))
template<class Map>
Map* shortTimeMap(const QString& basePath, const values::Tree& tree = values::Tree::Instance())
{
    auto* const map = tree.FindAs<Map>(ServerNodes::shortTimePath<Map>(basePath));
    return map && !map->IsDeleted() ? map : nullptr;
}

} // namespace Kolta
