#pragma once

#include <koltacommon/export.h>
#include <values/tree.h>

#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <set>

namespace Kolta {

class KoltaServerInterface;

/// The servers that this process knows, each with its interface. Lives on the value tree's thread.
///
/// A server that is not in the value tree yet, or only in part, is bound as soon as more of it appears there,
/// from the event loop, once for everything that appeared in one go. A server that has vanished stays known;
/// its interface tells that it is disconnected.
class KOLTA_COMMON_EXPORT KoltaServerRegistry : public QObject, private values::ITreeListener
{
    Q_OBJECT

public:
    static KoltaServerRegistry& Instance();
    /// Name under which the link to the connection manager is known to the value tree.
    static QString connectionManagerAlias();

    /// Makes the interface of a server and binds it to the node "/ConnectManager" + `path`, for instance
    /// "/AdminTree/S1"; a path that begins with "/ConnectManager" is taken as it is. A server that is known
    /// by that address already is returned as it is. The registry owns the interface. Null when another
    /// address stands for that node, or when a slot removed the server again.
    KoltaServerInterface* addServer(const QString& address, const QString& path);
    /// Deletes the interface from the event loop. False when there is none.
    bool removeServer(const QString& address);
    void removeAllServers();

    /// Null when there is none.
    KoltaServerInterface* server(const QString& address) const;
    /// The one whose node in the value tree has that path; null when there is none.
    KoltaServerInterface* serverAt(const QString& basePath) const;
    /// In the order in which they were added.
    const QStringList& addresses() const noexcept { return m_addresses; }

    /// While on, every server that is or appears below "/ConnectManager/AdminTree" is added, with the name of
    /// its node as the address.
    void setDiscovery(bool on);

Q_SIGNALS:
    /// The interface exists and has been bound as far as possible.
    void si_ServerAdded(QString address);
    /// Is known no more; its interface lives until control is back in the event loop.
    void si_ServerRemoved(QString address);

private:
    KoltaServerRegistry();
    ~KoltaServerRegistry() override;

    void OnItemAdded(values::TreeItem& item) override;
    void OnItemRemoved(values::TreeItem&) override {}
    void OnItemChanged(values::TreeItem&, TChangeCode, IObserver*) override {}
    void forget(QString address);
    void setIncomplete(const QString& basePath, bool isIncomplete);
    void schedule(const QString& basePath);
    void bindScheduled();

    QHash<QString, KoltaServerInterface*> m_servers; ///< by address; owned
    QStringList m_addresses;
    QHash<QString, QString> m_basePaths; ///< address by base path
    QSet<QString> m_incomplete;          ///< base paths of servers that are not bound whole
    std::set<QString> m_scheduled;       ///< base paths below which something has appeared
    bool m_discovery = false;
};

} // namespace Kolta
