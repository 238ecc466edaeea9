#include "serverfactslist.h"

#include <koltacommon/installationevents.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/servermodel.h>
#include <koltacommon/viewtime.h>

#include <algorithm>
#include <utility>

namespace KoltaConsole {

namespace {

constexpr int kGatherMs = 100;
constexpr int kSecondMs = 1000;
constexpr int kForgetMs = 60000;
constexpr int kLeaverDays = 1; ///< that a server is shown after it has left by itself

} // namespace

ServerFactsList::ServerFactsList(const Kolta::ServerModel& servers, OddBranches branches)
    : m_servers(servers), m_branches(std::move(branches))
{
    m_gathering.setSingleShot(true);
    m_gathering.setInterval(kGatherMs);
    connect(&m_gathering, &QTimer::timeout, this, &ServerFactsList::read);
    m_counting.setSingleShot(true);
    m_counting.setInterval(kSecondMs);
    connect(&m_counting, &QTimer::timeout, this, &ServerFactsList::read);
    m_returning.setSingleShot(true);
    m_returning.setInterval(Kolta::InstallationEvents::kReturnMs);
    connect(&m_returning, &QTimer::timeout, this, [this] {
        m_outOfSightSince = QDateTime();
        gather();
    });
    m_forgetting.setInterval(kForgetMs);
    connect(&m_forgetting, &QTimer::timeout, this, &ServerFactsList::forgetLeavers);
    m_forgetting.start();
    connect(&servers, &QAbstractItemModel::dataChanged, this, &ServerFactsList::gather);
    connect(&servers, &QAbstractItemModel::rowsInserted, this, &ServerFactsList::gather);
    connect(&servers, &QAbstractItemModel::rowsRemoved, this, &ServerFactsList::gather);
    connect(&servers, &QAbstractItemModel::rowsMoved, this, &ServerFactsList::gather);
}

ServerFacts ServerFactsList::of(const QString& address) const
{
    const auto found = std::find_if(m_facts.begin(), m_facts.end(),
                                    [&](const ServerFacts& facts) { return facts.address == address; });
    return found == m_facts.end() ? ServerFacts() : *found;
}

int ServerFactsList::attentionCount() const
{
    return static_cast<int>(std::count_if(m_facts.begin(), m_facts.end(),
                                          [](const ServerFacts& facts) { return facts.needsAttention(); }));
}

bool ServerFactsList::isAnyStarting() const
{
    return std::any_of(m_facts.begin(), m_facts.end(),
                       [](const ServerFacts& facts) { return facts.isOnItsWay(); });
}

void ServerFactsList::setOutOfSight(bool isOutOfSight)
{
    m_isOutOfSight = isOutOfSight;
    if (!isOutOfSight) {
        m_returning.start();
        return;
    }
    m_returning.stop();
    if (!m_outOfSightSince.isValid())
        m_outOfSightSince = Kolta::ViewTime::now();
}

void ServerFactsList::gather()
{
    if (!m_gathering.isActive())
        m_gathering.start();
}

/// Of a server that the link cannot show what was so before stays true, until it can be seen again.
ServerFacts ServerFactsList::factsAt(int row, const SeenBranch& branch) const
{
    const ServerFacts now = readFacts(m_servers, row, branch);
    ServerFacts last = of(now.address);
    const bool isReturning = m_returning.isActive() && last.isOutOfSight;
    if (!m_isOutOfSight && !(isReturning && now.condition == Condition::Vanished))
        return now;
    if (last.address.isEmpty())
        last = now;
    if (!last.isStale())
        last.lastKnown = m_outOfSightSince;
    last.isOutOfSight = true;
    return last;
}

void ServerFactsList::forgetLeavers()
{
    const QDateTime limit = Kolta::ViewTime::now().addDays(-kLeaverDays);
    for (const ServerFacts& facts : qAsConst(m_facts)) {
        if (facts.hasLeft() && !facts.isOutOfSight && facts.lastKnown.isValid() && facts.lastKnown < limit)
            Kolta::KoltaServerRegistry::Instance().removeServer(facts.address);
    }
}

/// Whether nothing of the server was to be seen then, so that what it shows next may have begun before.
bool ServerFactsList::hidesServer(const Seen& seen)
{
    return seen.condition == Condition::Forbidden || seen.condition == Condition::Joining ||
           (seen.condition == Condition::Vanished && !seen.hasBegun);
}

/// What was noticed later than now belongs to a part of a recording that is played again.
ServerFactsList::Seen ServerFactsList::seenNow(const ServerFacts& facts, const QDateTime& now) const
{
    const auto last = m_seen.constFind(facts.address);
    const bool isFirstLook = last == m_seen.constEnd() || last->noticed > now;
    if (!isFirstLook && last->condition == facts.condition)
        return *last;
    return {facts.condition, now, !isFirstLook && !hidesServer(*last)};
}

/// A server that is away was known until then. The working state of one that starts or is well has a time of
/// its own, which is only that of the first look where it was so then.
void ServerFactsList::readBeginnings(QVector<ServerFacts>& facts)
{
    const QDateTime now = Kolta::ViewTime::now();
    QHash<QString, Seen> all;
    for (ServerFacts& each : facts) {
        if (each.isOutOfSight)
            continue;
        const Seen seen = seenNow(each, now);
        all.insert(each.address, seen);
        each.noticed = seen.noticed;
        const bool isOfState =
            each.condition == Condition::Starting || each.condition == Condition::Operational;
        const bool isStateNews = each.since.isValid() && (seen.hasBegun || each.since > seen.noticed);
        if (each.condition == Condition::Vanished || each.condition == Condition::Withdrawn)
            each.since = each.lastKnown;
        else if (!isOfState || !isStateNews)
            each.since = seen.hasBegun ? seen.noticed : QDateTime();
    }
    m_seen = all;
}

void ServerFactsList::read()
{
    QVector<ServerFacts> facts;
    const QHash<QString, SeenBranch> branches = m_branches();
    for (int row = 0; row < m_servers.rowCount(); ++row)
        facts.append(factsAt(row, branches.value(m_servers.index(row, 0).data().toString())));
    readBeginnings(facts);
    std::sort(facts.begin(), facts.end(), [](const ServerFacts& a, const ServerFacts& b) {
        if (a.condition != b.condition)
            return a.condition < b.condition;
        // Those that are well keep their places.
        if (a.condition < Condition::Operational && a.since != b.since)
            return a.since < b.since;
        return a.sortText < b.sortText;
    });
    m_facts = facts;
    if (std::any_of(facts.begin(), facts.end(), [](const ServerFacts& each) { return each.isCounting(); }))
        m_counting.start();
    Q_EMIT si_Changed();
}

} // namespace KoltaConsole
