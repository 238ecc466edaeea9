#pragma once

#include <koltacommon/export.h>

#include <QDateTime>

#include <functional>

/// The time of day that models and views of this process go by: when something was seen, and which day is
/// today. For the value tree's thread.
namespace Kolta::ViewTime {

using Source = std::function<QDateTime()>;

/// The machine's unless told otherwise; null: the machine's again.
KOLTA_COMMON_EXPORT void setSource(Source source);
KOLTA_COMMON_EXPORT QDateTime now();

} // namespace Kolta::ViewTime
