#pragma once

#include <initializer_list>

class QSettings;
class QString;
class QTreeView;

namespace KoltaConsole {

/// A table of rows: no branches, one height, every other row shaded.
void dressTable(QTreeView& view);
/// Gives the first columns these widths, or as much as their titles need in the language of the day; the last
/// one takes the rest.
void setColumnWidths(QTreeView& view, std::initializer_list<int> widths);
/// Which columns are shown, each but the first, is chosen in the menu of the titles.
void offerColumns(QTreeView& view);
/// Widths, order, choice and sorting. What was saved with other columns is left alone.
void saveColumns(QSettings& settings, const QString& name, const QTreeView& view);
void restoreColumns(const QSettings& settings, const QString& name, QTreeView& view);

} // namespace KoltaConsole
