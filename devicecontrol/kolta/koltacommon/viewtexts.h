#pragma once

#include <koltacommon/export.h>

#include <QDateTime>
#include <QString>

/// Texts that several models and views show.
namespace Kolta::ViewTexts {

/// "12:03:10" of the day that ViewTime::now() is on, "yesterday 23:14", else the date with the time, as the
/// default locale writes it; in local time. Empty for an invalid one.
KOLTA_COMMON_EXPORT QString time(const QDateTime& time);

/// "last known 12:03:10"; "last known earlier" with an invalid one, for what was so before anybody looked.
KOLTA_COMMON_EXPORT QString lastKnown(const QDateTime& time);

/// With milliseconds, for lists of what happened: with the date unless it is of that day.
KOLTA_COMMON_EXPORT QString exactTime(const QDateTime& time);

/// "3 – 30 MHz"; empty when both say nothing. What is not said is left out.
KOLTA_COMMON_EXPORT QString range(double from, double to);

/// hertzToText(); empty for what says nothing: 0, less, or no number.
KOLTA_COMMON_EXPORT QString hertz(double hertz);

} // namespace Kolta::ViewTexts
