#pragma once

#include <koltacommon/servernodes.h>
#include <resourcemodel/owners.h>
#include <resourcemodel/processors.h>
#include <resourcemodel/requests.h>
#include <resourcemodel/resources.h>
#include <resourcemodel/tunerclasses.h>
#include <values/tree.h>

#include <QMap>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVector>

#include <functional>

namespace KoltaSimulation {

/// A server in the process-wide value tree that does nothing by itself: it notes what clients ask for, and
/// each step of what a server makes of that is one call of a test. So a test decides what comes first, what
/// never comes, and what is lost on the way. Lives on the tree's thread.
class ScriptedServer : private values::ITreeListener
{
public:
    /// Its node is "/ConnectManager/AdminTree/<name>".
    explicit ScriptedServer(const QString& name);
    /// Takes its nodes along.
    ~ScriptedServer() override;
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    const QString& name() const noexcept { return m_name; }
    /// As KoltaServerRegistry::addServer() takes it.
    QString path() const { return QStringLiteral("/AdminTree/") + m_name; }

    // What it knows, shown by show(); a test changes it as it likes. It outlives the server's absence.
    RESOURCEMANAGEMENT::ResourceOverview resources;
    RESOURCEMANAGEMENT::TunerClassOverview classes;
    RESOURCEMANAGEMENT::ProcessorOverview running;
    RESOURCEMANAGEMENT::OwnerOverview owners;

    /// Comes up with all that it knows, the working state last.
    void appear(int state = kOperationalState);
    void vanish();
    void setState(int state);
    void show();
    void say(const QString& status);

    /// Does what is asked for, and shows nothing of it: a production with the tuners in use, or a move.
    void act(const RESOURCEMANAGEMENT::RequestResource& request);
    void answer(const QUuid& request, bool accepted, const QString& text = QString());
    /// Ends a production and frees its tuner; shows nothing.
    void end(const QUuid& production);
    void tellEnded(const QUuid& production);
    void setTunerIdle(const QString& guid, bool idle);

    /// The GUID that answers to the request name.
    static QUuid idOf(const RESOURCEMANAGEMENT::RequestResource& request);

    // What clients have asked for, in order.
    QVector<RESOURCEMANAGEMENT::RequestResource> requests;
    QStringList wishes; ///< "<node> <text>" of everything else: stops, ownership, power

    QString lastPath; ///< of the value into which the last of these was written

    /// Called for each request while the client still makes it.
    std::function<void(const RESOURCEMANAGEMENT::RequestResource&)> onRequest;
    /// The same for everything else.
    std::function<void(const QString& wish)> onWish;

    static constexpr int kOperationalState = 5;

private:
    void OnItemAdded(values::TreeItem& item) override;
    void OnItemRemoved(values::TreeItem&) override {}
    void OnItemChanged(values::TreeItem& item, TChangeCode code, IObserver* originator) override;

    QString pathOf(Kolta::ServerNodes::eNode node) const;
    void write(Kolta::ServerNodes::eNode node, const QString& text);

    const QString m_name;
    const QString m_base;
    QMap<QUuid, QUuid> m_ffpOfProduction;
};

} // namespace KoltaSimulation
