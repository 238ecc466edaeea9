#include "commands.h"

#include <kolta/application/profilefile.h>
#include <kolta/application/profilemembers.h>
#include <kolta/application/shorttimecommands.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/q9rprofiles.h>
#include <koltacommon/shorttimeprofileitemmap.h>

namespace KoltaCli {

using Kolta::ShortTimeProfile;
using Kolta::ShortTimeProfileItemMap;

namespace {

const QString typeOption = QStringLiteral("type");
const QString replaceOption = QStringLiteral("replace");

ShortTimeProfileItemMap* findProfiles(const std::optional<ShortTimeServer>& server)
{
    return server ? server->find<ShortTimeProfileItemMap>(QStringLiteral("Profiles")) : nullptr;
}

/// A file cannot tell the types: without --type a profile that is known keeps the one that it has.
int importFile(const CommandLine& line, const QStringList& arguments)
{
    std::optional<Kolta::eShortTimeProfileType> type;
    if (line.isSet(typeOption)) {
        type = typeFromText(line.value(typeOption));
        if (!type)
            return line.usageError(QStringLiteral("--type wants one of %1, not \"%2\"")
                                       .arg(typeNames(), line.value(typeOption)));
    }
    auto read = readProfiles(arguments.first(), type.value_or(Kolta::eShortTimeProfileUnspecified));
    if (!read)
        return eExitFailed;
    const auto server = ShortTimeServer::startUp(line);
    ShortTimeProfileItemMap* const profiles = findProfiles(server);
    if (!profiles)
        return eExitFailed;
    std::list<ShortTimeProfile> items;
    int known = 0;
    for (ShortTimeProfile profile : qAsConst(*read)) {
        const bool isKnown = profiles->Contains(profile.name);
        if (isKnown && !type)
            profile.type = profiles->At(profile.name).type;
        known += isKnown ? 1 : 0;
        items.push_back(profile);
    }
    profiles->Set(items, line.isSet(replaceOption), true);
    const int total = static_cast<int>(profiles->Size());
    if (line.json())
        printJson({{QStringLiteral("read"), read->size()},
                   {QStringLiteral("new"), read->size() - known},
                   {QStringLiteral("profiles"), total}});
    else
        printLine(QStringLiteral("%1 read, %2 of them new; %3 now has %4")
                      .arg(counted(read->size(), QStringLiteral("profile")),
                           QString::number(read->size() - known), server->server().getAddress(),
                           QString::number(total)));
    return eExitOk;
}

int list(const CommandLine& line, const QStringList&)
{
    const auto server = ShortTimeServer::startUp(line);
    const ShortTimeProfileItemMap* const profiles = findProfiles(server);
    if (!profiles)
        return eExitFailed;
    QStringList header{QStringLiteral("NAME"), QStringLiteral("TYPE")};
    for (const ProfileMember& member : membersOf(ShortTimeProfile()))
        header.append(QString(QLatin1String(member.name)).toUpper());
    Table table(header);
    for (const QString& name : sortedKeys(*profiles)) {
        const ShortTimeProfile& profile = profiles->At(name);
        QStringList cells{name, typeText(profile.type)};
        for (const ProfileMember& member : membersOf(profile))
            cells.append(member.text);
        table.addRow(cells);
        if (line.json())
            printJson(toJson(profile));
    }
    if (!line.json())
        printLine(profiles->Empty() ? QStringLiteral("there are no profiles") : table.toText());
    return eExitOk;
}

int show(const CommandLine& line, const QStringList& arguments)
{
    const auto server = ShortTimeServer::startUp(line);
    const ShortTimeProfileItemMap* const profiles = findProfiles(server);
    if (!profiles)
        return eExitFailed;
    if (!profiles->Contains(arguments.first())) {
        printError(QStringLiteral("there is no profile \"%1\"").arg(arguments.first()));
        return eExitFailed;
    }
    const ShortTimeProfile& profile = profiles->At(arguments.first());
    if (line.json()) {
        printJson(toJson(profile));
        return eExitOk;
    }
    Table table({QStringLiteral("PROFILE"), profile.name});
    table.addRow({QStringLiteral("Type"), typeText(profile.type)});
    for (const ProfileMember& member : membersOf(profile))
        table.addRow(
            {QLatin1String(member.name), member.text.isEmpty() ? QStringLiteral("not in use") : member.text});
    printLine(table.toText());
    return eExitOk;
}

int exportFile(const CommandLine& line, const QStringList& arguments)
{
    const auto server = ShortTimeServer::startUp(line);
    const ShortTimeProfileItemMap* const profiles = findProfiles(server);
    if (!profiles)
        return eExitFailed;
    QList<ShortTimeProfile> items;
    for (const QString& name : sortedKeys(*profiles))
        items.append(profiles->At(name));
    const QString problem =
        VESK_Q9R::writeProfileFile(arguments.first(), ShortTimeProfile::toQ9RProfile(items));
    if (!problem.isEmpty()) {
        printError(problem);
        return eExitFailed;
    }
    if (line.json())
        printJson({{QStringLiteral("file"), arguments.first()}, {QStringLiteral("profiles"), items.size()}});
    else
        printLine(QStringLiteral("%1 written to %2")
                      .arg(counted(items.size(), QStringLiteral("profile")), arguments.first()));
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

/// Fails when the files differ, so that scripts can ask.
int diff(const CommandLine& line, const QStringList& arguments)
{
    const auto first = readProfiles(arguments.at(0));
    const auto second = first ? readProfiles(arguments.at(1)) : std::nullopt;
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

int runProfiles(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("profiles"),
        QStringLiteral("Works on the short-time profiles of a server in a simulated installation "
                       "inside this process: import FILE, list, show NAME, export FILE, "
                       "diff FILE FILE."));
    line.addArgument(QStringLiteral("ACTION"), QStringLiteral("import, list, show, export or diff."));
    line.addOptionalArguments(QStringLiteral("ARGUMENT"),
                              QStringLiteral("A file of profiles, or the name of a profile."));
    line.addOption({typeOption,
                    QStringLiteral("Type of the imported profiles: %1. Known ones keep theirs otherwise.")
                        .arg(typeNames()),
                    QStringLiteral("type")});
    line.addOption({replaceOption, QStringLiteral("Leave nothing but the imported profiles.")});
    Servers::declareOptions(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    return runAction(line, {{"import", "FILE", importFile},
                            {"list", "", list},
                            {"show", "NAME", show},
                            {"export", "FILE", exportFile},
                            {"diff", "FILE FILE", diff}});
}

} // namespace KoltaCli
