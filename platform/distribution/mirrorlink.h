#pragma once

#include <distribution/branchdriver.h>
#include <distribution/branchmessage.h>
#include <distribution/branchmirror.h>
#include <distribution/linkoptions.h>
#include <distribution/mirroredtree.h>
#include <distribution/topics.h>

#include <startup/throttledtrace.h>

#include <QString>
#include <QStringList>
#include <QTimer>
#include <QUuid>

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace distribution {

struct PublishedBranch;

/// What a MirrorLink tells.
struct MirrorLinkEvents
{
    std::function<void(bool isUp, const QString& reason)> linkChanged;
    std::function<void(const QString& branch, BranchState state)> branchChanged;
    std::function<void(const QString& path, const QString& reason)> wishFailed;
};

/// The mirrors of other processes' branches, over one connection. Branches come as they are heard of.
class MirrorLink
{
public:
    MirrorLink(ChangeCollector& collector, StatePacker& packer, std::unique_ptr<ICarrier> carrier,
               const LinkOptions& options, MirrorLinkEvents events);
    /// Takes leave; what was mirrored stays in the tree.
    ~MirrorLink();

    /// Names, or "*" for all.
    void Mirror(const QStringList& branches);
    /// A branch of this process, which is not mirrored here, any more: what its mirror had put into the tree
    /// is the program's own from now on.
    void Exclude(const PublishedBranch& own);
    /// This process has given it up. Whoever publishes it next, or wants its place, is mirrored; what was
    /// said in the epoch that has ended is not, so that the program keeps what it had published.
    void Readmit(const PublishedBranch& own, const QUuid& ended);

    bool IsUp() const noexcept { return m_isUp; }
    /// The broker does not admit this process, or does not let it read; waiting does not help.
    bool IsRefused() const noexcept { return m_isRefused; }
    /// Null for a branch that nobody has heard of.
    const BranchMirror* Find(const QString& branch) const;
    /// About a branch, to its owner, and from it.
    Traffic GetSent(const QString& branch) const;
    Traffic GetReceived(const QString& branch) const;
    QStringList GetBranches() const;
    /// See TreeLink::read().
    bool Read(const QString& branch, QObject* context, BranchReader reader);
    /// Of the carrier's clock.
    qint64 GetNowMs() const;
    int GetNextTryMs() const { return m_carrier->GetNextTryMs(); }
    /// What mirrors of these branches would have to hear at which times of that clock to be where these are
    /// now, in the order of the times.
    std::vector<TimedMessage> GetJoin() const;
    /// Nothing that has come waits for something that has not.
    bool IsSettled() const;

    /// For values::Weak.
    const values::Life& GetLife() const noexcept { return m_life; }

    MirrorLink(const MirrorLink&) = delete;
    MirrorLink& operator=(const MirrorLink&) = delete;

private:
    struct Branch;

    Branch* branch(const QString& name);
    bool hasBegunAnew(const Topic& topic, const Bytes& payload);
    bool admit(const QString& name, const Bytes& live);
    void release(const QString& name);
    void askForRefused();
    void deleteFormer();
    QString holderOf(const QString& root, const QString& but) const;
    void subscribe();
    bool forEachBranch(const std::function<void(Branch& branch)>& call);
    void onUp(std::size_t maximumPayload);
    void onDown(DownReason reason, const QString& text);
    void onMessage(const Bytes& bytes, const Bytes& payload);
    void onRefused(const Bytes& bytes, const QString& text);

    ChangeCollector& m_collector;
    StatePacker& m_packer;
    const LinkOptions m_options;
    const MirrorLinkEvents m_events;
    const Topics m_topics;
    std::unique_ptr<ICarrier> m_carrier;
    QStringList m_wanted;
    QStringList m_excluded;
    std::map<QString, QUuid> m_ended; ///< branches that this process has given up, until others have them
    std::map<QString, std::unique_ptr<Branch>> m_branches;
    std::vector<std::unique_ptr<Branch>> m_former; ///< excluded by an observer of theirs, perhaps
    std::map<QString, QString> m_holders; ///< by root: the branch to which that place in the tree belongs
    std::set<QString> m_refused;          ///< branches that want another one's place
    std::set<Bytes> m_forbidden;          ///< topics that the broker has refused since the line came up
    std::size_t m_maximumPayload = 0;
    QTimer m_deleteFormer;
    bool m_isUp = false;
    bool m_isRefused = false;
    Startup::ThrottledTrace m_complaints;
    values::Life m_life;
};

} // namespace distribution
