#pragma once

#include <koltacommon/shorttimeprofile.h>

#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

namespace KoltaCli {

/// Short-time profiles by name.
using Profiles = QMap<QString, Kolta::ShortTimeProfile>;

/// The profiles of a file, "-" for standard input, all of that type. Prints what was passed over and what
/// will not be understood; `doubtful`, unless null, is how many values that are. Prints an error and gives
/// nothing when the file cannot be read or has two profiles of one name, of which a collection could keep
/// only one.
std::optional<Profiles> readProfiles(const QString& fileName,
                                     Kolta::eShortTimeProfileType type = Kolta::eShortTimeProfileUnspecified,
                                     int* doubtful = nullptr);

/// Writes a file of them; "-" stands for standard output. Returns an empty text, or what went wrong.
QString writeProfiles(const QString& fileName, const QList<Kolta::ShortTimeProfile>& profiles);

/// How one profile of two files differs.
struct ProfileDifference
{
    QString profile;
    QString member; ///< empty when only one of the files has the profile
    QString first;  ///< text of the member there; empty when it is not in use, or the profile is missing
    QString second;
};

/// In the order of the names; members in the order of membersOf().
QVector<ProfileDifference> compareProfiles(const Profiles& first, const Profiles& second);

} // namespace KoltaCli
