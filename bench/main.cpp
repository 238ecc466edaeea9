#include "figure.h"
#include "ratioreporter.h"

#include <startup/errorhandler.h>

#include <QCoreApplication>

#include <cstdio>
#include <cstring>
#include <limits>
#include <malloc.h>
#include <sched.h>
#include <string>
#include <vector>

namespace {

enum ExitCode { ePassed = 0, eMissed = 1, eWrongUsage = 2 };

constexpr char kRatiosOption[] = "--ratios=";

bool beginsWith(const char* text, const char* beginning)
{
    return std::strncmp(text, beginning, std::strlen(beginning)) == 0;
}

// Across CPUs a wake-up costs three times as much or not, as the scheduler pleases, and a round trip has four
// of them: figures become bimodal. Threads inherit the pinning, so it comes before the first one.
void pinToThisCpu()
{
    cpu_set_t cpus;
    CPU_ZERO(&cpus);
    CPU_SET(static_cast<unsigned>(sched_getcpu()), &cpus);
    if (sched_setaffinity(0, sizeof cpus, &cpus) != 0)
        std::perror("The process cannot be pinned to one CPU; round trips will scatter");
}

// Whether malloc gives memory back to the system between two calls depends on what ran before, and asking for
// it again costs as much as some of the work that is measured.
void keepMemory()
{
    constexpr int largest = 32 * 1024 * 1024; // that malloc takes from its heap
    if (!mallopt(M_MMAP_THRESHOLD, largest) || !mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max()))
        std::fputs("Memory goes back to the system between calls; large figures will scatter\n", stderr);
}

// As the servers of an installation are started: a line for every wish would be measured with it.
void traceProblemsOnly()
{
    Startup::ErrorHandler::Instance().setMask(Startup::eTraceFatal | Startup::eTraceError |
                                              Startup::eTraceWarning);
}

} // namespace

// [--ratios=FILE] and Google Benchmark's own options: --benchmark_filter=REGEX, --benchmark_list_tests,
// --benchmark_repetitions=N, --benchmark_out=FILE, ...
int main(int argc, char** argv)
{
    pinToThisCpu();
    keepMemory();
    traceProblemsOnly();
    QCoreApplication application(argc, argv);

    std::string ratiosFile;
    bool whole = true;
    char repetitions[] = "--benchmark_repetitions=7";
    std::vector<char*> arguments{argv[0], repetitions};
    for (int i = 1; i < argc; ++i) {
        if (beginsWith(argv[i], kRatiosOption)) {
            ratiosFile = argv[i] + std::strlen(kRatiosOption);
            continue;
        }
        whole =
            whole && !beginsWith(argv[i], "--benchmark_filter") && !beginsWith(argv[i], "--benchmark_list");
        arguments.push_back(argv[i]);
    }
    // Part of the figures must not replace the file of a whole run.
    if (ratiosFile.empty() && whole)
        ratiosFile = KOLTA_BENCH_RATIOS;

    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return eWrongUsage;

    Bench::RatioReporter reporter;
    const std::size_t ran = benchmark::RunSpecifiedBenchmarks(&reporter);
    Bench::endFigures();
    if (ran == 0)
        return eWrongUsage;
    if (!ratiosFile.empty() && !reporter.writeRatios(ratiosFile)) {
        std::fprintf(stderr, "%s cannot be written.\n", ratiosFile.c_str());
        return eWrongUsage;
    }
    return reporter.allPassed() ? ePassed : eMissed;
}
