#pragma once

#include <distribution/output.h>

#include <QString>
#include <QUuid>

#include <map>
#include <set>
#include <vector>

namespace distribution {

/// Which items live only as long as the process that added them: those of a session whose presence has been
/// taken back, or is not seen, for a while.
class Leases
{
public:
    explicit Leases(qint64 graceMs) : m_graceMs(graceMs) {}

    void Add(const QUuid& session, const QString& path, qint64 nowMs);
    /// The item is gone.
    void Remove(const QString& path);
    bool Holds(const QUuid& session, const QString& path) const
    {
        return !session.isNull() && HolderOf(path) == session;
    }
    /// Null: nobody.
    QUuid HolderOf(const QString& path) const;

    void SetPresent(const QUuid& session, bool present, qint64 nowMs);
    bool IsPresent(const QUuid& session) const { return m_present.count(session) > 0; }
    /// A broker that forgets what is retained tells of nobody: who does not say anew that he is here is gone.
    void OnUp(qint64 nowMs);

    /// Items whose time is up, the newest of a session first; they are forgotten.
    std::vector<QString> TakeExpired(qint64 nowMs);
    qint64 NextMs() const;

private:
    struct Lease
    {
        std::vector<QString> items; ///< in the order in which they were added
        qint64 endMs = kNever;
    };

    qint64 m_graceMs;
    std::map<QUuid, Lease> m_leases;
    std::map<QString, QUuid> m_holders;
    std::set<QUuid> m_present;
};

} // namespace distribution
