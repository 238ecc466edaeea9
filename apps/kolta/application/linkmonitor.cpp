#include "linkmonitor.h"

#include "metricstext.h"
#include "session.h"

#include <koltacommon/generalrequests.h>
#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/converters.h>

#include <algorithm>
#include <functional>

namespace KoltaCli {

using Kolta::KoltaConnection;
using Kolta::LinkKeeper;

namespace {

constexpr int kAskEveryMs = 5000;

} // namespace

LinkMonitor::LinkMonitor(const QString& name, const KoltaApps::Endpoint& endpoint)
    : m_name(name)
    , m_keeper(QStringLiteral("kolta"), QLatin1String(Session::kInterfaceVersion), endpoint.toString(),
               nullptr)
{
    connect(&m_keeper, &LinkKeeper::stateChanged, this, &LinkMonitor::noteState);
    connect(&m_keeper, &LinkKeeper::Fault, this, [this] { ++m_faults; });
    connect(&m_keeper, &LinkKeeper::Broadcast, this, [this] {
        ++m_broadcasts;
        m_heard.start();
    });
    connect(&m_askTimer, &QTimer::timeout, this, &LinkMonitor::ask);
    LinkKeeper::Settings settings = LinkKeeper::Settings::configured();
    settings.loadFaultTexts = false; // they would be written to the user's files
    m_keeper.setSettings(settings);
    m_keeper.open();
}

void LinkMonitor::noteState(LinkKeeper::State state)
{
    m_asked.invalidate();
    if (state != LinkKeeper::State::Up)
        return m_askTimer.stop();
    ++m_ups;
    m_askTimer.start(kAskEveryMs);
    ask();
}

void LinkMonitor::ask()
{
    if (m_asked.isValid()) // one that is late is not asked twice
        return;
    m_asked.start();
    const auto query = makeMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY,
                                   XmlCommunication::CAppDescription::makeFragment());
    m_keeper.execute(Kolta::ptrKoltaRequest(
                         new Kolta::ParameterRequest(query, this, SLOT(takeReply(Kolta::ptrKoltaRequest)))),
                     LinkKeeper::WhileDown::Refuse);
}

void LinkMonitor::takeReply(Kolta::ptrKoltaRequest request)
{
    const auto reply = static_cast<Kolta::ParameterRequest*>(request.data())->getReply();
    ++m_replies;
    m_faults += KoltaConnection::getReplyProblem(reply).isNull() ? 0 : 1;
    if (m_asked.isValid())
        m_replySeconds = static_cast<double>(m_asked.nsecsElapsed()) / 1e9;
    m_asked.invalidate();
    m_heard.start();
}

void LinkMonitor::append(MetricsText& text, const std::vector<std::unique_ptr<LinkMonitor>>& links)
{
    using Figure = std::function<double(const LinkMonitor&)>;
    const auto add = [&](const char* name, MetricsText::eType type, const char* help, const Figure& value) {
        text.family(name, type, help);
        for (const auto& link : links) {
            const double number = value(*link);
            if (number >= 0)
                text.sample(number, {{"server", link->name()}});
        }
    };
    const auto count = [](quint64 number) { return static_cast<double>(number); };
    add("kolta_link_up", MetricsText::eGauge, "Whether the link is up and its start-up exchange answered.",
        [](const LinkMonitor& link) { return link.m_keeper.state() == LinkKeeper::State::Up; });
    add("kolta_link_reconnections_total", MetricsText::eCounter,
        "How often the link was lost and came again.",
        [](const LinkMonitor& link) { return std::max(0, link.m_ups - 1); });
    add("kolta_link_replies_total", MetricsText::eCounter,
        "Replies to the query for the server's description.",
        [count](const LinkMonitor& link) { return count(link.m_replies); });
    add("kolta_link_broadcasts_total", MetricsText::eCounter, "Broadcasts that have come.",
        [count](const LinkMonitor& link) { return count(link.m_broadcasts); });
    add("kolta_link_faults_total", MetricsText::eCounter, "Faults that replies and broadcasts have carried.",
        [count](const LinkMonitor& link) { return count(link.m_faults); });
    add("kolta_link_reply_seconds", MetricsText::eGauge, "How long the last reply took.",
        [](const LinkMonitor& link) { return link.m_replies > 0 ? link.m_replySeconds : -1; });
    add("kolta_link_last_message_age_seconds", MetricsText::eGauge, "Time since the last reply or broadcast.",
        [](const LinkMonitor& link) {
            return link.m_heard.isValid() ? static_cast<double>(link.m_heard.elapsed()) / 1000 : -1;
        });
}

} // namespace KoltaCli
