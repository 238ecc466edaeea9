#include "treebranches.h"

#include <koltacommon/viewtime.h>

#include <distribution/treelink.h>

namespace KoltaConsole {

using distribution::BranchState;
using State = Kolta::LinkFigures::State;

namespace {

/// What the console makes of a state of a branch.
struct Looks
{
    State link; ///< how it looks among links
    BranchCondition condition;
    QString word;
};

Looks looksOf(BranchState state)
{
    switch (state) {
    case BranchState::Unknown:
        return {State::Closed, BranchCondition::Normal, TreeBranches::tr("never heard of")};
    case BranchState::Joining:
        return {State::Connecting, BranchCondition::Joining, TreeBranches::tr("joining")};
    case BranchState::Live:
        return {State::Up, BranchCondition::Normal, TreeBranches::tr("live")};
    case BranchState::Suspect:
        return {State::Waiting, BranchCondition::Silent, TreeBranches::tr("silent")};
    case BranchState::Lost:
        return {State::GivenUp, BranchCondition::Normal, TreeBranches::tr("lost")};
    case BranchState::Withdrawn:
        return {State::Closed, BranchCondition::Withdrawn, TreeBranches::tr("withdrawn")};
    case BranchState::Forbidden:
        return {State::Closed, BranchCondition::Forbidden, TreeBranches::tr("forbidden")};
    }
    return {State::Closed, BranchCondition::Normal, QString()};
}

} // namespace

TreeBranches::TreeBranches(distribution::TreeLink& link, const QString& broker)
    : m_link(link), m_broker(broker)
{
    connect(&link, &distribution::TreeLink::si_LinkChanged, this, [this](bool isUp, const QString& reason) {
        enter(m_line, isUp, withoutAddress(reason, m_broker)); // which names the row
    });
    connect(&link, &distribution::TreeLink::si_BranchChanged, this, &TreeBranches::takeBranch);
}

void TreeBranches::Past::fail(const QString& fault)
{
    lastFault = fault;
    lastFaultAt = Kolta::ViewTime::now();
}

void TreeBranches::enter(Past& past, bool isLive, const QString& fault)
{
    if (!isLive && !fault.isEmpty())
        past.fail(fault);
    if (isLive == past.liveSince.isValid())
        return;
    past.liveSince = isLive ? Kolta::ViewTime::now() : QDateTime();
    past.reconnections += isLive && past.wasLive ? 1 : 0;
    past.wasLive = past.wasLive || isLive;
}

void TreeBranches::takeBranch(const QString& name, BranchState state)
{
    QString fault;
    if (state == BranchState::Suspect || state == BranchState::Lost)
        fault = tr("no beat");
    else if (state == BranchState::Forbidden)
        fault = tr("the broker forbids it");
    // A silent branch is not a lost one: what it comes back from counts once.
    if (state == BranchState::Suspect)
        m_pasts[name].fail(fault);
    else
        enter(m_pasts[name], state == BranchState::Live, fault);
}

QVector<Kolta::BranchFigures> TreeBranches::branches() const
{
    QVector<Kolta::BranchFigures> result;
    const bool isUp = m_link.isOnline();
    const int nextTryMs = m_link.nextTryMs();
    const QString waiting =
        nextTryMs < 0 ? tr("waiting for the next try") : tr("next try in %1 s").arg((nextTryMs + 999) / 1000);
    result.append({m_broker, QString(), isUp ? State::Up : State::Waiting, isUp ? tr("up") : waiting,
                   m_line.liveSince, -1, -1, 0, m_line.reconnections, m_line.lastFault, m_line.lastFaultAt, 0,
                   0, 0, 0});
    for (const distribution::BranchStatus& branch : m_link.branches()) {
        const Past past = m_pasts.value(branch.name);
        Looks looks = looksOf(branch.state);
        if (branch.state == BranchState::Suspect && branch.beatAgeMs >= 0)
            looks.word = tr("silent, no beat for %1 s").arg(branch.beatAgeMs / 1000);
        else if (branch.state == BranchState::Joining && branch.parts > 0)
            looks.word = tr("joining, %1 of %2 parts").arg(branch.joinedParts).arg(branch.parts);
        result.append({branch.name, branch.host, looks.link, looks.word, past.liveSince, branch.roundTripMs,
                       branch.beatAgeMs, static_cast<int>(branch.openWishes), past.reconnections,
                       past.lastFault, past.lastFaultAt, branch.sent.messages, branch.received.messages,
                       branch.sent.bytes, branch.received.bytes});
    }
    return result;
}

QHash<QString, SeenBranch> TreeBranches::odd() const
{
    QHash<QString, SeenBranch> found;
    for (const distribution::BranchStatus& branch : m_link.branches()) {
        const BranchCondition condition = looksOf(branch.state).condition;
        if (condition != BranchCondition::Normal)
            found.insert(branch.name, {condition, branch.beatAgeMs, branch.parts, branch.joinedParts});
    }
    return found;
}

std::size_t TreeBranches::openWishes(const QString& branch) const
{
    for (const distribution::BranchStatus& each : m_link.branches()) {
        if (each.name == branch)
            return each.openWishes;
    }
    return 0;
}

} // namespace KoltaConsole
