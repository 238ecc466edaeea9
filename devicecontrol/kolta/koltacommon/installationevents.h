#pragma once

#include <koltacommon/event.h>
#include <koltacommon/export.h>
#include <koltacommon/viewtime.h>

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>
#include <map>
#include <memory>

namespace Kolta {

class KoltaConnectionsViewer;
class KoltaServerInterface;
class KoltaServerRegistry;
class Operation;
class ServerEvents;
class UserRights;

/// The one source of what happens in an installation, for logs, journals and views: servers that come, vanish
/// and return, their states and messages, tuners and units, processors, productions, ownership, operations of
/// this process, the user.
///
/// Makes those parts of the interfaces that it listens to, so that their mirrors are kept up. Follows what it
/// is given until that dies. Slots may do anything, deleting this, a server or its interface included. Lives
/// on the value tree's thread.
class KOLTA_COMMON_EXPORT InstallationEvents : public QObject
{
    Q_OBJECT

public:
    using TimeSource = std::function<QDateTime()>;
    using LeaverCheck = std::function<bool(const QString& server)>;

    explicit InstallationEvents(QObject* parent = nullptr);
    ~InstallationEvents() override;

    /// Follows the servers of the registry, those that come later too, until they are removed from it.
    void followRegistry(KoltaServerRegistry& registry);
    /// False when one with that address is followed.
    bool addServer(KoltaServerInterface& server);
    /// Tells of another user and of other rights.
    void followUser(UserRights& rights);
    /// Tells of links to servers of this thread that come up and are lost.
    void followConnections(KoltaConnectionsViewer& viewer);
    /// Tells how the operation ends unless it is done, as "PURPOSE: refused, ...".
    void followOperation(Operation& operation, const QString& server, const QString& purpose);
    /// Whether the way to the servers is gone. A server that goes meanwhile is not told as one that has
    /// vanished, for nobody can see it; nor is its return. It is told of those that are not back kReturnMs
    /// after the way is there again.
    void setOutOfSight(bool isOutOfSight);
    bool isOutOfSight() const noexcept { return m_isOutOfSight; }
    static constexpr int kReturnMs = 30000;
    /// Tells servers that have left by themselves from those that have vanished. It is asked, once control is
    /// back in the event loop, about each server that goes and was not asked to; without it all of these have
    /// vanished.
    void setLeaverCheck(LeaverCheck check) { m_leaverCheck = std::move(check); }
    /// Tells of something that this cannot see; without a time, now.
    void tell(Event event);

    /// What the time of events is taken from: ViewTime unless told otherwise.
    void setTimeSource(TimeSource source) { m_timeSource = std::move(source); }
    QDateTime now() const { return m_timeSource ? m_timeSource() : ViewTime::now(); }

    /// The states of all that is followed and not as usual, as events that were not told: each server, the
    /// tuners that are not free, the units that are not registered, the processors that run.
    QVector<Event> present() const;
    /// Addresses of the servers that are followed.
    QStringList servers() const;

Q_SIGNALS:
    /// For people too.
    void happened(const Kolta::Event& event);
    /// A state that is worth remembering and not worth a line: what a server that appears has already.
    void noticed(const Kolta::Event& event);

private:
    friend class ServerEvents;

    qint64 elapsedMs() const;
    void removeServer(const QString& address);
    void takeLinks(const KoltaConnectionsViewer& viewer, bool isTold);

    TimeSource m_timeSource;
    LeaverCheck m_leaverCheck;
    std::map<QString, ServerEvents*> m_servers; ///< children
    QHash<quint32, int> m_links;                ///< states by id
    bool m_isOutOfSight = false;
};

} // namespace Kolta
