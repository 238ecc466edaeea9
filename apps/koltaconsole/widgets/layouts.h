#pragma once

class QSettings;
class QString;
class QWidget;

namespace KoltaConsole {

/// The columns of all tables, the splitters, the tabs and the filters within a widget that has made them all,
/// in the order in which it made them.
void saveLayout(QSettings& settings, const QString& name, const QWidget& widget);
/// Leaves alone what was not saved, or for something else.
void restoreLayout(const QSettings& settings, const QString& name, const QWidget& widget);

} // namespace KoltaConsole
