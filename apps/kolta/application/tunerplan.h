#pragma once

#include <resourcemodel/resources.h>

#include <QString>
#include <QStringList>
#include <QVector>

namespace Kolta {
class TunerBookingManager;
class TunerClassTree;
} // namespace Kolta

namespace KoltaCli {

/// Who of several requests for tuner classes gets which tuner.
struct TunerPlan
{
    struct Request
    {
        QString className;
        bool served = false;
        bool booked = false;
        RESOURCEMANAGEMENT::Tuner tuner; ///< what it gets, or would get if no other request held it
        int cost = 0;                    ///< of the tuner it gets
        int heldBy = -1;                 ///< without being served: place of the request that holds the tuner
        QVector<int> conflict;           ///< places of the requests that cannot be served together
        QString problem;                 ///< why it is not served or not booked, for people
    };

    QVector<Request> requests;
    qint64 totalCost = 0; ///< of the requests that are served

    /// Whether every request has a tuner that is booked for it.
    bool holds() const;
};

/// Each class in turn takes its cheapest tuner of those that are left.
TunerPlan planGreedily(const Kolta::TunerClassTree& tree, const QVector<RESOURCEMANAGEMENT::Tuner>& tuners,
                       const QStringList& classNames);
/// The tuners are shared out so that as many requests as possible are served, at the least total cost.
TunerPlan planOptimally(const Kolta::TunerClassTree& tree, const QVector<RESOURCEMANAGEMENT::Tuner>& tuners,
                        const QStringList& classNames);
/// Plans the tuners of the requests that are served at the manager, one by one; what it objects to is noted.
void book(TunerPlan& plan, Kolta::TunerBookingManager& manager);

} // namespace KoltaCli
