#include "profilefile.h"

#include <common/profilemembers.h>
#include <kolta/cli/output.h>
#include <kolta/cli/standardstreams.h>

namespace KoltaCli {

using Kolta::ShortTimeProfile;

namespace {

constexpr qint64 kLargestInput = 64 * 1024 * 1024;

/// Prints what is to be said of the file.
VESK_Q9R::ReadReport read(const QString& fileName, VESK_Q9R::ShortTimeProfiles& file)
{
    VESK_Q9R::ReadReport report;
    QByteArray bytes;
    if (!isStandardStream(fileName))
        report = VESK_Q9R::readProfileFile(fileName, file);
    else if (readInput(fileName, kLargestInput, bytes, report.error))
        report = VESK_Q9R::readProfiles(bytes, nameOfInput(fileName), file);
    for (const QString& note : report.notes + report.doubts)
        printError(nameOfInput(fileName) + QStringLiteral(", ") + note);
    if (!report.isGood())
        printError(report.error);
    return report;
}

} // namespace

std::optional<Profiles> readProfiles(const QString& fileName)
{
    VESK_Q9R::ShortTimeProfiles file;
    if (!read(fileName, file).isGood())
        return std::nullopt;
    Profiles profiles;
    for (const ShortTimeProfile& profile :
         ShortTimeProfile::fromQ9RProfile(file, Kolta::eShortTimeProfileUnspecified)) {
        if (profiles.contains(profile.name)) {
            printError(QStringLiteral("%1: <Profile>: expected a name of its own, found \"%2\" twice")
                           .arg(nameOfInput(fileName), profile.name));
            return std::nullopt;
        }
        profiles.insert(profile.name, profile);
    }
    return profiles;
}

std::optional<KoltaApps::ImportableProfiles> readImportable(const QString& fileName,
                                                            Kolta::eShortTimeProfileType type, int* doubtful)
{
    VESK_Q9R::ShortTimeProfiles file;
    const VESK_Q9R::ReadReport report = read(fileName, file);
    if (!report.isGood())
        return std::nullopt;
    if (doubtful)
        *doubtful = report.doubtful;
    const KoltaApps::ImportableProfiles profiles = KoltaApps::importable(file, report, type);
    for (const auto& profile : profiles.leftOut)
        printError(QStringLiteral("%1: profile %2 (\"%3\") is not taken: %4")
                       .arg(nameOfInput(fileName), QString::number(profile.number), profile.name,
                            profile.isTwice ? QStringLiteral("the name is there twice")
                                            : QStringLiteral("a value is not understood")));
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
        for (const KoltaApps::ProfileMember& member : KoltaApps::profileMembers()) {
            const QString a = member.exact(first.value(name)), b = member.exact(second.value(name));
            if (a != b)
                differences.append({name, QLatin1String(member.name), a, b});
        }
    }
    return differences;
}

} // namespace KoltaCli
