#pragma once

class QTreeView;

namespace Kolta {
class EventModel;
}

namespace KoltaConsole {

/// Makes the view one of events, with a mark for what each weighs; `events` is to outlive it.
void makeEventTable(QTreeView& view, Kolta::EventModel& events);

} // namespace KoltaConsole
