#include "serverfacts.h"

#include <koltacommon/servermodel.h>
#include <koltacommon/serverstates.h>
#include <koltacommon/viewroles.h>

#include <QCoreApplication>

namespace KoltaConsole {

using Kolta::ServerModel;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(ServerFacts)
};

Condition conditionOf(const ServerFacts& facts, int state, BranchCondition branch)
{
    using namespace Kolta::SERVER_STATES;
    if (branch == BranchCondition::Withdrawn)
        return Condition::Withdrawn;
    if (branch == BranchCondition::Forbidden)
        return Condition::Forbidden;
    // What tells its state is the last of what comes.
    if (branch == BranchCondition::Joining)
        return Condition::Joining;
    if (state == eDisconnected)
        return Condition::Vanished;
    if (branch == BranchCondition::Silent)
        return Condition::Silent;
    const bool isStarting = state < eOperational || (facts.progress >= 0 && facts.progress < 100);
    if (isStarting)
        return Condition::Starting;
    const bool isWell = state == eOperational && !facts.areUnitsMissing && facts.errors.isEmpty();
    return isWell ? Condition::Operational : Condition::Attention;
}

/// As the server is, or was when it was seen last.
Look lookOf(Condition condition, int progress)
{
    switch (condition) {
    case Condition::Vanished:
        return {Mark::Octagon, Role::Alarm, Texts::tr("Vanished"), true};
    case Condition::Attention:
        return {Mark::Triangle, Role::Attention, Texts::tr("Attention"), true};
    case Condition::Silent:
        return {Mark::Triangle, Role::Attention, Texts::tr("Silent"), true};
    case Condition::Joining:
        return {Mark::Half, Role::InUse, Texts::tr("Joining"), false};
    case Condition::Starting:
        return {Mark::Half, Role::InUse,
                progress < 0 ? Texts::tr("Starting") : Texts::tr("Starting %1 %").arg(progress), false};
    case Condition::Operational:
        return {Mark::Disc, Role::InUse, Texts::tr("Operational"), false};
    case Condition::Withdrawn:
        return {Mark::Cross, Role::Dim, Texts::tr("Withdrawn"), false};
    case Condition::Forbidden:
        break;
    }
    return {Mark::Cross, Role::Dim, Texts::tr("Forbidden"), false};
}

/// Since when stands before the errors, which may be longer than any line.
QString wrongText(const ServerFacts& facts, const QString& since)
{
    QStringList parts;
    if (facts.areUnitsMissing)
        parts.append(Texts::tr("%1 units").arg(facts.units));
    else if (facts.errors.isEmpty())
        parts.append(facts.stateText);
    parts << since << facts.errors;
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

} // namespace

ServerFacts readFacts(const ServerModel& model, int row, const SeenBranch& branch)
{
    const auto cell = [&](int column) { return model.index(row, column).data().toString(); };
    const auto number = [&](int column) { return cell(column).toInt(); };
    ServerFacts facts;
    facts.address = cell(ServerModel::eAddressColumn);
    facts.sortText = Kolta::ViewRoles::sortText(facts.address);
    facts.host = cell(ServerModel::eHostColumn);
    facts.stateText = cell(ServerModel::eStateColumn);
    bool hasProgress = false;
    const int progress = cell(ServerModel::eProgressColumn).toInt(&hasProgress);
    facts.progress = hasProgress ? progress : -1;
    facts.tuners = {number(ServerModel::eFreeColumn), number(ServerModel::eInUseColumn),
                    number(ServerModel::ePlannedColumn), number(ServerModel::eOutOfReachColumn)};
    facts.productions = number(ServerModel::eRunningColumn);
    facts.units = cell(ServerModel::eUnitsColumn);
    const QModelIndex units = model.index(row, ServerModel::eUnitsColumn);
    const int registered = units.data(Kolta::ViewRoles::SortRole).toInt();
    facts.areUnitsMissing =
        !facts.units.isEmpty() && registered < facts.units.section(QLatin1Char(' '), -1).toInt();
    facts.errors = cell(ServerModel::eErrorsColumn);
    facts.message = cell(ServerModel::eMessageColumn);
    const QModelIndex first = model.index(row, 0);
    facts.since = first.data(Kolta::ViewRoles::SinceRole).toDateTime();
    facts.lastKnown = first.data(Kolta::ViewRoles::LastKnownRole).toDateTime();
    facts.branch = branch;
    facts.condition = conditionOf(facts, first.data(Kolta::ViewRoles::StateRole).toInt(), branch.condition);
    return facts;
}

Look ServerFacts::look() const
{
    Look look = lookOf(condition, progress);
    if (isOutOfSight) {
        look.role = Role::Dim;
        look.isLoud = false;
    }
    return look;
}

QString ServerFacts::reason() const
{
    if (isOutOfSight)
        return lastKnownText(lastKnown);
    switch (condition) {
    case Condition::Vanished:
    case Condition::Withdrawn:
        return lastKnown.isValid() || tuners.all() > 0 || !host.isEmpty() ? lastKnownText(lastKnown)
                                                                          : Texts::tr("not seen yet");
    case Condition::Attention:
        return wrongText(*this, sinceText());
    case Condition::Silent:
        return branch.beatAgeMs < 0 ? Texts::tr("no beat for some seconds")
                                    : Texts::tr("no beat for %1 s").arg(branch.beatAgeMs / 1000);
    case Condition::Joining:
        return branch.parts > 0 ? Texts::tr("%1 of %2 parts").arg(branch.joinedParts).arg(branch.parts)
                                : QString();
    case Condition::Starting:
        return noticed.isValid() ? QStringLiteral("%1, %2").arg(stateText, sinceText()) : stateText;
    case Condition::Forbidden:
        return Texts::tr("this user may not read it");
    case Condition::Operational:
        break;
    }
    return QString();
}

QString ServerFacts::whatIsWrong() const
{
    return wrongText(*this, QString());
}

QString ServerFacts::sinceText() const
{
    if (since.isValid())
        return Texts::tr("since %1").arg(timeText(since));
    return noticed.isValid() ? Texts::tr("since before %1").arg(timeText(noticed)) : QString();
}

QString withoutAddress(const QString& reason, const QString& address)
{
    const QString beginning = address + QLatin1String(": ");
    return reason.startsWith(beginning) ? reason.mid(beginning.size()) : reason;
}

} // namespace KoltaConsole
