#pragma once

#include <koltacommon/shorttimeprofile.h>

#include <QString>
#include <QStringList>

#include <optional>

namespace KoltaApps {

/// The word by which people name a type of short-time profiles, "burst" for instance; null for a number
/// without one.
QString profileTypeWord(Kolta::eShortTimeProfileType type);
/// Nothing for a text that names no type.
std::optional<Kolta::eShortTimeProfileType> profileTypeFromWord(const QString& word);
/// All of them, in the order of their numbers.
QStringList profileTypeWords();

} // namespace KoltaApps
