#pragma once

#include "temporaryconfiguration.h"

#include <common/endpoint.h>
#include <kolta/cli/command.h>
#include <kolta/cli/eventwait.h>

#include <koltacommon/generalrequests.h>
#include <koltacommon/koltaconnection.h>
#include <startup/errorhandler.h>
#include <xmlmessaging/xmlmessage.h>

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace KoltaCli {

using KoltaApps::Endpoint;

/// One connection to one server for the length of a command, used step by step: every waiting operation runs
/// an event loop until it is done, its time is over, the link has ended for good or the command is
/// interrupted.
class Session : public QObject
{
    Q_OBJECT

public:
    /// A waiting time without end.
    static constexpr int kForever = kWaitForever;

    explicit Session(const Endpoint& endpoint);
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

    Kolta::KoltaConnection& connection() noexcept { return *m_connection; }
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
    /// Runs the event loop until `done` returns true, the link has closed, the command is interrupted or the
    /// time is over; returns done(). Once the link has closed nothing is waited for any more.
    bool waitFor(const std::function<bool()>& done, int timeoutMs);

    /// How often the link was opened again after it had failed.
    int reconnects() const noexcept { return qMax(0, m_openings - 1); }
    /// Whether the link has ended for good.
    bool isClosed() const noexcept { return m_closed; }
    /// Why the link failed last, for people; empty when it has not.
    QString linkError() const;
    /// Why the last operation failed.
    QString errorText() const { return m_failure; }

private Q_SLOTS:
    void takeReply(Kolta::ptrKoltaRequest request);
    void takeFaultTexts() { m_faultTextsAnswered = true; }

private:
    bool fail(const QString& whenTimeIsOver);

    std::optional<TemporaryConfiguration> m_configuration; ///< with --faults
    Endpoint m_endpoint;
    Startup::TraceRecorder m_trace;
    std::unique_ptr<Kolta::KoltaConnection> m_connection;
    Kolta::ptrKoltaRequest m_request; ///< the one that request() waits for
    XmlCommon::ptrCXmlMessage m_reply;
    QString m_socketError;
    QString m_failure;
    int m_openings = 0;
    bool m_closed = false;
    bool m_faultTextsAnswered = false;
};

/// A message of the given kind that holds one fragment.
XmlCommon::ptrCXmlMessage makeMessage(XmlCommon::CXmlMessage::eSERVICE_TYPES type,
                                      const XmlCommon::CMsgFragment& fragment);

} // namespace KoltaCli
