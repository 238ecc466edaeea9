#pragma once

#include <koltacommon/event.h>

/// \file
/// Events as lines of a table for spreadsheets and programs, without what ends a line.

namespace KoltaApps {

constexpr const char kEventTitles[] = "time,weight,server,kind,text,guid";
/// `text`: what it says, of several with their count.
QString eventAsCsv(const Kolta::Event& event, const QString& text);

} // namespace KoltaApps
