#pragma once

#include <QMap>
#include <QSet>
#include <QString>

namespace Chaos {

/// What became of all wishes of a run, put together from what its processes have written down.
class Ledger
{
public:
    /// `isLast`: of the owner that lives in the end.
    void readOwner(const QString& journal, bool isLast);
    /// `wasKilled`: what it was about to send may be lost.
    void readWriter(const QString& journal, int writer, bool wasKilled);
    /// Values that writers have added for as long as they live, and that are still there, of these.
    QSet<int> leasesOf(const QSet<int>& writers) const;
    /// What is not as it should be; empty when all is.
    QString check() const;

    int made() const noexcept { return m_made; }
    int executed() const;
    int failed() const noexcept { return m_failed; }

private:
    struct Path
    {
        QSet<int> made;
        int failed = 0;
        int refused = 0; ///< of these: certainly not executed
    };
    struct Writer
    {
        QMap<QString, Path> paths;
        QSet<int> heard;
        int key = 0; ///< newest number under its own key
        bool wasKilled = false;
    };
    QString checkPath(int writer, const QString& name, const Path& path) const;
    QString checkContent(int writer, const Writer& of) const;

    QMap<int, Writer> m_writers;
    QMap<int, int> m_executed;  ///< how often, by number
    QMap<int, int> m_newestOwn; ///< by writer: number of the newest wish for its own value
    QMap<int, int> m_own;       ///< by writer: what its own value holds
    QMap<QString, int> m_keys;  ///< of the second collection
    QSet<int> m_leases;
    QString m_fault;
    int m_owners = 0;
    int m_made = 0;
    int m_failed = 0;
};

} // namespace Chaos
