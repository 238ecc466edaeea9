#include "commands.h"

#include <common/profilemembers.h>
#include <kolta/application/profilefile.h>
#include <kolta/application/profileoptions.h>
#include <kolta/application/shorttimecollection.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>
#include <kolta/cli/standardstreams.h>
#include <kolta/cli/table.h>

#include <koltacommon/maprequestjobs.h>
#include <koltacommon/shorttimeffpassignmentitemmap.h>
#include <koltacommon/shorttimeprofileitemmap.h>

#include <QSet>

#include <algorithm>
#include <list>
#include <optional>

namespace KoltaCli {

using Kolta::eShortTimeProfileType;
using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;
using KoltaApps::ProfileMember;

namespace {

using Profiles = ShortTimeCollection<ShortTimeProfileItemMap>;

/// In the order of eShortTimeProfileType.
QStringList typeWords()
{
    QStringList words;
    for (int type = 0; type <= Kolta::eShortTimeProfileIgnore; ++type)
        words.append(ShortTimeProfile::typeWord(static_cast<eShortTimeProfileType>(type)));
    return words;
}

/// "burst" for instance; the number of a type without a name.
QString typeText(eShortTimeProfileType type)
{
    const QString word = ShortTimeProfile::typeWord(type);
    return word.isNull() ? QString::number(int(type)) : word;
}

/// Everything; what is not in use is left out.
QJsonObject toJson(const ShortTimeProfile& profile)
{
    QJsonObject object{{QStringLiteral("name"), profile.name},
                       {QStringLiteral("type"), typeText(profile.type)}};
    for (const ProfileMember& member : KoltaApps::profileMembers())
        object.insert(QLatin1String(member.key), member.value(profile));
    return object;
}

/// What --type says; nothing without it.
std::optional<eShortTimeProfileType> wantedType(const CommandLine& line)
{
    if (!line.isSet("type"))
        return std::nullopt;
    return static_cast<eShortTimeProfileType>(line.choice("type"));
}

/// The known profiles for which a file has none that can be taken: its faults take nothing away.
std::list<ShortTimeProfile> knownOfLeftOut(const KoltaApps::ImportableProfiles& read,
                                           const ShortTimeProfileItemMap& known)
{
    QSet<QString> names;
    for (const auto& profile : read.leftOut)
        names.insert(profile.name);
    for (const ShortTimeProfile& profile : read.taken)
        names.remove(profile.name);
    std::list<ShortTimeProfile> kept;
    for (const QString& name : qAsConst(names)) {
        if (known.Contains(name))
            kept.push_back(known.At(name));
    }
    return kept;
}

/// A file cannot tell the types: without --type a profile that is known keeps the one that it has.
int importFile(const CommandLine& line, const Profiles& profiles)
{
    const auto type = wantedType(line);
    const auto read = readImportable(line.argument(0), type.value_or(Kolta::eShortTimeProfileUnspecified));
    if (!read || (read->taken.isEmpty() && !read->leftOut.isEmpty()))
        return eExitFailed;
    const int count = read->taken.size();
    std::list<ShortTimeProfile> items;
    int known = 0;
    for (ShortTimeProfile profile : read->taken) {
        const bool isKnown = profiles.map().Contains(profile.name);
        if (isKnown) { // files do not have it
            const ShortTimeProfile present = profiles.map().At(profile.name);
            profile.hopperFlag = present.hopperFlag;
            profile.type = type ? profile.type : present.type;
        }
        known += isKnown ? 1 : 0;
        items.push_back(profile);
    }
    if (line.isSet("replace"))
        items.splice(items.end(), knownOfLeftOut(*read, profiles.map()));
    profiles.map().Set(items, line.isSet("replace"), true);
    const int total = static_cast<int>(profiles.map().Size());
    if (line.json())
        printJson({{QStringLiteral("read"), count},
                   {QStringLiteral("new"), count - known},
                   {QStringLiteral("leftOut"), read->leftOut.size()},
                   {QStringLiteral("profiles"), total}});
    else
        printLine(QStringLiteral("%1 read, %2 of them new; %3 now has %4")
                      .arg(counted(count, QStringLiteral("profile")), QString::number(count - known),
                           profiles.server().getAddress(), QString::number(total)));
    return eExitOk;
}

int list(const CommandLine& line, const Profiles& profiles)
{
    QStringList header{QStringLiteral("NAME"), QStringLiteral("TYPE")};
    for (const ProfileMember& member : KoltaApps::profileMembers())
        header.append(QString(QLatin1String(member.name)).toUpper());
    Table table(header);
    for (const QString& name : profiles.keys()) {
        const ShortTimeProfile& profile = profiles.map().At(name);
        QStringList cells{name, typeText(profile.type)};
        for (const ProfileMember& member : KoltaApps::profileMembers())
            cells.append(member.exact(profile));
        table.addRow(cells);
        if (line.json())
            printJson(toJson(profile));
    }
    if (!line.json())
        printTable(table, QStringLiteral("there are no profiles"));
    return eExitOk;
}

int print(const ShortTimeProfile& profile, bool json)
{
    if (json) {
        printJson(toJson(profile));
        return eExitOk;
    }
    Table table({QStringLiteral("PROFILE"), profile.name});
    table.addRow({QStringLiteral("Type"), typeText(profile.type)});
    for (const ProfileMember& member : KoltaApps::profileMembers()) {
        const QString text = member.exact(profile);
        table.addRow({QLatin1String(member.name), text.isEmpty() ? QStringLiteral("not in use") : text});
    }
    table.print();
    return eExitOk;
}

/// Prints an error when there is none of that name.
bool knows(const Profiles& profiles, const QString& name)
{
    if (profiles.map().Contains(name))
        return true;
    printError(QStringLiteral("there is no profile \"%1\"").arg(name));
    return false;
}

int show(const CommandLine& line, const Profiles& profiles)
{
    const QString name = line.argument(0);
    return knows(profiles, name) ? print(profiles.map().At(name), line.json()) : int(eExitFailed);
}

/// Lets the FFPs look for `name` instead, as far as their owner lets them. Prints an error when it does not.
bool moveAssignments(const CommandLine& line, const Profiles& profiles, const QString& before,
                     const QString& name)
{
    using Assignments = Kolta::ShortTimeFFPAssignmentItemMap;
    auto* const map = Kolta::shortTimeMap<Assignments>(profiles.server().getServerBasePath());
    QVector<Kolta::ShortTimeFFPAssignment> moved;
    if (map) {
        for (const auto& entry : map->data()) {
            if (entry.second.profiles.contains(before))
                moved.append(entry.second);
        }
    }
    if (!moved.isEmpty() && !Users(profiles.installation(), line).may(Kolta::UserAction::EditAssignments))
        return false;
    for (Kolta::ShortTimeFFPAssignment& assignment : moved) {
        assignment.profiles.removeAll(name);
        std::replace(assignment.profiles.begin(), assignment.profiles.end(), before, name);
        Kolta::AssignmentJob job(*map, assignment, nullptr);
        if (!await(job, line.timeoutMs())) {
            printError(QStringLiteral("the assignment of %1: %2").arg(assignment.ffpGuid, problemOf(job)));
            return false;
        }
    }
    return true;
}

/// The new name is there before FFPs look for it, and the old one until none looks for it any more.
int rename(const CommandLine& line, const Profiles& profiles, const QString& before,
           const ShortTimeProfile& profile)
{
    if (profiles.map().Contains(profile.name)) {
        printError(QStringLiteral("there is a profile \"%1\" already").arg(profile.name));
        return eExitFailed;
    }
    profiles.map().SetAt(profile.name, profile, nullptr);
    const QString problem = profiles.installation().settle(line.timeoutMs());
    if (!problem.isEmpty())
        printError(problem);
    if (!problem.isEmpty() || !moveAssignments(line, profiles, before, profile.name))
        return eExitFailed;
    profiles.map().EraseAt(before);
    return print(profile, line.json());
}

/// Creates a profile or changes what the options name. The type of one that exists is its owner's to change.
int set(const CommandLine& line, const Profiles& profiles)
{
    const QString name = line.argument(0);
    ShortTimeProfile profile = profiles.map().Contains(name) ? profiles.map().At(name) : ShortTimeProfile();
    const bool isNew = profile.isNull();
    profile.name = name;
    takeMembers(line, profile);
    const auto type = wantedType(line).value_or(profile.type);
    if (line.isSet("rename")) {
        profile.type = type;
        profile.name = line.value("rename");
        return knows(profiles, name) ? rename(line, profiles, name, profile) : int(eExitFailed);
    }
    if (isNew)
        profile.type = type;
    profiles.map().SetAt(name, profile, nullptr);
    if (!isNew && type != profile.type) {
        Kolta::ProfileTypeJob job(profiles.map(), name, type, nullptr);
        if (!await(job, line.timeoutMs())) {
            printError(QStringLiteral("the type of %1: %2").arg(name, problemOf(job)));
            return eExitFailed;
        }
    }
    return knows(profiles, name) ? print(profiles.map().At(name), line.json()) : int(eExitFailed);
}

int remove(const CommandLine& line, const Profiles& profiles)
{
    const QStringList names = line.arguments();
    if (!std::all_of(names.begin(), names.end(), [&](const QString& name) { return knows(profiles, name); }))
        return eExitFailed;
    for (const QString& name : names)
        profiles.map().EraseAt(name);
    const int left = static_cast<int>(profiles.map().Size());
    if (line.json())
        printJson({{QStringLiteral("removed"), names.size()}, {QStringLiteral("profiles"), left}});
    else
        printLine(QStringLiteral("%1 removed, %2 left")
                      .arg(counted(names.size(), QStringLiteral("profile")), QString::number(left)));
    return eExitOk;
}

/// Standard output holds nothing but the file when it is written there.
int exportFile(const CommandLine& line, const Profiles& profiles)
{
    const QString file = line.argument(0);
    QList<ShortTimeProfile> items;
    for (const QString& name : profiles.keys())
        items.append(profiles.map().At(name));
    const QString problem = writeProfiles(file, items);
    if (!problem.isEmpty()) {
        printError(problem);
        return eExitFailed;
    }
    if (isStandardStream(file))
        return eExitOk;
    if (line.json())
        printJson({{QStringLiteral("file"), file}, {QStringLiteral("profiles"), items.size()}});
    else
        printLine(
            QStringLiteral("%1 written to %2").arg(counted(items.size(), QStringLiteral("profile")), file));
    return eExitOk;
}

void printDifference(const ProfileDifference& difference, bool json)
{
    const bool isMember = !difference.member.isEmpty();
    const auto shown = [](const QString& text) {
        return text.isEmpty() ? QStringLiteral("not in use") : text;
    };
    if (json && isMember)
        printJson({{QStringLiteral("profile"), difference.profile},
                   {QStringLiteral("member"), difference.member},
                   {QStringLiteral("first"), difference.first},
                   {QStringLiteral("second"), difference.second}});
    else if (json)
        printJson({{QStringLiteral("profile"), difference.profile},
                   {QStringLiteral("onlyIn"), difference.first.isEmpty() ? 2 : 1}});
    else if (isMember)
        printLine(QStringLiteral("  %1: %2: %3 → %4")
                      .arg(difference.profile, difference.member, shown(difference.first),
                           shown(difference.second)));
    else
        printLine((difference.first.isEmpty() ? QStringLiteral("+ ") : QStringLiteral("- ")) +
                  difference.profile);
}

/// Fails when an import would leave something out, so that scripts can ask.
int check(const CommandLine& line)
{
    int doubtful = 0;
    const auto read = readImportable(line.argument(0), Kolta::eShortTimeProfileUnspecified, &doubtful);
    if (!read)
        return eExitFailed;
    const int count = read->taken.size() + read->leftOut.size();
    if (line.json())
        printJson({{QStringLiteral("profiles"), count},
                   {QStringLiteral("doubtful"), doubtful},
                   {QStringLiteral("leftOut"), read->leftOut.size()}});
    else
        printLine(QStringLiteral("%1, %2").arg(
            counted(count, QStringLiteral("profile")),
            doubtful == 0 ? QStringLiteral("all values are understood")
                          : QStringLiteral("%1 of their values not understood").arg(doubtful)));
    return read->leftOut.isEmpty() ? eExitOk : eExitFailed;
}

/// Fails when the files differ, so that scripts can ask.
int diff(const CommandLine& line)
{
    const auto first = readProfiles(line.argument(0));
    const auto second = first ? readProfiles(line.argument(1)) : std::nullopt;
    if (!first || !second)
        return eExitFailed;
    const QVector<ProfileDifference> differences = compareProfiles(*first, *second);
    for (const ProfileDifference& difference : differences)
        printDifference(difference, line.json());
    if (differences.isEmpty() && !line.json())
        printLine(QStringLiteral("the %1 profiles are the same").arg(first->size()));
    return differences.isEmpty() ? eExitOk : eExitFailed;
}

} // namespace

Command profilesCommand()
{
    const Argument file{"FILE", "A file of profiles; \"-\" for standard input or output."};
    const auto on = [](auto use) { return onShortTime<ShortTimeProfileItemMap>(use); };
    const auto change = [](auto use) {
        return changeShortTime<ShortTimeProfileItemMap>(Kolta::UserAction::EditProfiles, use);
    };
    return {"profiles",
            "list, show, set, remove, import, export or compare profiles",
            "Works on the short-time profiles of a server of the installation. FILE "
            "may be \"-\" for standard input or output.",
            {},
            Servers::options(
                QVector<Option>{choice("type", "type",
                                       "import, set: type of the profiles; known ones keep theirs otherwise.",
                                       typeWords()),
                                text("rename", "NAME", "set: another name; assignments follow."),
                                flag("replace", "import: leave nothing but the imported profiles."),
                                Users::option()} +
                memberOptions()),
            nullptr,
            {{"import", {file}, "Adds the profiles of a file.", change(importFile)},
             {"list", {}, "Lists all profiles.", on(list)},
             {"show", {{"PROFILE", ""}}, "Shows all that a profile has.", on(show)},
             {"set", {{"PROFILE", ""}}, "Creates a profile, or changes what the options name.", change(set)},
             {"remove", {{"PROFILE", "", Argument::eSeveral}}, "Removes profiles.", change(remove)},
             {"export", {file}, "Writes all profiles to a file.", on(exportFile)},
             {"check", {file}, "Tells what in a file an import leaves out.", check},
             {"diff", {file, file}, "Compares two files.", diff}}};
}

} // namespace KoltaCli
