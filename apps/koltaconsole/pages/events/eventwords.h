#pragma once

#include <koltacommon/eventmodel.h>

class QByteArray;

namespace KoltaConsole {

/// What a filter line of events says: words that all occur, words behind a "!" that do not, a day,
/// "2026-11-21", and times of day, "11:00-12:00", "11:00-" or "-12:00". Without a day a range is of today, or
/// of yesterday where it would begin in the future; one that ends before it begins goes over midnight. Words
/// in double quotes belong together.
Kolta::EventFilter eventFilterOf(const QString& text, const QDateTime& now);

enum class EventFormat { Csv, JsonLines };
/// What the model shows, oldest first. Lines of a table for spreadsheets and programs, in UTF-8, with a line
/// of titles; or one JSON object a line. What repeats is one line with its count.
QByteArray eventsAs(EventFormat format, const Kolta::EventModel& model);

} // namespace KoltaConsole
