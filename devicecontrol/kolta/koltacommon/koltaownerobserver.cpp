#include <koltacommon/koltaownerobserver.h>

#include <koltacommon/guidtext.h>
#include <koltacommon/listmatching.h>
#include <koltacommon/servernodes.h>

#include <QPointer>
#include <QSysInfo>

#include <utility>
#include <vector>

namespace Kolta {

using RESOURCEMANAGEMENT::Owner;
using RESOURCEMANAGEMENT::OwnerOverview;
using RESOURCEMANAGEMENT::OwnerRequest;

KoltaOwnerObserver::KoltaOwnerObserver(QObject* parent) : KoltaOwnerObserver(QString(), parent) {}

KoltaOwnerObserver::KoltaOwnerObserver(const QString& path, QObject* parent)
    : AbstractRGValueObserver(QString(), parent)
{
    qRegisterMetaType<OwnerOverview>();
    if (!path.isEmpty())
        KoltaOwnerObserver::init(path);
}

KoltaOwnerObserver::~KoltaOwnerObserver() = default;

const OwnerOverview& KoltaOwnerObserver::GetCurrentOwners() const
{
    return getCurrentValue();
}

const Owner* KoltaOwnerObserver::FindOwner(const QString& ownedGuid) const
{
    return index().find(ownedGuid);
}

bool KoltaOwnerObserver::IsOwnedBy(const QString& ownedGuid, const QUuid& clientId) const
{
    const Owner* const owner = FindOwner(ownedGuid);
    return owner && !clientId.isNull() && guidFromText(owner->GetClientID()) == clientId;
}

QStringList KoltaOwnerObserver::GetGUIDsOwnedBy(const QUuid& clientId) const
{
    QStringList guids;
    for (const Owner& owner : currentValue.GetOwner()) {
        if (IsOwnedBy(owner.GetOwnedGUID(), clientId) && FindOwner(owner.GetOwnedGUID()) == &owner)
            guids.append(owner.GetOwnedGUID());
    }
    return guids;
}

const KoltaOwnerObserver::Index& KoltaOwnerObserver::index() const
{
    if (!m_index.isFor(currentValue.GetOwner()))
        m_index.rebuild(currentValue.GetOwner());
    return m_index;
}

void KoltaOwnerObserver::setClient(const QUuid& clientId, const QString& name, const QString& host)
{
    m_client.Reset();
    if (!clientId.isNull())
        m_client.SetClientID(clientId.toString());
    m_client.SetName(name);
    m_client.SetHost(host.isEmpty() ? QSysInfo::machineHostName() : host);
}

bool KoltaOwnerObserver::requestOwnership(const QString& ownedGuid, bool force)
{
    return writeRequest(force ? OwnerRequest::eForceTake : OwnerRequest::eTake, ownedGuid);
}

bool KoltaOwnerObserver::releaseOwnership(const QString& ownedGuid, bool force)
{
    return writeRequest(force ? OwnerRequest::eForceRelease : OwnerRequest::eRelease, ownedGuid);
}

bool KoltaOwnerObserver::writeRequest(OwnerRequest::Action action, const QString& ownedGuid)
{
    if (!m_client.IsClientIDSet())
        return false;
    OwnerRequest request;
    request.SetAction(action);
    request.SetOwner(m_client);
    if (!ownedGuid.isEmpty())
        request.EditOwner().SetOwnedGUID(ownedGuid);
    try {
        return values::WriteOrAnnounce(getParentNodePath() + ServerNodes::suffix(ServerNodes::eOwnerRequest),
                                       request.GetXmlString());
    } catch (const REPORTGENERATOR::RGException& exception) {
        traceReportException(exception);
        return false;
    }
}

void KoltaOwnerObserver::onValueChange(const OwnerOverview& oldOwners, const OwnerOverview& newOwners)
{
    const QVector<Owner>& oldList = oldOwners.GetOwner();
    const QVector<Owner>& newList = newOwners.GetOwner();
    if (!m_index.isFor(oldList))
        m_index.rebuild(oldList);
    ListMatching<Owner, OwnedGuid> matching(oldList, newList, m_index);
    std::vector<int> others; // places of new and of other records
    for (int place = 0; place < newList.size(); ++place) {
        bool isSame = false;
        const int old = matching.next(isSame);
        if (old < 0 || (!isSame && oldList.at(old) != newList.at(place)))
            others.push_back(place);
    }
    QStringList lost;
    for (int old = 0; old < oldList.size(); ++old) {
        if (matching.isGone(old) && m_index.isFirst(old))
            lost.append(oldList.at(old).GetOwnedGUID());
    }
    matching.hand(m_index);
    QVector<std::pair<QString, QString>> changes; // what is owned, and by which client
    for (const int place : others) {
        if (m_index.isFirst(place))
            changes.append({newList.at(place).GetOwnedGUID(), newList.at(place).GetClientID()});
    }
    for (const QString& owned : qAsConst(lost))
        changes.append({owned, QString()});
    const QPointer<KoltaOwnerObserver> guard(this);
    for (const auto& [owned, client] : changes) {
        Q_EMIT si_OwnerChanged(owned, client);
        if (!guard)
            return;
    }
    Q_EMIT si_OwnersChanged(newOwners);
}

void KoltaOwnerObserver::onVtDelete()
{
    onValueChange(forgetMirror(), OwnerOverview());
}

} // namespace Kolta
