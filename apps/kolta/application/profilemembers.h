#pragma once

#include <koltacommon/shorttimeprofile.h>

#include <QJsonObject>
#include <QString>
#include <QVector>

namespace KoltaCli {

/// One member of a short-time profile as people and programs are told of it.
struct ProfileMember
{
    const char* name; ///< for people, "Symbol rate" for instance
    QString text;     ///< as a profile file would have it, with its unit; empty while it is not in use
};

/// All that a file can hold but the name.
QVector<ProfileMember> membersOf(const Kolta::ShortTimeProfile& profile);
/// Everything; ranges and values that are not in use are left out.
QJsonObject toJson(const Kolta::ShortTimeProfile& profile);

/// "burst" for instance; the number of a type without a name.
QString typeText(Kolta::eShortTimeProfileType type);

} // namespace KoltaCli
