#pragma once

#include <koltacommon/export.h>
#include <resourcemodel/resources.h>

#include <QString>
#include <QVector>

#include <vector>

/// \file
/// Distinct tuners for several requests at once, at the least cost.

namespace Kolta {

/// A tuner that serves the requests of one class, and what it costs there.
struct TunerOffer
{
    int tuner;
    int cost;
};

/// Result of matchTuners().
struct TunerMatching
{
    std::vector<int> tunerOfRequest; ///< -1 for a request without tuner
    qint64 totalCost = 0;            ///< of the requests that are served
    /// For every request without tuner, in order: the requests (ascending, itself among them) that cannot be
    /// served together, because all their classes have one tuner less than they are. Without any one of them
    /// the others can.
    std::vector<std::vector<int>> conflicts;
};

/// Gives every request a tuner of its own whenever that is possible, and among all ways to do so chooses one
/// of the least total cost. Otherwise serves as many requests as possible, earlier ones first, at the least
/// cost for those.
///
/// `offersOfClass` lists per class its tuners, 0 to tunerCount - 1, each at most once; negative costs are
/// allowed. `classOfRequest` names the class of each request. Among tuners of equal merit for the next
/// request the one with the lower number is taken.
///
/// Minimum-cost bipartite matching by successive shortest augmenting paths (Jewell 1958, Busacker and Gowen
/// 1960), the paths found by label correction (Ford 1956, Bellman 1958), since a path may be cheaper than its
/// beginning. A failed search has reached a set of requests that violates the condition of Hall (1935), and
/// no part of it does. Tuners that the same classes offer at the same costs are interchangeable and searched
/// as one group; so are the requests of one class. With O offers, R requests, K classes and G groups of
/// tuners this takes O(O + R K (R + G)) time, if costs depend on the tuner alone; K times more at worst.
KOLTA_COMMON_EXPORT TunerMatching matchTuners(int tunerCount,
                                              const std::vector<std::vector<TunerOffer>>& offersOfClass,
                                              const std::vector<int>& classOfRequest);

/// Tuners for a list of class requests.
struct KOLTA_COMMON_EXPORT TunerAssignment
{
    struct Request
    {
        QString className;
        bool served = false;
        RESOURCEMANAGEMENT::Tuner tuner; ///< empty without being served
        int cost = 0;                    ///< of the tuner
    };

    QVector<Request> requests; ///< in the order in which they were made
    qint64 totalCost = 0;      ///< of the requests that are served
    /// For every request that is not served, in order: the places of the requests that cannot be served
    /// together, itself among them. Without any one of them the others can.
    QVector<QVector<int>> conflicts;

    bool isComplete() const noexcept { return conflicts.isEmpty(); }
};

} // namespace Kolta
