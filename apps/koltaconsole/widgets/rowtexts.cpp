#include "rowtexts.h"

#include <startup/onelinetext.h>

#include <QHeaderView>
#include <QLocale>
#include <QTreeView>

#include <algorithm>

namespace KoltaConsole {

QString menuText(const QString& name)
{
    return QString(name).replace(QLatin1Char('&'), QLatin1String("&&"));
}

QString shortName(const QString& name, int most)
{
    const QString line = Startup::oneLineText(name);
    return line.size() <= most ? line : line.left(most - 1) + QChar(0x2026);
}

QString countText(int count)
{
    return QLocale().toString(count);
}

QString searchText(const QAbstractItemModel& model, int row)
{
    QStringList cells;
    for (int column = 0; column < model.columnCount(); ++column)
        cells.append(model.index(row, column).data().toString());
    return cells.join(QLatin1Char('\n')).toLower();
}

namespace {

QString cellsText(const QAbstractItemView& view)
{
    QModelIndexList selected = view.selectionModel()->selectedIndexes();
    std::sort(selected.begin(), selected.end());
    QStringList lines;
    for (const QModelIndex& index : qAsConst(selected)) {
        const QString aloud = index.data(Qt::AccessibleTextRole).toString();
        lines.append((aloud.isEmpty() ? index.data().toString() : aloud).trimmed());
    }
    return lines.join(QLatin1Char('\n'));
}

QString rowsText(const QTreeView& view)
{
    const QHeaderView* const header = view.header();
    QStringList lines;
    QModelIndex index = view.model()->index(0, 0);
    for (; index.isValid(); index = view.indexBelow(index)) {
        if (!view.selectionModel()->isRowSelected(index.row(), index.parent()))
            continue;
        QStringList cells;
        for (int place = 0; place < header->count(); ++place) {
            const int column = header->logicalIndex(place);
            if (!header->isSectionHidden(column))
                cells.append(index.sibling(index.row(), column).data().toString());
        }
        lines.append(cells.join(QLatin1Char('\t')));
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

QString selectedText(const QAbstractItemView& view)
{
    if (!view.model() || !view.selectionModel())
        return QString();
    const auto* const tree = qobject_cast<const QTreeView*>(&view);
    return tree ? rowsText(*tree) : cellsText(view);
}

} // namespace KoltaConsole
