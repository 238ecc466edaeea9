#include "treemirror.h"

#include <common/usualtree.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <QTimer>

#include <algorithm>
#include <utility>

namespace KoltaCli {

namespace {

KoltaApps::NamedTree treeOf(const CommandLine& line)
{
    return KoltaApps::namedTree(line.isSet("tree") ? std::optional(line.value("tree")) : std::nullopt);
}

} // namespace

} // namespace KoltaCli

#ifdef KOLTA_WITH_DISTRIBUTION

#include <common/linkoptions.h>

#include <koltacommon/servernodes.h>
#include <koltacommon/shorttimevalues.h>

#include <distribution/replay.h>
#include <distribution/treelink.h>

namespace KoltaCli {

namespace {

TreeMirror::Standing standingOf(distribution::BranchState state)
{
    using distribution::BranchState;
    switch (state) {
    case BranchState::Live:
        return TreeMirror::Standing::Live;
    case BranchState::Joining:
    case BranchState::Suspect:
        return TreeMirror::Standing::OnItsWay;
    case BranchState::Withdrawn:
        return TreeMirror::Standing::Left;
    default:
        return TreeMirror::Standing::Gone;
    }
}

/// Whether the recording can be played, but not from the time that somebody wants.
bool isTimeAtFault(const QString& url)
{
    QString error;
    auto address = distribution::ReplayAddress::FromUrl(url, error);
    const bool hasTime = address && !address->from.isEmpty();
    if (hasTime)
        address->from.clear();
    return hasTime && distribution::Replay::Open(*address, error);
}

std::optional<distribution::LinkOptions> optionsOf(const CommandLine& line, QString& error)
{
    using namespace distribution;
    const KoltaApps::NamedTree tree = treeOf(line);
    const QString& url = tree.url;
    const bool isRecording = ReplayAddress::IsMeant(url);
    const bool fits = isRecording ? ReplayAddress::FromUrl(url, error).has_value()
                                  : !line.isSet("tree") || BrokerAddress::FromCommandLine(url, error);
    auto options = fits ? KoltaApps::linkOptions(url, error) : std::nullopt;
    if (!options)
        setStartFailure(fits && isRecording && !isTimeAtFault(url) ? eExitFailed : eExitUsage);
    if (!options && !(fits && isRecording))
        error.prepend(tree.source + QStringLiteral(": "));
    return options;
}

/// Those that the file has, and one that it gets while it is played.
void tellCuts(const distribution::Replay& replay)
{
    const auto tell = [&replay] { printError(QStringLiteral("%1: %2").arg(replay.file(), replay.cut())); };
    if (!replay.cut().isEmpty())
        tell();
    QObject::connect(&replay, &distribution::Replay::si_Cut, tell);
}

/// Lets everybody deal with what waits in the event loop.
void turnOnce(int milliseconds)
{
    QObject context;
    bool hasTurned = false;
    QTimer::singleShot(0, &context, [&hasTurned] { hasTurned = true; });
    waitUntil([&hasTurned] { return hasTurned; }, milliseconds);
}

} // namespace

struct TreeMirror::Private
{
    explicit Private(const distribution::LinkOptions& options) : link(values::Tree::Instance(), options) {}

