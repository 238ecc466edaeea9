#pragma once

#include <distribution/branchmirror.h>
#include <distribution/export.h>
#include <distribution/linkoptions.h>
#include <distribution/publicationstate.h>
#include <distribution/traffic.h>
#include <distribution/writepolicy.h>

#include <values/tree.h>
#include <values/treeclient.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>
#include <memory>

namespace distribution {

class BranchPublisher;
class ChangeCollector;
class MirrorLink;
class StatePacker;
struct BranchMessage;
struct PublishedBranch;

/// What is known of a branch.
struct BranchStatus
{
    QString name;
    bool isOwn = false; ///< published by this process
    BranchState state = BranchState::Unknown;
    QString host;      ///< of its owner
    QStringList roots; ///< paths at and below which its items are
    QUuid epoch;
    qint64 beatAgeMs = -1; ///< since its owner's last sign of life; -1: none
    std::vector<ChannelNumber> numbers;
    std::size_t openWishes = 0; ///< own changes that its owner has not dealt with
    qint64 roundTripMs = -1; ///< of the latest own change that its owner has dealt with; -1 before the first
    Traffic sent;            ///< to its owner
    Traffic received;        ///< about it, beats included
    int parts = 0; ///< of its content: the plain values and each collection; 0 until an owner names them
    int joinedParts = 0; ///< of these, the ones that are here and up to date; of an own branch all
};
/// "live", "lost" and so on.
KOLTA_DISTRIBUTION_EXPORT QString ToText(BranchState state);

/// The link of this process to all others that share a value tree: publishes branches of the tree, and
/// mirrors those that others publish. Applications go on using the tree; what they change in a mirrored
/// branch is decided by its owner, and si_WishFailed and values::ITreeListener::OnWishFailed() tell what did
/// not last. Lives on the tree's thread and needs its event loop. It must not be destroyed while observers of
/// the tree are told, nor by who is told by si_BranchChanged, si_WishFailed or si_PublicationFailed; use
/// deleteLater() there.
class KOLTA_DISTRIBUTION_EXPORT TreeLink : public QObject, public values::ITreeClient
{
    Q_OBJECT

public:
    /// Makes a carrier for each connection: one for all mirrors, one for each published branch.
    using CarrierFactory = std::function<std::unique_ptr<ICarrier>()>;
    TreeLink(values::Tree& tree, CarrierFactory carriers, const LinkOptions& options,
             QObject* parent = nullptr);
    /// Over MQTT or from a recording, as the options say.
    TreeLink(values::Tree& tree, const LinkOptions& options, QObject* parent = nullptr);
    /// Withdraws what is published. What was mirrored stays in the tree.
    ~TreeLink() override;

    /// Publishes what is at and below `roots`, now and later, as `branch`. `sentinel` is the path of the
    /// value whose existence tells that the branch's owner lives: it comes last and goes first; it may be
    /// empty. False, and nothing happens, when the branch is published here already. False, and
    /// si_PublicationFailed before that, for a name that WhyNoBranchName() objects to.
    bool publish(const QString& branch, const QStringList& roots, const QString& sentinel,
                 std::unique_ptr<IWritePolicy> policy);
    /// Takes the branch from all mirrors.
    void withdraw(const QString& branch);
    /// Mirrors these branches, "*" being all. Own ones are not mirrored.
    void mirror(const QStringList& branches);

    bool isOnline() const;
    /// Milliseconds until the broker is tried again; -1 while none is planned.
    int nextTryMs() const;
    /// What is played here; null when the messages come from a broker.
    Replay* replay() const noexcept { return m_options.replay.get(); }
    /// By name.
    QVector<BranchStatus> branches() const;
    /// Reads along what passes between this process and the owner of a mirrored branch, from now on and as
    /// long as `context` lives and the branch is mirrored; false when it is not. `reader` is called on this
    /// thread, with each message before it is dealt with; it must neither change the tree nor run an event
    /// loop. While nobody reads this costs nothing.
    bool read(const QString& branch, QObject* context,
              std::function<void(const BranchMessage& message)> reader);
    /// Runs the event loop until the named branches are live, or, when none is named, at least one and all
    /// that have been heard of but those that are known to be gone. False when that takes more than
    /// `milliseconds`, and at once when the broker does not admit this process.
    bool waitForLive(const QStringList& branches, int milliseconds);

    /// Large values travel as differences in any case.
    void SetOptimization(values::ValueBase& /*value*/) override {}

Q_SIGNALS:
    /// Of the mirrors' connection. `reason`: why it is down, in one line.
    void si_LinkChanged(bool online, const QString& reason);
    /// Of the state alone: the parts that have come while it is joined are counted by branches().
    void si_BranchChanged(const QString& branch, distribution::BranchState state);
    /// The branch is published, the broker has taken the claim to it, and will be until si_PublicationFailed,
    /// or again after a loss of the line.
    void si_Published(const QString& branch);
    /// The branch is not published, for the reason that `state` names, and nothing is tried any more.
    void si_PublicationFailed(const QString& branch, distribution::PublicationState state,
                              const QString& reason);
    /// A change that was made here did not last, or nobody knows whether it did.
    void si_WishFailed(const QString& path, const QString& reason);

private:
    friend class TreeRecorder;
    void restoreCollection(const QString& path);
    void deleteLeaving();
    bool areLive(const QStringList& branches) const;

    const LinkOptions m_options;
    const CarrierFactory m_carriers;
    std::unique_ptr<ChangeCollector> m_collector;
    std::unique_ptr<StatePacker> m_packer;
    std::unique_ptr<MirrorLink> m_mirrors; ///< null until mirror() is called
    std::vector<std::unique_ptr<BranchPublisher>> m_published;
    std::vector<std::unique_ptr<BranchPublisher>> m_leaving; ///< withdrawn, perhaps by who was told of them
};

} // namespace distribution

Q_DECLARE_METATYPE(distribution::BranchState)
Q_DECLARE_METATYPE(distribution::PublicationState)
