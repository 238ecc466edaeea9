#pragma once

#include <koltacommon/abstractrgvalueobserver.h>
#include <koltacommon/export.h>
#include <koltacommon/guidindex.h>
#include <koltacommon/modelmetatypes.h>

#include <resourcemodel/owners.h>

#include <QStringList>
#include <QUuid>

namespace Kolta {

/// The client's mirror of who owns (operates) one server and its processors, and its way to ask for that.
///
/// Bound to the server's base path followed by "/ADMINISTRATION/Owners". What is owned is named by the GUID
/// of the processor, or by the empty text for the server itself; ownership does not pass to what a processor
/// holds. Of several owners of one thing the first counts. When the value is deleted, nobody is known to own
/// anything. Nothing is decided here: a request is fulfilled when the mirror shows it.
///
/// Slots may change the value or delete the observer. Lives on the value tree's thread.
class KOLTA_COMMON_EXPORT KoltaOwnerObserver
    : public AbstractRGValueObserver<RESOURCEMANAGEMENT::OwnerOverview>
{
    Q_OBJECT

public:
    explicit KoltaOwnerObserver(QObject* parent = nullptr);
    /// Calls init(path) unless `path` is empty.
    explicit KoltaOwnerObserver(const QString& path, QObject* parent = nullptr);
    ~KoltaOwnerObserver() override;

    /// The mirror.
    const RESOURCEMANAGEMENT::OwnerOverview& GetCurrentOwners() const;
    /// Who owns it; null when nobody does. Good until the next change.
    const RESOURCEMANAGEMENT::Owner* FindOwner(const QString& ownedGuid) const;
    /// Whether the client with that ID owns it; client IDs are compared as UUIDs.
    bool IsOwnedBy(const QString& ownedGuid, const QUuid& clientId) const;
    /// What the client owns, in the order of the overview.
    QStringList GetGUIDsOwnedBy(const QUuid& clientId) const;

    /// Who requests ownership from now on. `host` empty: this machine's name.
    void setClient(const QUuid& clientId, const QString& name, const QString& host = QString());
    /// These write a request for the server into the value "OwnerRequest" beside the mirrored one; an
    /// identical request is announced again. False, and nothing is written, without client ID, when there is
    /// no such value, or when the request cannot be written as XML, which is traced.
    /// `force`: whoever owns it, which needs a right of its own.
    bool requestOwnership(const QString& ownedGuid, bool force = false);
    bool releaseOwnership(const QString& ownedGuid, bool force = false);

    void onValueChange(const RESOURCEMANAGEMENT::OwnerOverview& oldOwners,
                       const RESOURCEMANAGEMENT::OwnerOverview& newOwners) override;
    void onVtDelete() override;
    void onVtUser() override {}

Q_SIGNALS:
    /// Another client owns it (or the same gives another name or host), in the order of the new overview;
    /// then what lost its owner, with an empty client ID, in the order of the old.
    void si_OwnerChanged(QString sOwnedGUID, QString sClientID);
    /// A new overview was mirrored, or the value was deleted and `owners` is empty.
    void si_OwnersChanged(const RESOURCEMANAGEMENT::OwnerOverview& owners);

private:
    struct OwnedGuid
    {
        static const QString& of(const RESOURCEMANAGEMENT::Owner& owner) { return owner.GetOwnedGUID(); }
    };
    using Index = GuidIndex<RESOURCEMANAGEMENT::Owner, OwnedGuid>;

    const Index& index() const;
    bool writeRequest(RESOURCEMANAGEMENT::OwnerRequest::Action action, const QString& ownedGuid);

    mutable Index m_index; ///< of the mirror; handed on by a change that leaves everything at its place
    RESOURCEMANAGEMENT::Owner m_client;
};

} // namespace Kolta
