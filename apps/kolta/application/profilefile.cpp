#include "profilefile.h"

#include "profilemembers.h"

#include <kolta/cli/output.h>
#include <kolta/cli/standardstreams.h>

#include <koltacommon/q9rprofiles.h>

namespace KoltaCli {

using Kolta::ShortTimeProfile;

namespace {

constexpr qint64 kLargestInput = 64 * 1024 * 1024;

VESK_Q9R::ReadReport read(const QString& fileName, VESK_Q9R::ShortTimeProfiles& file)
{
    if (!isStandardStream(fileName))
        return VESK_Q9R::readProfileFile(fileName, file);
    VESK_Q9R::ReadReport report;
    QByteArray bytes;
    if (readInput(fileName, kLargestInput, bytes, report.error))
        report = VESK_Q9R::readProfiles(bytes, nameOfInput(fileName), file);
    return report;
}

} // namespace

std::optional<Profiles> readProfiles(const QString& fileName, Kolta::eShortTimeProfileType type,
                                     int* doubtful)
{
    VESK_Q9R::ShortTimeProfiles file;
    const VESK_Q9R::ReadReport report = read(fileName, file);
    if (doubtful)
        *doubtful = report.doubtful;
    for (const QString& note : report.notes + report.doubts)
        printError(nameOfInput(fileName) + QStringLiteral(", ") + note);
    if (!report.isGood()) {
        printError(report.error);
        return std::nullopt;
    }
    Profiles profiles;
    for (const ShortTimeProfile& profile : ShortTimeProfile::fromQ9RProfile(file, type)) {
        if (profiles.contains(profile.name)) {
            printError(QStringLiteral("%1: <Profile>: expected a name of its own, found \"%2\" twice")
                           .arg(nameOfInput(fileName), profile.name));
            return std::nullopt;
        }
        profiles.insert(profile.name, profile);
    }
    return profiles;
}

QString writeProfiles(const QString& fileName, const QList<ShortTimeProfile>& profiles)
{
    const VESK_Q9R::ShortTimeProfiles file = ShortTimeProfile::toQ9RProfile(profiles);
    if (!isStandardStream(fileName))
        return VESK_Q9R::writeProfileFile(fileName, file);
    QString problem;
    const QByteArray bytes = VESK_Q9R::writeProfiles(file, problem);
    if (problem.isEmpty())
        printLine(QString::fromUtf8(bytes).trimmed());
    return problem;
}

QVector<ProfileDifference> compareProfiles(const Profiles& first, const Profiles& second)
{
    Profiles all = second;
    for (const ShortTimeProfile& profile : first)
        all.insert(profile.name, profile);
    QVector<ProfileDifference> differences;
    for (const QString& name : all.keys()) {
        if (!first.contains(name) || !second.contains(name)) {
            differences.append({name, QString(), first.contains(name) ? name : QString(),
                                second.contains(name) ? name : QString()});
            continue;
        }
        const QVector<ProfileMember> a = membersOf(first.value(name));
        const QVector<ProfileMember> b = membersOf(second.value(name));
        for (int i = 0; i < a.size(); ++i) {
            if (a.at(i).text != b.at(i).text)
                differences.append({name, QLatin1String(a.at(i).name), a.at(i).text, b.at(i).text});
        }
    }
    return differences;
}

} // namespace KoltaCli
