#pragma once

#include <resourcemodel/owners.h>

#include <QHash>
#include <QString>
#include <QUuid>
#include <QVector>

namespace KoltaSimulation {

/// Who owns a server and its processors. What has an owner is nobody else's until it is released or stops.
class OwnerList
{
public:
    /// Gives or takes back what the request names, which `runs` unless it is the server itself. Empty when
    /// that is done; otherwise the reason why not.
    QString obey(const RESOURCEMANAGEMENT::OwnerRequest& request, bool runs);
    /// Nobody owns what has stopped. False when nobody did before.
    bool remove(const QVector<QUuid>& processors);
    void clear() { m_owners.clear(); }
    /// In the order in which things got owners.
    RESOURCEMANAGEMENT::OwnerOverview overview() const;

    /// GUID of what the request names; null for the server.
    static QUuid ownedBy(const RESOURCEMANAGEMENT::OwnerRequest& request);

private:
    QVector<RESOURCEMANAGEMENT::Owner> m_owners;
};

} // namespace KoltaSimulation