    QString problem;
    QString failure; ///< the first of changes made here that did not last
    int connections = 0;
    bool wasAdmitted = false; ///< to a recording
    std::function<void(bool, const QString&)> listener;
    distribution::TreeLink link; ///< tells of open changes when it ends, to what is above
};

std::unique_ptr<TreeMirror> TreeMirror::open(const CommandLine& line)
{
    QString error;
    const auto options = optionsOf(line, error);
    if (!options) {
        printError(error);
        return nullptr;
    }
    if (options->replay)
        tellCuts(*options->replay);
    Kolta::registerShortTimeValues();
    auto parts = std::make_unique<Private>(*options);
    QObject::connect(&parts->link, &distribution::TreeLink::si_LinkChanged,
                     [own = parts.get()](bool isUp, const QString& reason) {
                         own->problem = reason;
                         own->connections += isUp ? 1 : 0;
                         if (own->listener && own->connections > 0)
                             own->listener(isUp, reason);
                     });
    QObject::connect(&parts->link, &distribution::TreeLink::si_WishFailed,
                     [own = parts.get()](const QString& path, const QString& reason) {
                         if (own->failure.isEmpty())
                             own->failure = reason.startsWith(path)
                                                ? reason
                                                : QStringLiteral("%1: %2").arg(path, reason);
                     });
    parts->link.mirror(options->branches);
    return std::unique_ptr<TreeMirror>(new TreeMirror(std::move(parts)));
}

void TreeMirror::waitForLive(const QStringList& wanted, int milliseconds)
{
    if (!replay()) {
        d->link.waitForLive(wanted, milliseconds);
        return;
    }
    // Nothing is to be missed meanwhile.
    const bool isGoing = !replay()->isPaused();
    replay()->pause();
    if (waitForReplay(milliseconds))
        turnOnce(milliseconds);
    if (isGoing)
        replay()->go();
}

distribution::Replay* TreeMirror::replay() const
{
    return d->link.replay();
}

std::function<QDateTime()> TreeMirror::timeSource() const
{
    if (!replay())
        return nullptr;
    return [replay = replay()] { return replay->timeAt(replay->position()); };
}

bool TreeMirror::waitForReplay(int milliseconds) const
{
    return waitUntil([this] { return !replay()->isMoving(); }, milliseconds);
}

bool TreeMirror::isOnline() const
{
    return d->link.isOnline();
}

QString TreeMirror::settle(int milliseconds)
{
    // Changes are gathered until control is in the event loop.
    QObject context;
    bool areGathered = false;
    QTimer::singleShot(0, &context, [&areGathered] { areGathered = true; });
    const auto isOpen = [](const Branch& branch) { return branch.openWishes > 0; };
    const bool isSettled = waitUntil(
        [&] {
            const QVector<Branch> all = branches();
            return areGathered && std::none_of(all.begin(), all.end(), isOpen);
        },
        milliseconds);
    const QString failure = std::exchange(d->failure, QString());
    return isSettled || !failure.isEmpty()
               ? failure
               : orInterrupted(QStringLiteral("the owner has not answered; it may have happened"));
}

QVector<TreeMirror::Branch> TreeMirror::branches() const
{
    QVector<Branch> all;
    for (const distribution::BranchStatus& status : d->link.branches()) {
        Branch branch;
        branch.name = status.name;
        branch.state = distribution::ToText(status.state);
        branch.standing = standingOf(status.state);
        branch.host = status.host;
        branch.epoch = status.epoch.isNull() ? QString() : status.epoch.toString(QUuid::WithoutBraces);
        branch.beatAgeMs = status.beatAgeMs;
        branch.openWishes = static_cast<int>(status.openWishes);
        branch.parts = status.parts;
        branch.joinedParts = status.joinedParts;
        branch.isJoining = status.state == distribution::BranchState::Joining;
        for (const distribution::ChannelNumber& number : status.numbers)
            branch.numbers.append({number.channel, number.number});
        for (const QString& root : status.roots) {
            if (root.startsWith(Kolta::ServerNodes::kAdminTree + QLatin1Char('/')))
                branch.basePath = root;
        }
        all.append(branch);
    }
    return all;
}

} // namespace KoltaCli

#else

namespace KoltaCli {

struct TreeMirror::Private
{
    QString problem;
    int connections = 0;
    bool wasAdmitted = false; ///< to a recording
    std::function<void(bool, const QString&)> listener;
};

std::unique_ptr<TreeMirror> TreeMirror::open(const CommandLine& /*line*/)
{
    printError(QStringLiteral("built without the distribution of value trees (KOLTA_DISTRIBUTION)"));
    return nullptr;
}

void TreeMirror::waitForLive(const QStringList& /*wanted*/, int /*milliseconds*/) {}

distribution::Replay* TreeMirror::replay() const
{
    return nullptr;
}

std::function<QDateTime()> TreeMirror::timeSource() const
{
    return nullptr;
}

bool TreeMirror::waitForReplay(int /*milliseconds*/) const
{
    return false;
}

bool TreeMirror::isOnline() const
{
    return false;
}

QString TreeMirror::settle(int /*milliseconds*/)
{
    return {};
}

QVector<TreeMirror::Branch> TreeMirror::branches() const
{
    return {};
}

} // namespace KoltaCli

#endif

