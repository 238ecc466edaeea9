#include "commands.h"

#include <kolta/application/processordirectory.h>
#include <kolta/application/users.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaownerobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/ownershipjob.h>

namespace KoltaCli {

using Kolta::OwnershipJob;
using Kolta::UserAction;
using RESOURCEMANAGEMENT::Owner;

namespace {

/// What can have an owner.
struct Possession
{
    Server* server = nullptr;
    QString guid; ///< empty for the server itself
    QString name;
};

/// What the words mean. Prints an error and leaves the server null when that is not clear.
Possession find(const CommandLine& line, const Servers& servers)
{
    if (line.arguments().isEmpty()) {
        Server* const server = servers.only();
        return {server, QString(), server ? server->getAddress() : QString()};
    }
    QString problem;
    const ProcessorDirectory directory(servers.all());
    if (const ProcessorEntry* const entry = directory.find(line.argument(0), QString(), problem))
        return {entry->server, entry->guid, entry->name};
    printError(problem);
    return {};
}

QString ownerText(const Owner& owner)
{
    const QString name = owner.GetName().isEmpty() ? owner.GetClientID() : owner.GetName();
    return owner.GetHost().isEmpty() ? name : QStringLiteral("%1 at %2").arg(name, owner.GetHost());
}

void print(const Possession& thing, const OwnershipJob& job, bool json)
{
    const Owner* const owner = thing.server->getGuiOwnerObserver().FindOwner(thing.guid);
    if (json) {
        QJsonObject object{{QStringLiteral("server"), thing.server->getAddress()},
                           {QStringLiteral("name"), thing.name}};
        if (!thing.guid.isEmpty())
            object[QStringLiteral("guid")] = thing.guid;
        if (owner)
            object[QStringLiteral("owner")] = QJsonObject{{QStringLiteral("name"), owner->GetName()},
                                                          {QStringLiteral("host"), owner->GetHost()},
                                                          {QStringLiteral("client"), owner->GetClientID()}};
        addEnd(object, job);
        printJson(object);
    } else if (job.state() == OwnershipJob::State::Done) {
        printLine(owner ? QStringLiteral("%1 is owned by %2").arg(thing.name, ownerText(*owner))
                        : QStringLiteral("nobody owns %1").arg(thing.name));
    }
}

OwnershipJob::Action actionOf(const CommandLine& line)
{
    const bool isForced = line.isSet("force");
    if (line.isSet("release"))
        return isForced ? OwnershipJob::Action::ForceRelease : OwnershipJob::Action::Release;
    return isForced ? OwnershipJob::Action::ForceTake : OwnershipJob::Action::Take;
}

UserAction rightfulActionOf(const CommandLine& line)
{
    if (line.isSet("force"))
        return UserAction::ForceOwnership;
    return line.isSet("release") ? UserAction::ReleaseOwnership : UserAction::TakeOwnership;
}

/// Who releases what is not his would be told that he does not own it, and think that nobody does.
bool isSomebodyElses(const Possession& thing)
{
    const auto& owners = thing.server->getGuiOwnerObserver();
    const Owner* const owner = owners.FindOwner(thing.guid);
    if (!owner || owners.IsOwnedBy(thing.guid, thing.server->getClientId()))
        return false;
    printError(QStringLiteral("%1 is owned by %2; --force releases it all the same")
                   .arg(thing.name, ownerText(*owner)));
    return true;
}

int own(const CommandLine& line, Servers& servers)
{
    const Users users(servers.installation(), line);
    if (!users.areKnown() || !users.may(rightfulActionOf(line)))
        return eExitFailed;
    const Possession thing = find(line, servers);
    const OwnershipJob::Action action = actionOf(line);
    if (!thing.server || (action == OwnershipJob::Action::Release && isSomebodyElses(thing)))
        return eExitFailed;
    OwnershipJob job(*thing.server, thing.guid, action, nullptr);
    const bool done = await(job, line.timeoutMs());
    print(thing, job, line.json());
    if (!done)
        printError(QStringLiteral("%1: %2").arg(thing.name, problemOf(job)));
    return done ? eExitOk : eExitFailed;
}

} // namespace

Command ownCommand()
{
    return {
        "own",
        "take or release the ownership of a processor or a server",
        "Takes the ownership of a processor, or of a whole server, so that others see who operates it. It "
        "stays until it is released or the processor stops, also when this program has ended: who runs "
        "another one then releases it with --force.",
        {{"PROCESSOR", "GUID or name of a processor; none for the server itself.", Argument::eOptional}},
        Servers::options({flag("force", "Whoever owns it; needs a right of its own."),
                          flag("release", "Give it back."), Users::option()}),
        with(Servers::startUp, own)};
}

} // namespace KoltaCli
