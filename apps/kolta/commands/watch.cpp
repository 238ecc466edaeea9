#include "commands.h"

#include <common/terminationsignals.h>
#include <kolta/application/servers.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/liveoutput.h>
#include <kolta/cli/output.h>

#include <koltacommon/installationevents.h>
#include <koltacommon/journal.h>
#include <koltacommon/koltaserverinterface.h>
#include <simulation/activity.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace KoltaCli {

namespace {

constexpr int kMostLines = 1000000000;
constexpr int kLongestPeriod = 3600000;

/// Prints what happens on some servers, from its construction on.
class Watcher : public QObject
{
public:
    /// `count` events are enough; 0 stands for never enough.
    Watcher(const QVector<Server*>& servers, bool json, int count) : m_json(json), m_count(count)
    {
        for (Server* server : servers)
            m_events.addServer(*server);
        connect(&m_events, &Kolta::InstallationEvents::happened, this, &Watcher::print);
        connect(&m_termination, &TerminationSignals::terminationRequested, this,
                [this] { m_interrupted = true; });
    }

    Kolta::InstallationEvents& events() { return m_events; }
    /// Nothing is heard of the servers while the broker is away.
    void tellBroker(bool isThere, const QString& problem)
    {
        Kolta::Event event;
        event.kind = Kolta::Event::Kind::Link;
        event.weight = isThere ? Kolta::Event::Weight::Note : Kolta::Event::Weight::Alarm;
        event.subject.type = Kolta::EventSubject::Type::Link;
        event.subject.guid = QStringLiteral("broker");
        event.text = isThere ? QStringLiteral("the broker is back") : problem;
        m_events.tell(event);
    }
    /// Nobody wants more.
    bool hasEnough() const
    {
        return m_interrupted || outputIsLost() || (m_count > 0 && m_printed >= m_count);
    }

private:
    void print(const Kolta::Event& event)
    {
        if (hasEnough())
            return;
        ++m_printed;
        if (m_json)
            printJson(event.toJson());
        else
            printLine(event.server().isEmpty()
                          ? QStringLiteral("%1 %2").arg(event.timeText(), event.text)
                          : QStringLiteral("%1 %2 %3").arg(event.timeText(), event.server(), event.text));
    }

    TerminationSignals m_termination;
    Kolta::InstallationEvents m_events;
    bool m_json;
    int m_count;
    int m_printed = 0;
    bool m_interrupted = false;
};

/// What the tree's link knows beside what the servers say.
void follow(TreeMirror& mirror, Watcher& watcher)
{
    watcher.events().setTimeSource(mirror.timeSource());
    watcher.events().setLeaverCheck([&mirror](const QString& server) {
        const auto branches = mirror.branches();
        return std::any_of(branches.begin(), branches.end(), [&server](const TreeMirror::Branch& branch) {
            return branch.name == server && branch.hasLeft();
        });
    });
    mirror.setLinkListener(
        [&watcher](bool isUp, const QString& problem) { watcher.tellBroker(isUp, problem); });
}

int watch(const CommandLine& line, Servers& servers)
{
    if (line.isSet("period") && !line.isSet("activity"))
        return line.usageError(QStringLiteral("--period is for --activity"));
    Watcher watcher(servers.all(), line.json(), line.number("count"));
    Kolta::Journal journal;
    if (line.isSet("journal") && !journal.open(line.value("journal"))) {
        printError(journal.problem());
        return eExitFailed;
    }
    if (!journal.problem().isEmpty()) // what a crash has cut; the rest is good
        printError(journal.problem());
    bool isKept = true;
    QObject::connect(&journal, &Kolta::Journal::writingFailed, &watcher, [&journal, &isKept] {
        isKept = false;
        printError(QStringLiteral("what happens is no longer kept: %1").arg(journal.problem()));
    });
    journal.follow(watcher.events());
    const auto outputWatch = watchOutput();
    std::vector<std::unique_ptr<KoltaSimulation::Activity>> activities;
    quint32 seed = 0;
    if (line.isSet("activity")) {
        if (!servers.installation().isSimulated()) {
            printError(QStringLiteral("--activity is for servers that are simulated in this process"));
            return eExitFailed;
        }
        for (const auto& server : servers.installation().servers()) {
            activities.push_back(std::make_unique<KoltaSimulation::Activity>(*server, ++seed));
            activities.back()->start(line.number("period"));
        }
    }
    printError(QStringLiteral("watching %1, Ctrl-C ends").arg(listed(servers.names())));
    TreeMirror* const mirror = servers.installation().treeMirror();
    if (mirror)
        follow(*mirror, watcher);
    waitUntil([&watcher] { return watcher.hasEnough(); },
              line.isSet("timeout") ? line.timeoutMs() : kWaitForever);
    if (mirror)
        mirror->setLinkListener(nullptr);
    return isKept ? eExitOk : eExitFailed;
}

} // namespace

Command watchCommand()
{
    return {
        "watch",
        "print what happens on the servers until Ctrl-C",
        "Prints what happens on the servers of the installation until Ctrl-C: "
        "working states, messages, resources, processors, productions, hardware processing. Ends after "
        "--timeout seconds where it is given.",
        {},
        Servers::options(
            {whole("count", "number", "End after so many lines (0: never).", 0, kMostLines, 0),
             checked(text("journal", "file", "Keep what happens in this file, too, for \"events\"."),
                     checkKeptFile),
             flag("activity", "Let tuners become busy and free, conversions go on, and enabled assignments "
                              "yield results meanwhile."),
             whole("period", "ms", "Time between two such changes in milliseconds ({preset}).", 1,
                   kLongestPeriod, KoltaSimulation::Activity::kUsualPeriodMs)}),
        with(Servers::reach, watch)};
}

} // namespace KoltaCli
