#include <simulation/ownerlist.h>

#include <koltacommon/guidtext.h>

#include <QSet>

#include <algorithm>

namespace KoltaSimulation {

using Kolta::guidFromText;
using RESOURCEMANAGEMENT::Owner;
using RESOURCEMANAGEMENT::OwnerOverview;
using RESOURCEMANAGEMENT::OwnerRequest;

QString OwnerList::obey(const OwnerRequest& request, bool runs)
{
    const Owner& asked = request.GetOwner();
    const QUuid owned = ownedBy(request);
    const QUuid client = guidFromText(asked.GetClientID());
    if (client.isNull())
        return QStringLiteral("\"%1\" is not the GUID of a client").arg(asked.GetClientID());
    if (!asked.GetOwnedGUID().isEmpty() && !runs)
        return QStringLiteral("No processor %1 runs").arg(asked.GetOwnedGUID());
    const auto present = std::find_if(m_owners.begin(), m_owners.end(), [&owned](const Owner& owner) {
        return guidFromText(owner.GetOwnedGUID()) == owned;
    });
    const bool isForced =
        request.GetAction() == OwnerRequest::eForceTake || request.GetAction() == OwnerRequest::eForceRelease;
    if (!isForced && present != m_owners.end() && guidFromText(present->GetClientID()) != client) {
        const QString name = present->GetName().isEmpty() ? present->GetClientID() : present->GetName();
        return QStringLiteral("The owner is %1").arg(name);
    }
    if (present != m_owners.end())
        m_owners.erase(present);
    if (request.GetAction() != OwnerRequest::eTake && request.GetAction() != OwnerRequest::eForceTake)
        return QString();
    Owner owner = asked;
    owner.SetClientID(client.toString());
    if (owned.isNull())
        owner.ResetOwnedGUID();
    else
        owner.SetOwnedGUID(owned.toString());
    m_owners.append(owner);
    return QString();
}

bool OwnerList::remove(const QVector<QUuid>& processors)
{
    const QSet<QUuid> gone(processors.begin(), processors.end());
    const auto end = std::remove_if(m_owners.begin(), m_owners.end(), [&gone](const Owner& owner) {
        return gone.contains(guidFromText(owner.GetOwnedGUID()));
    });
    const bool any = end != m_owners.end();
    m_owners.erase(end, m_owners.end());
    return any;
}

OwnerOverview OwnerList::overview() const
{
    OwnerOverview overview;
    overview.SetOwner(m_owners);
    return overview;
}

QUuid OwnerList::ownedBy(const OwnerRequest& request)
{
    return guidFromText(request.GetOwner().GetOwnedGUID());
}

} // namespace KoltaSimulation
