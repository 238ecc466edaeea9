#pragma once

#include <distribution/branchowner.h>
#include <distribution/leases.h>
#include <distribution/ownerchannel.h>
#include <distribution/topics.h>
#include <distribution/writepolicy.h>

#include <startup/throttledtrace.h>

#include <QSet>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace distribution {

/// Where the wishes for a branch come in at its owner: who writes, what of a wish may be executed, whose the
/// items are, and who is told what came of it.
class WishDesk
{
public:
    using Channels = std::map<quint16, std::unique_ptr<OwnerChannel>>;

    /// Both are not owned. `collections`: channel by path.
    WishDesk(const Channels& channels, const std::map<QString, quint16>& collections, QStringList roots,
             qint64 graceMs, std::unique_ptr<IWritePolicy> policy);

    Leases& GetLeases() noexcept { return m_leases; }
    /// The connection is up; who is present will be said anew.
    void OnUp(qint64 nowMs);
    /// A message about a writer's presence.
    void SetPresence(const Topic& topic, const Bytes& payload, qint64 nowMs);
    /// Whether this is the next wish of the topic's session, which belongs to the user who used it first.
    /// When there are too many sessions, those make room that are not present and have been silent longest.
    bool Admits(const OwnerChannel& channel, const Topic& topic, quint64 wish, qint64 nowMs);

    /// What of a wish may be executed.
    struct Review
    {
        Writer writer;
        Changes changes;
        std::vector<quint32> indices; ///< of these changes in the wish
        Failures failures;            ///< of the others
    };
    Review Look(const Topic& topic, const OwnerChannel& channel, const WishMessage& wish);
    /// Executes what may be. All that has failed, this included, is among the result's failures.
    IOwnedTree::Executed Execute(const Review& review, IOwnedTree& tree) const;
    /// The wish has an entry: what its session has added, or has of a former session of its user, is leased
    /// to it, and a value that holds what it wished for is its own when it compares. `added`: paths of all
    /// items that came with it.
    void NoteAuthor(OwnerChannel& channel, const Review& review, const QSet<QString>& added, qint64 nowMs);
    /// Calls `tell` with what came of each change of the wish.
    using Tell = std::function<void(const Writer& writer, const Change& change, const Failure& failure)>;
    static void TellAll(const Review& review, const WishMessage& wish, const Failures& failures,
                        const Tell& tell);

private:
    /// A session that has made wishes.
    struct Known
    {
        Bytes user;
        qint64 usedMs = 0; ///< time of its last wish
    };
    using UsersSession = std::pair<QUuid, Bytes>;
    bool isOwnSession(const Topic& topic, qint64 nowMs);
    bool isForeign(const Topic& topic) const;
    bool makeRoom(const OwnerChannel& channel, qint64 nowMs);
    bool isOwnItem(const Writer& writer, const Change& change) const;
    Failure objectionTo(const Writer& writer, const OwnerChannel& channel, const Change& change) const;

    const Channels& m_channels;
    const std::map<QString, quint16>& m_collections;
    const QStringList m_roots;
    const std::unique_ptr<IWritePolicy> m_policy;
    Leases m_leases;
    std::map<QUuid, Known> m_known;
    QSet<QString> m_adding; ///< items of the wish that is looked at
    std::map<UsersSession, PresenceMessage> m_present;
    Startup::ThrottledTrace m_complaints;
};

} // namespace distribution
