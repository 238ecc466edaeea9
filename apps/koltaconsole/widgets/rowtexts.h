#pragma once

class QAbstractItemModel;
class QAbstractItemView;
class QString;

namespace KoltaConsole {

/// A name in the text of an action or a button, where "&" marks a key otherwise.
QString menuText(const QString& name);

/// A name as a part of a sentence: in one line, with an ellipsis behind `most` characters.
QString shortName(const QString& name, int most = 60);

/// "1,977", as the default locale has it. For texts that take several words at once: a name with a "%2" in it
/// must not take the place of a count.
QString countText(int count);

/// The selected rows of a view as text: cells that are shown with tabs between them, one row a line, in the
/// order that is shown. Of a view that is no tree, where cells are selected, each cell as it is read aloud.
QString selectedText(const QAbstractItemView& view);

/// The texts of all columns of a row at the top, in lower case, for filters of models that have none ready.
QString searchText(const QAbstractItemModel& model, int row);

} // namespace KoltaConsole
