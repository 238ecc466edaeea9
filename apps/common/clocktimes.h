#pragma once

#include <QDateTime>
#include <QString>

namespace KoltaApps {

/// "9:58", "09:58:05" or "09:58:05.803"; not valid for any other text.
QTime timeOfDay(const QString& text);
/// A day, a day with a time, "2026-11-21T09:58", or a time of today; not valid for any other text.
QDateTime momentOf(const QString& text);
/// Empty for a text that is a moment.
QString problemOfMoment(const QString& text);

} // namespace KoltaApps