namespace KoltaCli {

TreeMirror::TreeMirror(std::unique_ptr<Private> parts) : d(std::move(parts)) {}

TreeMirror::~TreeMirror() = default;

QVector<Option> TreeMirror::options()
{
    return {text("tree", "URL",
                 "Look at the servers that publish themselves at the broker "
                 "mqtt[s]://[USER@]HOST[:PORT][/PREFIX], "
                 "or that did in the recording replay:FILE[?speed=N][&from=TIME] (environment KOLTA_TREE)."),
            whole("tree-timeout", "seconds", "How long they may take to be live ({preset}).", 1, 3600, 5)};
}

QString TreeMirror::urlOf(const CommandLine& line)
{
    return treeOf(line).url;
}

std::unique_ptr<TreeMirror> TreeMirror::join(const CommandLine& line, const QStringList& wanted)
{
    auto mirror = open(line);
    return mirror && mirror->admit(line, wanted) ? std::move(mirror) : nullptr;
}

std::unique_ptr<TreeMirror> TreeMirror::reach(const CommandLine& line, const QStringList& wanted)
{
    auto mirror = look(line, wanted);
    if (mirror && mirror->branches().isEmpty()) {
        mirror->fail(QStringLiteral("no server publishes itself there"));
        return nullptr;
    }
    return mirror;
}

std::unique_ptr<TreeMirror> TreeMirror::look(const CommandLine& line, const QStringList& wanted)
{
    auto mirror = open(line);
    if (mirror)
        mirror->waitForLive(wanted, line.number("tree-timeout") * 1000);
    return mirror;
}

bool TreeMirror::admit(const CommandLine& line, const QStringList& wanted)
{
    if (replay()) {
        if (!std::exchange(d->wasAdmitted, true))
            waitForLive(wanted, line.number("tree-timeout") * 1000);
        return waitForReplay(line.number("tree-timeout") * 1000);
    }
    RollCall found = callRoll(wanted);
    if (!found.isAnyLive || !found.missing.isEmpty()) {
        waitForLive(wanted, line.number("tree-timeout") * 1000);
        found = callRoll(wanted);
    }
    const QString missing = listed(found.missing);
    if (!found.isAnyLive)
        return fail(missing.isEmpty() ? QStringLiteral("no server publishes itself there") : missing);
    if (!missing.isEmpty())
        printError(missing);
    return true;
}

TreeMirror::RollCall TreeMirror::callRoll(const QStringList& wanted) const
{
    RollCall found;
    QStringList unknown = wanted;
    for (const Branch& branch : branches()) {
        unknown.removeAll(branch.name);
        if (!wanted.isEmpty() && !wanted.contains(branch.name))
            continue;
        found.isAnyLive = found.isAnyLive || branch.isLive();
        if (!branch.isLive() && !(wanted.isEmpty() && branch.hasLeft()))
            found.missing.append(QStringLiteral("%1 is %2").arg(branch.name, branch.state));
    }
    for (const QString& name : qAsConst(unknown))
        found.missing.append(QStringLiteral("%1 is not known").arg(name));
    return found;
}

/// What the broker has to say goes first.
bool TreeMirror::fail(const QString& unlessProblem) const
{
    printError(problem().isEmpty() ? unlessProblem : problem());
    setStartFailure(eExitNoTree);
    return false;
}

const QString& TreeMirror::problem() const noexcept
{
    return d->problem;
}

void TreeMirror::setLinkListener(std::function<void(bool, const QString&)> listener)
{
    d->listener = std::move(listener);
}

int TreeMirror::reconnections() const noexcept
{
    return std::max(0, d->connections - 1);
}

QString TreeMirror::Branch::stateText() const
{
    return isJoining && parts > 0
               ? QStringLiteral("%1, %2 of %3 parts").arg(state).arg(joinedParts).arg(parts)
               : state;
}

QJsonObject TreeMirror::Branch::toJson() const
{
    QJsonObject newest;
    for (const auto& [channel, number] : numbers)
        newest[QString::number(channel)] = static_cast<double>(number);
    QJsonObject object{{QStringLiteral("branch"), name},    {QStringLiteral("state"), state},
                       {QStringLiteral("host"), host},      {QStringLiteral("epoch"), epoch},
                       {QStringLiteral("numbers"), newest}, {QStringLiteral("openWishes"), openWishes},
                       {QStringLiteral("parts"), parts},    {QStringLiteral("joinedParts"), joinedParts}};
    if (beatAgeMs >= 0)
        object[QStringLiteral("beatAgeMs")] = static_cast<double>(beatAgeMs);
    return object;
}

} // namespace KoltaCli
