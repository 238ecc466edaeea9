#pragma once

#include <koltacommon/export.h>
#include <koltacommon/productionmark.h>
#include <koltacommon/servertuners.h>
#include <koltacommon/tunerplan.h>

#include <startup/clock.h>
#include <values/tree.h>

#include <QHash>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QStringList>
#include <QUuid>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace Kolta {

class Aftercare;
class KoltaServerInterface;

/// What a server said to a request.
struct ServerReply
{
    bool accepted = false;
    QString text;
};

/// Where the operations of one server meet: hears once what the server's parts say and hands it on to those
/// whom it concerns, keeps the plans of accepted orders until the server shows their tuners as used, and
/// looks after orders that nobody waits for any more. Without it each of many orders would look at every
/// processor.
///
/// A child of the interface, made on first use; it outlives the interface's parts for a moment.
class KOLTA_COMMON_EXPORT ServerDesk : public QObject, private values::ITreeListener
{
    Q_OBJECT

public:
    enum class Mirror { Processors, Owners, Resources };

    /// Somebody who wants to hear of one server, from attach() until detach() or destruction. May do anything
    /// in a call, also die.
    class Client
    {
    public:
        Client() = default;
        virtual ~Client() { detach(); }
        Client(const Client&) = delete;
        Client& operator=(const Client&) = delete;

    protected:
        friend class ServerDesk;

        void attach(ServerDesk& desk);
        void detach();
        /// Wants answers and notices that name `guid`.
        void expect(const QUuid& guid);
        /// Null before attach() and when the server's interface has gone.
        ServerDesk* desk() const { return m_desk; }

        virtual void replied(const ServerReply&) {}
        /// A stopped notice.
        virtual void ended(const QUuid&) {}
        virtual void processorsStopped(const QSet<QString>&) {}
        virtual void mirrorChanged(Mirror) {}
        /// At once when the server has gone; from the event loop, when all mirrors have been read afresh,
        /// when it is operational again.
        virtual void operational(bool) {}
        virtual void statusSaid(const QString&) {}
        /// The process that decides on a value did not let stand what this has written, see Asking.
        virtual void wishFailed(values::WishFailure, const QString&) {}
        /// The interface is being destroyed; its parts are no more.
        virtual void serverLost() {}

    private:
        QPointer<ServerDesk> m_desk;
        quint64 m_number = 0;
        std::vector<QUuid> m_expected;
        QStringList m_written;
    };

    /// While one lives, what is written into the server's values for wishes is its client's.
    class Asking
    {
    public:
        explicit Asking(Client& client);
        ~Asking();
        Asking(const Asking&) = delete;
        Asking& operator=(const Asking&) = delete;

    private:
        QPointer<ServerDesk> m_desk;
        quint64 m_before = 0;
    };

    /// Answers that come while a request is made whose GUID is not known before.
    class Listening
    {
    public:
        explicit Listening(ServerDesk& desk) : m_desk(&desk) { ++desk.m_listeners; }
        ~Listening();
        /// The answer that named `guid`.
        std::optional<ServerReply> to(const QUuid& guid) const;

    private:
        QPointer<ServerDesk> m_desk;
    };

    static ServerDesk& of(KoltaServerInterface& server);
    explicit ServerDesk(KoltaServerInterface& server);
    ~ServerDesk() override;

    KoltaServerInterface& server() const { return m_server; }
    /// In whatever working state.
    bool isConnected() const;
    /// The GUID of the processor that serves a production; empty when the server is away or shows none.
    QString shown(const ProductionMark& mark) const;
    /// Made anew when an overview has changed; good until control is back in the event loop.
    std::shared_ptr<const ServerTuners> tuners();

    /// Plans a tuner for somebody who is called `purpose`.
    TunerPlan plan(const QString& tunerGuid, const TunerNeeds& needs, const QString& purpose,
                   QString& problem);
    /// For whom a tuner is planned; empty when an operation did not plan it.
    QString purposeOfPlan(const QString& tunerGuid) const;
    /// Keeps the plan of an accepted order until the server shows the tuner as used, a minute at most: the
    /// overview may come after the answer, and the tuner must not look free in between.
    void keep(TunerPlan plan);
    /// Looks after an order of which nobody knows yet what became: what is started late is stopped, if
    /// `takeBack` says so; the plan is undone when it is refused or does not come back with the server.
    void lookAfter(const QUuid& production, const ProductionMark& mark, TunerPlan plan, bool takeBack);

private:
    friend class Aftercare;

    struct Purpose
    {
        QString text;
        quint64 number = 0;
    };
    struct KeptPlan
    {
        TunerPlan plan;
        Startup::ptrAlarm limit;
    };

    void OnItemAdded(values::TreeItem& item) override { noteWriter(item); }
    void OnItemRemoved(values::TreeItem&) override {}
    void OnItemChanged(values::TreeItem& item, TChangeCode, IObserver*) override { noteWriter(item); }
    void OnWishFailed(const QString& path, values::WishFailure failure, const QString& reason) override;
    void noteWriter(const values::TreeItem& item);

    void forEachClient(const std::function<void(Client&)>& function);
    void forEachExpecting(const QUuid& guid, const std::function<void(Client&)>& function);
    void takeReply(const QUuid& guid, const ServerReply& reply);
    void takeState();
    void drop(Aftercare* aftercare);

    KoltaServerInterface& m_server;
    QMap<quint64, Client*> m_clients; ///< in the order in which they came
    quint64 m_lastNumber = 0;
    QMultiHash<QUuid, quint64> m_expecting;
    quint64 m_asking = 0;              ///< number of the client that asks at present; 0 for none
    QHash<QString, quint64> m_writers; ///< the newest open client that wrote there, by path
    int m_listeners = 0;
    QHash<QUuid, ServerReply> m_heard; ///< while somebody listens
    std::shared_ptr<const ServerTuners> m_tuners;
    QHash<QString, Purpose> m_purposes; ///< by tuner
    std::map<QString, KeptPlan> m_kept; ///< by tuner
    std::vector<std::unique_ptr<Aftercare>> m_aftercare;
};

} // namespace Kolta
