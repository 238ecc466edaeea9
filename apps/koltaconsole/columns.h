#pragma once

#include <initializer_list>

class QTreeView;

namespace KoltaConsole {

/// Gives the first columns these widths, or as much as their titles need in the language of the day; the last
/// one takes the rest.
void setColumnWidths(QTreeView& view, std::initializer_list<int> widths);

} // namespace KoltaConsole
