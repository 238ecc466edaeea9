#pragma once

#include <distribution/branchdriver.h>
#include <distribution/branchowner.h>
#include <distribution/linkoptions.h>
#include <distribution/nameprobe.h>
#include <distribution/ownedtree.h>
#include <distribution/publicationstate.h>

#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>
#include <set>

namespace distribution {

/// What is to be published.
struct PublishedBranch
{
    QString name;
    QStringList roots;
    QString sentinel; ///< path of the value whose existence says that the owner lives; empty: none
};

/// One branch of this process with a connection of its own, under an identifier that the broker admits once.
/// Before the name is claimed, and again whenever the line was lost, it is made sure that nobody else has it:
/// not every broker tells a client that it was displaced, and two that take the line from each other would go
/// on for ever.
class BranchPublisher
{
public:
    using StateChanged = std::function<void(PublicationState state, const QString& reason)>;

    BranchPublisher(ChangeCollector& collector, StatePacker& packer, std::unique_ptr<ICarrier> carrier,
                    const LinkOptions& options, PublishedBranch branch, std::unique_ptr<IWritePolicy> policy,
                    StateChanged changed);
    /// Leaves: takes everything from the mirrors, unless something else is published under the name.
    ~BranchPublisher();

    const PublishedBranch& GetBranch() const noexcept { return m_branch; }
    PublicationState GetState() const noexcept { return m_state; }
    const BranchOwner& GetOwner() const noexcept { return *m_owner; }
    /// An input is dealt with, further up in the call stack: not the time to delete it.
    bool IsBusy() const noexcept { return m_driver.IsBusy(); }
    /// It is about to be deleted: what is in its place may be published or mirrored by another.
    void LetGo() { m_tree.LetGo(); }

    BranchPublisher(const BranchPublisher&) = delete;
    BranchPublisher& operator=(const BranchPublisher&) = delete;

private:
    void probe();
    void startProbe();
    void claim();
    void onUp(std::size_t maximumPayload);
    void onDown(DownReason reason, const QString& text);
    void onMessage(const Bytes& bytes, const Bytes& payload);
    void onRefused(const Bytes& topic, const QString& text);
    void endProbe();
    void end(PublicationState state, const QString& reason);
    bool isOwnClaim(const Topic& topic, const Bytes& payload) const;
    void setState(PublicationState state, const QString& reason = QString());

    const LinkOptions m_options;
    const PublishedBranch m_branch;
    const Topics m_topics;
    const StateChanged m_changed;
    std::unique_ptr<ICarrier> m_carrier;
    OwnedTree m_tree;
    std::unique_ptr<BranchOwner> m_owner;
    std::optional<NameProbe> m_probe; ///< while it is not sure that the name is free
    BranchDriver m_driver;
    QTimer m_again;
    std::set<Bytes> m_refused; ///< topics without which the branch is published all the same
    PublicationState m_state = PublicationState::Waiting;
    QUuid m_displaced;   ///< epoch of the owner that is displaced by this one
    bool m_isUp = false; ///< the owner's connection is
    bool m_wasUp = false;
};

} // namespace distribution
