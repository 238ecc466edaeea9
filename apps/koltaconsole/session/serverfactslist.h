#pragma once

#include "serverfacts.h"

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QTimer>
#include <QVector>

#include <functional>

namespace KoltaConsole {

/// The facts of every server, worst first, within a state by how long it is so, then by name. What changes
/// is looked at together, at most ten times a second. Servers that have left by themselves are forgotten
/// after a day.
///
/// Since when a server is as it is counts as far as it was seen here: what was so at the first look, also at
/// the first one after the link was away, began before that.
class ServerFactsList : public QObject
{
    Q_OBJECT

public:
    /// Branches that are not as they should be, by their servers' addresses.
    using OddBranches = std::function<QHash<QString, SeenBranch>()>;

    /// The model outlives this.
    ServerFactsList(const Kolta::ServerModel& servers, OddBranches branches);

    const QVector<ServerFacts>& all() const noexcept { return m_facts; }
    /// A server without a name when there is none of that one.
    ServerFacts of(const QString& address) const;
    int attentionCount() const;
    /// Whether one may still come up.
    bool isAnyStarting() const;

    /// The link that shows the servers is gone, or back.
    void setOutOfSight(bool isOutOfSight);
    /// Something has changed.
    void gather();
    /// The same, at once.
    void read();
    /// Looks for those that have left long ago, as it does once a minute.
    void forgetLeavers();

Q_SIGNALS:
    /// Facts may be others.
    void si_Changed();

private:
    /// A condition as it was seen.
    struct Seen
    {
        Condition condition = Condition::Vanished;
        QDateTime noticed;
        bool hasBegun = false; ///< then, and was not so at the first look
    };

    ServerFacts factsAt(int row, const SeenBranch& branch) const;
    void readBeginnings(QVector<ServerFacts>& facts);
    Seen seenNow(const ServerFacts& facts, const QDateTime& now) const;
    static bool hidesServer(const Seen& seen);

    const Kolta::ServerModel& m_servers;
    const OddBranches m_branches;
    QVector<ServerFacts> m_facts;
    QHash<QString, Seen> m_seen; ///< by address; of servers that can be seen
    bool m_isOutOfSight = false;
    QDateTime m_outOfSightSince; ///< valid until all servers may have been seen again
    QTimer m_gathering;
    QTimer m_counting;  ///< while a server is silent or joins: how long, or how far, is told by the second
    QTimer m_returning; ///< the link is back, the servers perhaps not yet
    QTimer m_forgetting;
};

} // namespace KoltaConsole
