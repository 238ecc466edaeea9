#pragma once

#include "temporaryconfiguration.h"

#include <common/endpoint.h>
#include <kolta/cli/command.h>
#include <kolta/cli/eventwait.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/linkkeeper.h>
#include <startup/errorhandler.h>
#include <xmlmessaging/xmlmessage.h>

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace KoltaCli {

using KoltaApps::Endpoint;

/// A link to one server for the length of a command, used step by step: every waiting operation runs an event
/// loop until it is done, its time is over, the link has ended for good or the command is interrupted.
///
/// The link is kept: one that fails is opened once more, and what was asked for is sent again.
class Session : public QObject
{
    Q_OBJECT

public:
    /// A waiting time without end.
    static constexpr int kForever = kWaitForever;
    /// The version of the servers' interface that this program was written for.
    static constexpr char kInterfaceVersion[] = "3.1";

    explicit Session(const Endpoint& endpoint);
    /// Where `text` leads, HOST:PORT or the name of a server in a shell. Prints an error and gives nothing
    /// when there is no such host.
    static std::optional<Endpoint> find(const QString& text);
    /// HOST:PORT, for the table of a command; its first argument.
    static Argument argument();
    /// --faults: texts of faults from the server, for the length of the command.
    static Option faultsOption();
    /// For the server that the first argument names; not open yet. Prints an error and gives null when there
    /// is no such host.
    static std::unique_ptr<Session> start(const CommandLine& line);
    /// The same with the link up.
    static std::unique_ptr<Session> startOpen(const CommandLine& line);
    /// Closes the link and waits at most a second for it.
    ~Session() override;

    Kolta::LinkKeeper& keeper() noexcept { return *m_keeper; }
    /// Of a link that is up.
    Kolta::KoltaConnection& connection() { return *m_keeper->connection(); }
    const Endpoint& endpoint() const noexcept { return m_endpoint; }

    /// Opens the link and waits until the server has answered the start-up exchange, the subscription to
    /// broadcasts included. False when that has not happened after `timeoutMs`, see errorText().
    bool open(int timeoutMs);
    /// The same as the command line says, with the texts of faults where they are asked for; prints an error.
    bool open(const CommandLine& line);
    /// Loads the texts of faults from the server unless they are known already; false when they are not known
    /// after that, see errorText(). The configuration decides where they are kept.
    bool loadFaultTexts(int timeoutMs);
    /// Sends a request and waits for its reply; null when none came in time or the link failed, see
    /// errorText().
    XmlCommon::ptrCXmlMessage request(const XmlCommon::ptrCXmlMessage& message, int timeoutMs);
    /// From now on the link is opened again as often as it fails.
    void keepForEver();
    /// Runs the event loop until `done` returns true, the link has ended for good, the command is interrupted
    /// or the time is over; returns done().
    bool waitFor(const std::function<bool()>& done, int timeoutMs);

    /// How often the link was opened again after it had failed.
    int reconnects() const noexcept { return qMax(0, m_timesUp - 1); }
    /// Why the link failed last, for people; empty when it has not.
    QString linkError() const;
    /// Why the last operation failed.
    QString errorText() const { return m_failure; }

private Q_SLOTS:
    void takeFaultTexts() { m_faultTextsAnswered = true; }

private:
    void takeState(Kolta::LinkKeeper::State state);
    bool fail(const QString& whenTimeIsOver);

    std::optional<TemporaryConfiguration> m_configuration; ///< with --faults
    Endpoint m_endpoint;
    Startup::TraceRecorder m_trace;
    std::unique_ptr<Kolta::LinkKeeper> m_keeper;
    QString m_failure;
    int m_limitMs = 0; ///< of the link itself
    int m_timesUp = 0;
    bool m_wasOpened = false; ///< the server has taken a link, whether or not it has answered
    bool m_faultTextsAnswered = false;
};

/// A message of the given kind that holds one fragment.
XmlCommon::ptrCXmlMessage makeMessage(XmlCommon::CXmlMessage::eSERVICE_TYPES type,
                                      const XmlCommon::CMsgFragment& fragment);

} // namespace KoltaCli
