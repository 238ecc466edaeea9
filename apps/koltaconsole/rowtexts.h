#pragma once

class QString;
class QTreeView;

namespace KoltaConsole {

/// The selected rows of a view as text: cells that are shown with tabs between them, one row a line, in the
/// order that is shown.
QString selectedText(const QTreeView& view);

} // namespace KoltaConsole
