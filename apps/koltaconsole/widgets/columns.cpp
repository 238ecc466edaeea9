#include "columns.h"

#include "columnfit.h"

#include <QHeaderView>
#include <QMenu>
#include <QSettings>
#include <QTreeView>

#include <algorithm>

namespace KoltaConsole {

namespace {

QString keyOf(const QString& name, const QTreeView& view)
{
    return QStringLiteral("columns/%1/%2").arg(name).arg(view.header()->count());
}

} // namespace

void dressTable(QTreeView& view)
{
    view.setRootIsDecorated(false);
    view.setUniformRowHeights(true);
    view.setAlternatingRowColors(true);
}

void setColumnWidths(QTreeView& view, std::initializer_list<int> widths)
{
    QHeaderView* const header = view.header();
    header->resizeSection(header->count() - 1, header->minimumSectionSize());
    int column = 0;
    for (const int width : widths) {
        header->resizeSection(column, std::max(width, header->sectionSizeHint(column)));
        ++column;
    }
}

void offerColumns(QTreeView& view)
{
    QHeaderView* const header = view.header();
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    QObject::connect(header, &QWidget::customContextMenuRequested, header, [&view, header](const QPoint& at) {
        auto* const menu = new QMenu(header);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        for (int column = 1; column < header->count(); ++column) {
            QAction* const choice =
                menu->addAction(view.model()->headerData(column, Qt::Horizontal).toString());
            choice->setCheckable(true);
            choice->setChecked(!header->isSectionHidden(column));
            QObject::connect(choice, &QAction::toggled, header,
                             [&view, column](bool isShown) { view.setColumnHidden(column, !isShown); });
        }
        menu->popup(header->mapToGlobal(at));
    });
}

void saveColumns(QSettings& settings, const QString& name, const QTreeView& view)
{
    ColumnFit* const fit = ColumnFit::of(view);
    if (fit)
        fit->release(); // another window may have more room
    settings.setValue(keyOf(name, view), view.header()->saveState());
    if (fit)
        fit->fit();
}

/// A header that takes its state back tells nobody by what it is sorted.
void restoreColumns(const QSettings& settings, const QString& name, QTreeView& view)
{
    QHeaderView* const header = view.header();
    if (!header->restoreState(settings.value(keyOf(name, view)).toByteArray()))
        return;
    if (view.isSortingEnabled())
        view.sortByColumn(header->sortIndicatorSection(), header->sortIndicatorOrder());
    if (ColumnFit* const fit = ColumnFit::of(view))
        fit->take();
}

} // namespace KoltaConsole
