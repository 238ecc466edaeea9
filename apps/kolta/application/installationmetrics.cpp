#include "installationmetrics.h"

#include "metricstext.h"

#include <koltacommon/koltaserverinterface.h>

#include <functional>

namespace KoltaCli {

namespace {

using Figure = std::function<double(const ServerFigures&)>;

const char kServer[] = "server";
const char kState[] = "state";

void addLinks(MetricsText& text, const QVector<SurveyedServer>& servers)
{
    text.family("kolta_server_up", MetricsText::eGauge,
                "Whether the server is live, has come up and is operational.");
    for (const SurveyedServer& server : servers)
        text.sample(server.isLive() && server.figures && server.figures->isUp, {{kServer, server.name}});
    text.family("kolta_server_link", MetricsText::eGauge,
                "1 for the state in which this process is towards the server, as kolta servers tells it.");
    for (const SurveyedServer& server : servers)
        text.sample(1, {{kServer, server.name}, {kState, server.link}});
    text.family("kolta_server_last_message_age_seconds", MetricsText::eGauge,
                "Time since the server was last heard of.");
    for (const SurveyedServer& server : servers) {
        if (server.beatAgeMs >= 0)
            text.sample(static_cast<double>(server.beatAgeMs) / 1000, {{kServer, server.name}});
    }
}

/// Of the servers whose numbers are of now.
void addFamily(MetricsText& text, const QVector<const ServerFigures*>& all, const char* name,
               const char* help, const Figure& value)
{
    text.family(name, MetricsText::eGauge, help);
    for (const ServerFigures* const figures : all)
        text.sample(value(*figures), {{kServer, figures->name}});
}

void addFigures(MetricsText& text, const QVector<const ServerFigures*>& all)
{
    addFamily(text, all, "kolta_server_state", "Number of the server's working state.",
              [](const ServerFigures& figures) { return figures.state; });
    text.family("kolta_tuners", MetricsText::eGauge, "Tuners of the server by what they are used for.");
    for (const ServerFigures* const figures : all) {
        for (int state = 0; state < kTunerStateCount; ++state) {
            const auto& name = nameOf(static_cast<Kolta::TunerBookingManager::eTunerState>(state));
            text.sample(figures->tunersInState[static_cast<std::size_t>(state)],
                        {{kServer, figures->name}, {kState, QLatin1String(name.label)}});
        }
    }
    addFamily(text, all, "kolta_processors", "Processors that run.",
              [](const ServerFigures& figures) { return figures.processors; });
    addFamily(text, all, "kolta_productions", "Productions that run.",
              [](const ServerFigures& figures) { return figures.productions; });
    addFamily(text, all, "kolta_hardware_processing", "Entries in the list of hardware processing.",
              [](const ServerFigures& figures) { return figures.hardware; });
}

} // namespace

void TraceCounter::trace(const Startup::TraceRecord& record)
{
    if (record.channel == Startup::eTraceError || record.channel == Startup::eTraceFatal)
        ++m_errors;
    else if (record.channel == Startup::eTraceWarning)
        ++m_warnings;
}

void appendInstallation(MetricsText& text, const Survey& survey)
{
    const QVector<SurveyedServer> servers = survey.servers();
    QVector<const ServerFigures*> current;
    for (const SurveyedServer& server : servers) {
        if (server.isLive() && server.figures && server.figures->isConnected)
            current.append(&*server.figures);
    }
    if (const TreeMirror* const mirror = survey.mirror()) {
        text.family("kolta_tree_up", MetricsText::eGauge, "Whether there is a connection to the broker.");
        text.sample(mirror->isOnline());
        text.family("kolta_tree_reconnections_total", MetricsText::eCounter,
                    "How often the connection to the broker was lost and came again.");
        text.sample(mirror->reconnections());
    }
    text.family("kolta_servers", MetricsText::eGauge, "Servers that are known.");
    text.sample(servers.size());
    addLinks(text, servers);
    addFigures(text, current);
}

void appendTraces(MetricsText& text, const TraceCounter& traces)
{
    text.family("kolta_faults_total", MetricsText::eCounter,
                "Trace lines of this process that tell of something wrong.");
    text.sample(static_cast<double>(traces.errors()), {{"severity", QStringLiteral("error")}});
    text.sample(static_cast<double>(traces.warnings()), {{"severity", QStringLiteral("warning")}});
}

} // namespace KoltaCli
