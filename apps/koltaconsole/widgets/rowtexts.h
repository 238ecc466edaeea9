#pragma once

class QAbstractItemModel;
class QAbstractItemView;
class QString;

namespace KoltaConsole {

/// The selected rows of a view as text: cells that are shown with tabs between them, one row a line, in the
/// order that is shown. Of a view that is no tree, where cells are selected, each cell as it is read aloud.
QString selectedText(const QAbstractItemView& view);

/// The texts of all columns of a row at the top, in lower case, for filters of models that have none ready.
QString searchText(const QAbstractItemModel& model, int row);

} // namespace KoltaConsole
