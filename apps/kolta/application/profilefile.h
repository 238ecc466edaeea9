#pragma once

#include <common/importableprofiles.h>

#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

namespace KoltaCli {

/// Short-time profiles by name.
using Profiles = QMap<QString, Kolta::ShortTimeProfile>;

/// The profiles of a file, "-" for standard input. Prints what was passed over and what will not be
/// understood. Prints an error and gives nothing when the file cannot be read or has two profiles of one
/// name, of which only one could be compared.
std::optional<Profiles> readProfiles(const QString& fileName);

/// Those of them that an import takes, all of that type. Prints the same, and a line for each that it leaves
/// out; `doubtful`, unless null, is how many values will not be understood. Nothing when the file cannot be
/// read.
std::optional<KoltaApps::ImportableProfiles>
readImportable(const QString& fileName,
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

/// In the order of the names; members in the order of profileMembers().
QVector<ProfileDifference> compareProfiles(const Profiles& first, const Profiles& second);

} // namespace KoltaCli
