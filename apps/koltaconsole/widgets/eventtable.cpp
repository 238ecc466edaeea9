#include "eventtable.h"

#include "columns.h"
#include "stateitemdelegate.h"

#include <koltacommon/eventmodel.h>
#include <koltacommon/viewroles.h>

#include <QTreeView>

namespace KoltaConsole {

void makeEventTable(QTreeView& view, Kolta::EventModel& events)
{
    view.setModel(&events);
    view.setItemDelegate(new StateItemDelegate(&view, [](const QModelIndex& index) {
        return index.column() == Kolta::EventModel::eWeightColumn
                   ? std::optional<Look>(eventLook(index.data(Kolta::ViewRoles::StateRole).toInt()))
                   : std::nullopt;
    }));
    dressTable(view);
}

} // namespace KoltaConsole
