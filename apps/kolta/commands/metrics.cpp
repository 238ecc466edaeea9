#include "commands.h"

#include <common/endpoint.h>
#include <common/terminationsignals.h>
#include <kolta/application/httppage.h>
#include <kolta/application/installationmetrics.h>
#include <kolta/application/linkmonitor.h>
#include <kolta/application/metricstext.h>
#include <kolta/application/session.h>
#include <kolta/application/survey.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <QSaveFile>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <vector>

namespace KoltaCli {

namespace {

constexpr int kLongestPeriodS = 3600;

/// What the figures are about: the servers of an installation, single links, and this process.
class Sources
{
public:
    /// Waits a while for the first figures. Prints an error and gives false when the words make no sense.
    bool start(const CommandLine& line)
    {
        for (const QString& name : line.arguments()) {
            const auto endpoint = Session::find(name);
            if (!endpoint)
                return false;
            m_links.push_back(std::make_unique<LinkMonitor>(name, *endpoint));
        }
        if (m_links.empty() || line.isSet("tree"))
            m_survey = Survey::start(line);
        const auto hasNews = [](const auto& link) { return link->hasNews(); };
        waitUntil([&] { return std::all_of(m_links.begin(), m_links.end(), hasNews); }, line.timeoutMs());
        return m_survey || !(m_links.empty() || line.isSet("tree"));
    }
    QByteArray text() const
    {
        MetricsText text;
        if (m_survey)
            appendInstallation(text, *m_survey);
        if (!m_links.empty())
            LinkMonitor::append(text, m_links);
        appendTraces(text, m_traces);
        return text.text();
    }

private:
    TraceCounter m_traces;
    std::unique_ptr<Survey> m_survey;
    std::vector<std::unique_ptr<LinkMonitor>> m_links;
};

/// Who reads the file sees the old figures or the new ones, nothing between.
bool writeFile(const QString& name, const QByteArray& text)
{
    QSaveFile file(name);
    if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit())
        return true;
    printError(QStringLiteral("cannot write %1: %2").arg(name, file.errorString()));
    return false;
}

/// Runs until somebody ends the program or `isEnough`.
void serve(const std::function<bool()>& isEnough)
{
    const TerminationSignals termination;
    bool isInterrupted = false;
    QObject::connect(&termination, &TerminationSignals::terminationRequested,
                     [&isInterrupted] { isInterrupted = true; });
    waitUntil([&] { return isInterrupted || isEnough(); }, kWaitForever);
}

int writeAgainAndAgain(const CommandLine& line, const HttpPage::Make& make)
{
    const QString name = line.value("file");
    bool isWritten = writeFile(name, make());
    if (!isWritten || !line.isSet("period"))
        return isWritten ? eExitOk : eExitFailed;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { isWritten = isWritten && writeFile(name, make()); });
    timer.start(line.number("period") * 1000);
    serve([&isWritten] { return !isWritten; });
    return isWritten ? eExitOk : eExitFailed;
}

int listen(const KoltaApps::Endpoint& endpoint, const HttpPage::Make& make)
{
    HttpPage page("/metrics", MetricsText::contentType(), make);
    if (!page.listen(endpoint.address, endpoint.port)) {
        printError(QStringLiteral("cannot listen on %1: %2").arg(endpoint.toString(), page.errorString()));
        return eExitFailed;
    }
    printLine(QStringLiteral("metrics at %1").arg(page.url()));
    // Without its first line nobody would know where to ask.
    if (outputIsLost())
        return eExitFailed;
    serve([] { return false; });
    return eExitOk;
}

QString problemOfPlace(const QString& text)
{
    QString host;
    QString problem;
    quint16 port = 0;
    KoltaApps::splitHostAndPort(text, host, port, problem, KoltaApps::kAnyPort);
    return problem;
}

QString problemOf(const CommandLine& line)
{
    if (line.isSet("file") && line.isSet("listen"))
        return QStringLiteral("--file and --listen exclude each other");
    if (line.isSet("period") && !line.isSet("file"))
        return QStringLiteral("--period is for --file");
    return line.json() ? QStringLiteral("the format is fixed, there is no JSON") : QString();
}

int metrics(const CommandLine& line)
{
    const QString problem = problemOf(line);
    if (!problem.isEmpty())
        return line.usageError(problem);
    KoltaApps::Endpoint endpoint;
    QString error;
    if (line.isSet("listen") &&
        !KoltaApps::findEndpoint(line.value("listen"), endpoint, error, KoltaApps::kAnyPort)) {
        printError(error);
        return eExitFailed;
    }
    Sources sources;
    if (!sources.start(line))
        return takeStartFailure();
    const HttpPage::Make make = [&sources] { return sources.text(); };
    if (line.isSet("file"))
        return writeAgainAndAgain(line, make);
    if (line.isSet("listen"))
        return listen(endpoint, make);
    printLine(QString::fromUtf8(make()).chopped(1));
    return eExitOk;
}

} // namespace

Command metricsCommand()
{
    Argument server = Session::argument();
    server.count = Argument::eAny;
    server.help = "A server that is linked to over the XML protocol, instead of those of an installation.";
    return {
        "metrics",
        "tell figures of the servers to a monitoring system",
        "Tells figures of servers, or of links to them, in the text format that Prometheus reads: on "
        "standard output, in a file, or over HTTP at a port of this machine until Ctrl-C.",
        {server},
        Survey::options(
            {text("file", "file", "Write them to this file, which is replaced whole."),
             whole("period", "seconds", "Write the file again and again until Ctrl-C.", 1, kLongestPeriodS),
             checked(text("listen", "HOST:PORT",
                          "Serve them at http://HOST:PORT/metrics; HOST is this machine, port 0 lets the "
                          "system pick one."),
                     problemOfPlace)}),
        metrics};
}

} // namespace KoltaCli
