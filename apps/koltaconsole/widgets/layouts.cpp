#include "layouts.h"

#include "columns.h"
#include "filterbar.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QSettings>
#include <QSplitter>
#include <QTabWidget>
#include <QTreeView>

#include <functional>

namespace KoltaConsole {

namespace {

/// Each with a key of its own. What stands in a window of its own, as a dialog, is no part of the layout.
template<class Widget>
void forAll(const QString& name, const QWidget& widget,
            const std::function<void(const QString& key, Widget& part)>& deed)
{
    int number = 0;
    for (Widget* const part : widget.findChildren<Widget*>()) {
        if (part->window() != widget.window())
            continue;
        const QString kind = QString::fromLatin1(Widget::staticMetaObject.className());
        deed(QStringLiteral("%1-%2-%3").arg(name, kind).arg(number), *part);
        ++number;
    }
}

QString below(const char* group, const QString& key)
{
    return QStringLiteral("layout/%1/%2").arg(QLatin1String(group), key);
}

} // namespace

void saveLayout(QSettings& settings, const QString& name, const QWidget& widget)
{
    forAll<QTreeView>(name, widget, [&settings](const QString& key, const QTreeView& view) {
        saveColumns(settings, key, view);
    });
    forAll<QSplitter>(name, widget, [&settings](const QString& key, const QSplitter& splitter) {
        settings.setValue(below("splitters", key), splitter.saveState());
    });
    forAll<QTabWidget>(name, widget, [&settings](const QString& key, const QTabWidget& tabs) {
        settings.setValue(below("tabs", key), tabs.currentIndex());
    });
    forAll<FilterBar>(name, widget, [&settings](const QString& key, const FilterBar& filter) {
        settings.setValue(below("filters", key), filter.text());
    });
}

void restoreLayout(const QSettings& settings, const QString& name, const QWidget& widget)
{
    forAll<QTreeView>(name, widget, [&settings](const QString& key, QTreeView& view) {
        restoreColumns(settings, key, view);
    });
    forAll<QSplitter>(name, widget, [&settings](const QString& key, QSplitter& splitter) {
        splitter.restoreState(settings.value(below("splitters", key)).toByteArray());
    });
    forAll<QTabWidget>(name, widget, [&settings](const QString& key, QTabWidget& tabs) {
        const QVariant index = settings.value(below("tabs", key));
        if (index.isValid())
            tabs.setCurrentIndex(index.toInt());
    });
    forAll<FilterBar>(name, widget, [&settings](const QString& key, const FilterBar& filter) {
        filter.line()->setText(settings.value(below("filters", key)).toString());
    });
}

} // namespace KoltaConsole
