#pragma once

#include <QDateTime>
#include <QString>

/// Texts that several models show.
namespace Kolta::ViewTexts {

/// The time of day if it is today's, else with the date; in local time. Empty for an invalid one.
QString time(const QDateTime& time);

/// The same with milliseconds.
QString exactTime(const QDateTime& time);

/// "3 – 30 MHz"; empty when both say nothing. What is not said is left out.
QString range(double from, double to);

/// hertzToText(); empty for what says nothing: 0, less, or no number.
QString hertz(double hertz);

} // namespace Kolta::ViewTexts
