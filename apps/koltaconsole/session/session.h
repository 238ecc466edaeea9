#pragma once

#include "linkmessage.h"
#include "serverfacts.h"

#include <koltacommon/event.h>
#include <koltacommon/userrights.h>

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QVector>

#include <memory>

class QUuid;

namespace Kolta {
class IBranchSource;
class InstallationEvents;
class Journal;
class KoltaServerInterface;
class ProcessorModel;
class ServerModel;
class TunerClassModel;
class TunerModel;
} // namespace Kolta

namespace distribution {
class Replay;
}

namespace KoltaConsole {

class OrderDraft;
class OrdersUnderWay;
class ShortTimeMemory;
class SimulatedInstallation;
class TraceLines;
struct Options;

/// How the way to the servers is.
struct LinkState
{
    bool isUp = false;
    bool wasUp = false; ///< ever
    QDateTime since;    ///< the state began
    QString text;       ///< why it is not up, without the address; "simulated in this process"
};

/// The installation that the window shows: the tree of other processes or simulated servers, with all models
/// that pages share. The only class that knows how they are connected; it lives as long as the window.
class Session : public QObject
{
    Q_OBJECT

public:
    /// Null, and what is wrong in one line, when there is no such installation to be tried.
    static std::unique_ptr<Session> start(const Options& options, QString& error);
    /// Why nothing of that URL can be shown, in one line; empty when it can be tried.
    static QString problemOfTree(const QString& url);
    ~Session() override;

    Kolta::ServerModel& servers() const;
    Kolta::TunerModel& tuners() const; ///< without groups
    Kolta::TunerClassModel& classes() const;
    Kolta::ProcessorModel& processors() const;
    /// What happens; who orders something tells it of the operation.
    Kolta::InstallationEvents& events() const;
    /// What happened, in earlier sessions too where there is a broker.
    Kolta::Journal& journal() const;
    /// What somebody is about to order.
    OrderDraft& draft() const;
    /// What short-time data servers had that are away.
    const ShortTimeMemory& shortTimeMemory() const;
    /// What was ordered here and does not run yet, or does not at all.
    OrdersUnderWay& ordersUnderWay() const;
    /// What this process has traced.
    TraceLines& trace() const;
    /// The broker and the branches behind it; null where there is no broker.
    const Kolta::IBranchSource* branches() const;
    /// What passes about that branch; empty where there is no such branch of another process.
    MessageTap messagesOfBranch(const QString& name) const;
    /// Null when there is none. For operations, desks and whatever a server has.
    Kolta::KoltaServerInterface* server(const QString& address) const;
    /// Whether it can be asked for something at this moment, which the facts about it tell a little later.
    bool isThere(const QString& address) const;

    /// Every server, worst first, within a state by how long it is so, then by name.
    const QVector<ServerFacts>& facts() const noexcept;
    /// A server without a name when there is none of that one.
    ServerFacts factsOf(const QString& address) const;
    /// Whether there are servers and each has come up as far as it will: what is empty now stays so.
    bool isSettled() const;
    int attentionCount() const;
    /// Notes that the console itself has something to say.
    void tell(const QString& text, Kolta::Event::Weight weight);
    /// Notes that something that somebody had begun was not asked for, and why, as a sentence.
    void tellRefusal(const QString& what, const QString& reason);

    bool isSimulated() const noexcept;
    /// The broker's address, "simulated" without one, the file of a replay.
    const QString& url() const noexcept { return m_url; }
    /// What other programs name this installation by behind `--tree`, without a password; in a replay that of
    /// the moment that is played. Empty while the servers are simulated: nothing else can reach them.
    QString treeUrl() const;
    const LinkState& link() const noexcept { return m_link; }
    /// How many changes that were made here the server has not decided on; 0 without a link.
    std::size_t openWishes(const QString& server) const;
    /// Milliseconds until the broker is tried again; -1 while it is there or nobody knows.
    int nextTryMs() const;
    /// The link was there and is not any more: all there is to see was known last.
    bool isOutOfSight() const noexcept { return !m_link.isUp && m_link.wasUp; }
    bool isReadOnly() const noexcept { return m_isReadOnly; }
    /// As a sentence.
    QString whyReadOnly() const;
    /// What is played here; null unless the tree is a recording.
    distribution::Replay* replay() const;
    /// The time of day, in a replay that of the recording.
    QDateTime now() const;

    /// Whether users are asked here; otherwise the servers decide.
    bool areUsersKnown() const noexcept { return m_areUsersKnown; }
    QString userName() const;
    /// How many rights the user has.
    int rightCount() const;
    /// Also true where the servers decide.
    bool mayDo(Kolta::UserRights::eManagementRights rights) const;

    /// Why layout and drafts do not outlive the console, as a sentence; empty as long as they do.
    const QString& settingsProblem() const noexcept { return m_settingsProblem; }

    /// Null unless the servers are simulated.
    SimulatedInstallation* simulation() const;

Q_SIGNALS:
    void si_LinkChanged();
    /// A change that was made here at that path did not last.
    void si_WishFailed(const QString& path, const QString& reason);
    void si_UserChanged();
    /// settingsProblem() has something to say.
    void si_SettingsFailed();
    /// facts() may be others; at most ten times a second.
    void si_FactsChanged();

private:
    struct Parts;
    Session();
    bool simulate(const Options& options, QString& error);
    bool mirror(const Options& options, QString& error);
    void startJournal(const QString& file, bool isWritten);
    void noteLink(bool isUp, const QString& reason);
    QString linkText(bool isUp, const QString& reason) const;
    void beginReplay();
    void startUsers(const QString& file);
    void tellOfUsers();
    void noteSettings(const QString& file);

    std::unique_ptr<Parts> d;
    QString m_url;
    QString m_treeUrl; ///< of a broker; empty without one
    LinkState m_link;
    QString m_settingsProblem;
    bool m_isReadOnly = false;
    bool m_areUsersKnown = false;
};

} // namespace KoltaConsole
