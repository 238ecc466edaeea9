#include "tunersamples.h"

#include <koltacommon/tunerassignment.h>
#include <koltacommon/tunerclassresourceselector.h>
#include <support/test.h>

#include <limits>

using namespace Kolta;
using namespace RESOURCEMANAGEMENT;

namespace {

/// All that a matching may depend on.
struct Problem
{
    int tunerCount;
    std::vector<std::vector<TunerOffer>> offers;
    std::vector<int> requests;

    /// Every way to serve the requests that `wanted` has a bit for; calls back with each total.
    void forAllWays(quint32 wanted, const std::function<void(qint64)>& found, std::size_t request = 0,
                    quint32 used = 0, qint64 cost = 0) const
    {
        if (request == requests.size()) {
            found(cost);
            return;
        }
        if (!(wanted >> request & 1)) {
            forAllWays(wanted, found, request + 1, used, cost);
            return;
        }
        for (const TunerOffer& offer : offers[static_cast<std::size_t>(requests[request])]) {
            if (!(used >> offer.tuner & 1))
                forAllWays(wanted, found, request + 1, used | 1u << offer.tuner, cost + offer.cost);
        }
    }
    bool isPossible(quint32 wanted) const
    {
        bool possible = false;
        forAllWays(wanted, [&possible](qint64) { possible = true; });
        return possible;
    }
};

Problem randomProblem(QRandomGenerator& random)
{
    Problem problem{random.bounded(1, 7), {}, {}};
    const int classCount = random.bounded(1, 5);
    const bool costByTuner = random.bounded(2);
    for (int classIndex = 0; classIndex < classCount; ++classIndex) {
        std::vector<TunerOffer> offers;
        for (int tuner = 0; tuner < problem.tunerCount; ++tuner) {
            if (random.bounded(5) < 2)
                offers.push_back({tuner, costByTuner ? tuner / 2 - 1 : random.bounded(-3, 4)});
        }
        problem.offers.push_back(offers);
    }
    for (int i = random.bounded(6); i > 0; --i)
        problem.requests.push_back(random.bounded(classCount));
    return problem;
}

/// Empty, or what is wrong.
QString checkAgainstBruteForce(const Problem& problem)
{
    const TunerMatching matching = matchTuners(problem.tunerCount, problem.offers, problem.requests);
    quint32 served = 0;
    quint32 greedy = 0; // as many as possible, earlier ones first
    QSet<int> used;
    for (std::size_t i = 0; i < problem.requests.size(); ++i) {
        if (matching.tunerOfRequest[i] >= 0) {
            served |= 1u << i;
            used.insert(matching.tunerOfRequest[i]);
        }
        if (problem.isPossible(greedy | 1u << i))
            greedy |= 1u << i;
    }
    if (served != greedy || used.size() != static_cast<int>(qPopulationCount(served)))
        return "served %1 instead of %2 by %3 tuners"_s.arg(served).arg(greedy).arg(used.size());
    qint64 least = std::numeric_limits<qint64>::max();
    problem.forAllWays(served, [&least](qint64 cost) { least = qMin(least, cost); });
    qint64 sum = 0;
    for (std::size_t i = 0; i < problem.requests.size(); ++i) {
        for (const TunerOffer& offer : problem.offers[static_cast<std::size_t>(problem.requests[i])])
            sum += offer.tuner == matching.tunerOfRequest[i] ? offer.cost : 0;
    }
    if (matching.totalCost != least || sum != least)
        return "cost %1, sum %2, least %3"_s.arg(matching.totalCost).arg(sum).arg(least);

    std::size_t conflict = 0;
    for (int i = 0; i < static_cast<int>(problem.requests.size()); ++i) {
        if (served >> i & 1)
            continue;
        quint32 together = 0;
        for (const int request : matching.conflicts.at(conflict))
            together |= 1u << request;
        ++conflict;
        if (!(together >> i & 1) || problem.isPossible(together))
            return "no conflict of %1: %2"_s.arg(i).arg(together);
        for (int other = 0; other < 32; ++other) {
            if (together >> other & 1 && !problem.isPossible(together & ~(1u << other)))
                return "conflict %1 does not need %2"_s.arg(together).arg(other);
        }
    }
    return conflict == matching.conflicts.size() ? QString() : "too many conflicts"_s;
}

} // namespace

class TestTunerAssignment : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matchesBruteForce()
    {
        QRandomGenerator random(testSeed());
        for (int round = 0; round < 3000; ++round) {
            const QString error = checkAgainstBruteForce(randomProblem(random));
            QVERIFY2(error.isEmpty(), qPrintable("round %1: %2"_s.arg(round).arg(error)));
        }
    }

    void saysWhoCannotBeServedTogether()
    {
        TunerClassResourceSelector selector;
        selector.setTunerClassOverview(
            TunerSamples::classOverview({TunerSamples::tunerClass("Wide"_s, {"a"_s}),
                                         TunerSamples::tunerClass("Narrow"_s, {"b"_s}, 1, "Wide"_s),
                                         TunerSamples::tunerClass("Other"_s, {"c"_s})}));
        selector.setResourceOverview({TunerSamples::tuner("a"_s), TunerSamples::tuner("b"_s, true, false),
                                      TunerSamples::tuner("c"_s)});
        const QString wide = "Wide"_s;
        const QString narrow = "Narrow"_s;
        const QString other = "Other"_s;
        const QString unknown = "Unknown"_s;

        const TunerAssignment all = selector.assignTuners({other, wide, narrow, wide, unknown});
        QCOMPARE(all.conflicts, (QVector<QVector<int>>{{1, 2, 3}, {4}}));
        QCOMPARE(all.totalCost, qint64(1));
        // Busy tuners count unless the filter says otherwise.
        const TunerAssignment free = selector.assignTuners({wide, narrow}, TunerFilter::freeTuners());
        QCOMPARE(free.conflicts, (QVector<QVector<int>>{{1}}));
        QVERIFY(selector.assignTuners({}).isComplete());
    }
};

KOLTA_TEST(TestTunerAssignment);
#include "tst_tunerassignment.moc"
