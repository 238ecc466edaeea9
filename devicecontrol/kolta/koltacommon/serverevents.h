#pragma once

#include <koltacommon/event.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/processorledger.h>

#include <resourcemodel/resources.h>
#include <startup/clock.h>

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QVector>

#include <memory>

namespace Kolta {

class InstallationEvents;
class ServerRequestWatch;

/// What happens on one server, told through InstallationEvents.
///
/// While the server is away nothing is told of what it had. What is found when it is back is compared with
/// what was known: processors that still run are adopted, others are lost.
class ServerEvents : public QObject
{
    Q_OBJECT

public:
    /// A child of `owner`.
    ServerEvents(KoltaServerInterface& server, InstallationEvents& owner);
    ~ServerEvents() override;

    const QString& address() const noexcept { return m_address; }
    void appendPresent(QVector<Event>& events) const;
    /// The servers can be seen again.
    void takeSight();
    /// Hears nothing more and is deleted from the event loop.
    void retire();

private:
    using Kind = Event::Kind;
    using Type = EventSubject::Type;
    using Weight = Event::Weight;
    /// A processor that is known to run.
    struct Running
    {
        QString name;
        QString production;
        QString tuner;
        QString holder;
    };

    struct Owner
    {
        QString client;
        QString text;
    };

    bool isAway() const;
    Event make(Kind kind, Type type, const QString& guid, const QString& text) const;
    /// These are false when a receiver has deleted this.
    bool tell(const Event& event);
    bool notice(const Event& event);
    bool tell(Kind kind, Type type, const QString& guid, const QString& text, Weight weight = Weight::Note);

    void followServer();
    bool saysStateWord(const QString& text) const;
    void come();
    void vanish();
    /// How it went.
    enum class Farewell { Vanished, AskedFor, Left };
    Farewell farewell() const;
    bool tellGone(Farewell farewell);
    QString vanishedText() const;
    void takeState(SERVER_STATES::eServerState state);
    void tellStartupErrors(const QString& errors);

    void followResources();
    void followUnits(const KoltaResourceObserver& resources);
    QString resourceName(const QString& guid);
    void tellTuner(const QString& guid, const QString& text, Weight weight);
    void tellUnit(const QString& guid, const QString& text, int state);
    int tunerState(const QString& guid) const;

    void followProcessors();
    Running runningNow(const QString& guid) const;
    Running known(const QString& guid) const;
    Running end(const QString& guid);
    bool lose(const QString& guid);
    QString producerOf(const QString& guid) const;
    Event processorEvent(const QString& guid, const Running& running, const QString& text) const;
    void start(const QString& guid);
    void change(const QString& guid);
    void stop(const QString& guid);
    bool isStopAskedFor(const QString& guid, const Running& running) const;
    void compareAfterReturn();
    int productionCount() const;

    void followProductions();
    void followHardware();
    void takeHardware();
    void followOwners();
    bool compareOwners();
    void takeOwner(const QString& guid, const QString& client);
    QString ownerText(const QString& guid) const;

    const QPointer<KoltaServerInterface> m_server;
    InstallationEvents& m_owner;
    const QString m_address;
    ProcessorLedger m_ledger;
    std::unique_ptr<ServerRequestWatch> m_requests;

    SERVER_STATES::eServerState m_state;
    SERVER_STATES::eServerState m_seenState = SERVER_STATES::eDisconnected; ///< before it went
    bool m_wasThere = false;
    qint64 m_vanishedAt = -1;      ///< by the clock; -1 for not
    int m_ranThere = 0;            ///< productions, when it went
    bool m_isUnseen = false;       ///< it went while nobody could see it
    bool m_wasUnseen = false;      ///< before it was back
    bool m_isFarewellDue = false;  ///< it went in this turn, and nobody knows yet how
    Startup::ptrAlarm m_search;    ///< while it may still be back
    Startup::ptrAlarm m_freshLook; ///< while what is found had begun before
    QVector<Event> m_early;        ///< told once the server is there
    QString m_startupErrors;
    bool m_isFirstLook = true;               ///< nothing is told of what is there already
    QHash<QString, QString> m_resourceNames; ///< by GUID; what has gone is only known here
    QHash<QString, Running> m_running;
    QHash<QString, Running> m_gone; ///< some that have stopped, for what is told of them afterwards
    QSet<QString> m_expected;       ///< ran before the server vanished and have not been seen since
    QStringList m_adopted;
    QSet<QString> m_hardware;       ///< GUIDs of the MCPs that are processed in hardware
    QHash<QString, Owner> m_owners; ///< by what is owned
};

} // namespace Kolta
