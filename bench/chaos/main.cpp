#include "player.h"
#include "run.h"

#include <common/terminationsignals.h>
#include <startup/errorhandler.h>

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <list>

namespace Chaos {

namespace {

constexpr int kLanes = 8; ///< runs at the same time; most of a run is waiting
constexpr int kTellEvery = 20;

/// All runs, some at a time.
class Chaos : public QObject
{
public:
    Chaos(int runs, quint64 seed) : m_runs(runs), m_seed(seed) { m_clock.start(); }

    void fill()
    {
        while (int(m_lanes.size()) < kLanes && m_started < m_runs) {
            m_lanes.push_back(std::make_unique<Run>(m_seed + quint64(m_started++)));
            Run* const run = m_lanes.back().get();
            connect(run, &Run::finished, this, [this, run] { take(run); });
            run->start();
        }
        if (m_lanes.empty())
            QCoreApplication::quit();
    }
    /// Prints the figures and says whether all went well.
    bool summarise();

private:
    void take(Run* run)
    {
        const Result& result = run->result();
        m_results.push_back(result);
        if (!result.fault.isEmpty()) {
            ++m_failed;
            std::printf("\nFAILED: seed %llu: %s\n  what happened: %s\n  files: %s\n", result.seed,
                        qPrintable(result.fault), qPrintable(result.history()), qPrintable(result.folder));
        }
        const auto lane = std::find_if(m_lanes.begin(), m_lanes.end(),
                                       [run](const auto& other) { return other.get() == run; });
        lane->release()->deleteLater(); // it is the sender
        m_lanes.erase(lane);
        tell();
        fill();
    }
    void tell() const
    {
        const bool isTerminal = ::isatty(STDOUT_FILENO) != 0;
        const int done = int(m_results.size());
        if (isTerminal || done % kTellEvery == 0)
            std::printf("%s%d of %d runs, %d failed, %lld s%s", isTerminal ? "\r" : "", done, m_runs,
                        m_failed, m_clock.elapsed() / 1000, isTerminal && done < m_runs ? "" : "\n");
        std::fflush(stdout);
    }

    const int m_runs;
    const quint64 m_seed;
    QElapsedTimer m_clock;
    std::list<std::unique_ptr<Run>> m_lanes;
    std::vector<Result> m_results;
    int m_started = 0;
    int m_failed = 0;
};

bool Chaos::summarise()
{
    std::map<Event, int> events;
    std::vector<int> settled;
    Result sum;
    int smallPackets = 0, smallQueues = 0, persistent = 0;
    for (const Result& result : m_results) {
        for (const auto& [event, count] : result.events)
            events[event] += count;
        settled.push_back(result.settledMs);
        sum.refusedOwners += result.refusedOwners;
        sum.made += result.made;
        sum.executed += result.executed;
        sum.failed += result.failed;
        smallPackets += result.hadSmallPackets ? 1 : 0;
        smallQueues += result.hadSmallQueue ? 1 : 0;
        persistent += result.wasPersistent ? 1 : 0;
    }
    for (const auto& [event, count] : events)
        std::printf("%6d  %s\n", count, qPrintable(toText(event)));
    std::printf("%6d  owners refused or displaced\n%6d  runs with a broker of small packets, %d with one "
                "that loses messages, %d with one that persists\n",
                sum.refusedOwners, smallPackets, smallQueues, persistent);
    std::printf("%6d  numbered wishes: %d executed, each once; %d failures told\n", sum.made, sum.executed,
                sum.failed);
    std::sort(settled.begin(), settled.end());
    const auto part = [&settled](double share) {
        return settled.empty() ? 0.0 : settled[std::size_t(share * double(settled.size() - 1))] / 1000.0;
    };
    std::printf(
        "settled after %.1f s (median), %.1f s (99 %%), %.1f s (longest)\n%d runs, %d failed, %lld s\n",
        part(0.5), part(0.99), part(1), int(m_results.size()), m_failed, m_clock.elapsed() / 1000);
    return m_failed == 0 && int(m_results.size()) == m_runs;
}

} // namespace

} // namespace Chaos

// kolta_chaos [RUNS [SEED]]
int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.value(0) == QLatin1String("--play"))
        return Chaos::play(Chaos::Part::fromArguments(arguments));
    bool isNumber = true;
    bool isSeed = true;
    const int runs = arguments.isEmpty() ? 200 : arguments[0].toInt(&isNumber);
    const quint64 seed = arguments.value(1).isEmpty()
                             ? quint64(QDateTime::currentMSecsSinceEpoch()) % 1000000000
                             : arguments[1].toULongLong(&isSeed);
    if (!isNumber || !isSeed || runs <= 0 || arguments.size() > 2) {
        std::fprintf(stderr, "kolta_chaos: expected a number of runs and perhaps a seed\n");
        return 2;
    }
    std::printf("%d runs, seeds %llu to %llu; one of them again: make chaos RUNS=1 SEED=%llu\n", runs, seed,
                seed + quint64(runs) - 1, seed);
    Startup::ErrorHandler::Instance().setLoggingEnabled(false);
    Chaos::Chaos chaos(runs, seed);
    TerminationSignals signals;
    QObject::connect(&signals, &TerminationSignals::terminationRequested, &application,
                     &QCoreApplication::quit);
    QMetaObject::invokeMethod(
        &application, [&chaos] { chaos.fill(); }, Qt::QueuedConnection);
    QCoreApplication::exec();
    return chaos.summarise() ? 0 : 1;
}
