#pragma once

#include <koltacommon/export.h>
#include <koltacommon/generalrequests.h>
#include <koltacommon/linkfigures.h>
#include <koltacommon/operation.h>

#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

#include <deque>
#include <memory>
#include <optional>

namespace Kolta {

class KoltaConnection;
class LinkAccount;

/// Keeps a link to one server up: each time that it ends, a new one is opened after a pause.
///
/// The pauses double from firstPauseMs to longestPauseMs, with a share of chance, so that the clients of a
/// server that was away do not all come at once, and begin anew only after a link has been up for stableMs: a
/// server that cuts every link is not stormed. Each life of a link is a KoltaConnection of its own, which the
/// keeper closes at its first error.
///
/// A link is up when the event filter requests are answered (without any, when the server has described
/// itself). Then the fault texts are loaded if they are not, and the kept requests go out in their order.
/// Requests are handed to the connection one at a time, and what a request asks for next goes behind those
/// that wait. A reply that takes longer than replyLimitMs, however much else the server says, ends the link.
///
/// When the link ends, what was not sent is kept for the next one, and so is what was sent and may be
/// repeated; anything else that was sent hears abandoned(). Lives on one thread, which needs an event loop;
/// receivers may do anything, also delete it.
class KOLTA_COMMON_EXPORT LinkKeeper : public QObject
{
    Q_OBJECT

public:
    enum class State {
        Off,        ///< not opened, or closed
        Connecting, ///< until the start-up exchange is answered
        Up,
        Waiting, ///< for the end of a pause
        GivenUp  ///< it was down for giveUpAfterMs; open() begins anew
    };
    Q_ENUM(State)
    /// What becomes of a request while the link is not up.
    enum class WhileDown { Keep, Refuse };

    /// Milliseconds where the name says so.
    struct Settings
    {
        int firstPauseMs = 200;
        int longestPauseMs = 30000;
        int stableMs = 10000;
        int replyLimitMs = 90000;
        int giveUpAfterMs = Operation::kNoLimit; ///< of being down without a break; negative: never
        int keptRequests = 1000;                 ///< more are refused while the link is down
        double jitter = 0.25;                    ///< the share by which a pause is longer or shorter
        bool loadFaultTexts = true;

        /// What the configuration group "Link" says under these names; the values above for the rest and for
        /// what makes no sense.
        static Settings configured();
    };

    /// `name`, `version` and `hostAndPort` as KoltaConnection takes them. Takes Settings::configured() and
    /// subscribes to everything that the server broadcasts.
    LinkKeeper(const QString& name, const QString& version, const QString& hostAndPort, QObject* parent);
    /// As close(), without signals.
    ~LinkKeeper() override;

    /// Opens the link, at once when it is waiting; nothing while there is one.
    void open();
    /// Closes the link. Everything that is kept or was sent hears abandoned(), as Closed.
    void close();
    /// Executes `request` on the link. While that is down, keeps it for the next or refuses it, which
    /// abandoned() tells it before this returns; when the keeper has given up it is always refused.
    /// `repeatable`: executing it twice does no harm.
    void execute(const ptrKoltaRequest& request, WhileDown whileDown = WhileDown::Keep,
                 bool repeatable = false);
    /// Takes a request that waits out of the queue, without a word to it. Whether that undoes it: false when
    /// it does not wait or was sent on a link before.
    bool withdraw(const ptrKoltaRequest& request);

    /// What opens each link from the next one on.
    void setEventFilterRequests(const QList<ptrKoltaRequest>& requests) { m_filters = requests; }
    /// From the next use of each value on.
    void setSettings(const Settings& settings) { m_settings = settings; }

    State state() const noexcept { return m_state; }
    /// What is left of the pause; 0 unless Waiting.
    int waitingMs() const;
    /// The word for the last error of a link, see KoltaConnection::getSocketError(); empty before the first.
    const QString& lastError() const noexcept { return m_lastError; }
    /// Null between two links. To look at: what is executed on it directly is not kept.
    KoltaConnection* connection() const { return m_connection; }
    /// Of all its connections together.
    LinkFigures figures() const;

Q_SIGNALS:
    void stateChanged(Kolta::LinkKeeper::State state);
    /// The server sent something of its own accord.
    void Broadcast(XmlCommon::ptrCXmlMessage message);
    /// A broadcast, or the reply to a request that does not handle faults itself, carried a fault.
    void Fault(QString text);

private Q_SLOTS:
    void sl_faultTextsLoaded() {}

private:
    class Proxy;
    struct Kept
    {
        ptrKoltaRequest request;
        bool isRepeatable = false;
        bool isStartUp = false; ///< opens this link
        bool wasSent = false;
    };

    void setState(State state);
    void noteState();
    void connectNow();
    void linkOpened();
    void linkFailed(const QString& error);
    void linkClosed();
    void wait();
    void giveUp();
    void letGoOfConnection();
    ptrKoltaRequest takeNext();
    void handOver();
    void goOn();
    void becomeUp();
    ptrKoltaRequest takeReply(const Kept& kept, const XmlCommon::ptrCXmlMessage& reply);
    void takeAbandonment(const Kept& kept, Abandonment why, bool wasSent);
    void abandonKept(Abandonment why);

    const QString m_name;
    const QString m_version;
    const QString m_hostAndPort;
    Settings m_settings = Settings::configured();
    QList<ptrKoltaRequest> m_filters;
    State m_state = State::Off;
    QString m_lastError;
    std::shared_ptr<LinkAccount> m_account;
    QPointer<KoltaConnection> m_connection; ///< a child
    std::deque<Kept> m_startUp;             ///< what this link still has to be opened with
    std::deque<Kept> m_waiting;
    ptrKoltaRequest m_inHand; ///< the proxy that the connection has; null for none
    bool m_isFailing = false; ///< this link takes no more
    bool m_isOverTime = false;
    int m_pauseMs = 0; ///< the last one, without chance; 0: the next is the first
    qint64 m_pauseEnd = 0;
    qint64 m_upSince = 0;
    qint64 m_downSince = 0;
    Startup::ptrAlarm m_pause;
    Startup::ptrAlarm m_replyLimit;
    InstanceCount<LinkKeeper> m_instanceCount;
};

} // namespace Kolta
