#pragma once

#include <distribution/itemtable.h>

#include <QString>

#include <optional>

namespace distribution {

/// In shorter texts it finds nothing: what is inserted is never most of a text.
constexpr int kLeastSearched = 262144;

/// What makes the text's bytes of the item's content, where one place of it differs and what comes there is
/// small; nothing otherwise. Reads both once and needs no memory for the whole.
KOLTA_DISTRIBUTION_EXPORT std::optional<values::TextSplice> FindSplice(const ItemTable::Item& former,
                                                                       const QString& text);

} // namespace distribution
