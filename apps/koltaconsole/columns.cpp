#include "columns.h"

#include <QHeaderView>
#include <QTreeView>

#include <algorithm>

namespace KoltaConsole {

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

} // namespace KoltaConsole
