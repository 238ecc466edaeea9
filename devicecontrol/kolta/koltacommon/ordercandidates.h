#pragma once

#include <koltacommon/export.h>
#include <koltacommon/productionorder.h>
#include <koltacommon/servertuners.h>
#include <koltacommon/tunerbookingmanager.h>
#include <koltacommon/tunerselection.h>

#include <QMetaType>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVector>

#include <memory>
#include <vector>

namespace Kolta {

class KoltaServerInterface;

/// A tuner that was considered for an order, with everything that decided about it.
struct KOLTA_COMMON_EXPORT OrderCandidate
{
    TunerCandidate facts; ///< the tuner, its cost, why it is refused or what puts it ahead of the next one
    int rank = 0;         ///< from 1 for the one that would be taken; 0 for a refused one
    TunerBookingManager::eTunerState state = TunerBookingManager::eInaccessible;
    TunerHolder holder; ///< of one that is taken
    TunerNeeds needs;   ///< of the order

    const QString& guid() const { return facts.tuner.GetTavikResource().GetGUID(); }
    /// For people: why it is refused, with its holder or with what it cannot do; or what puts it ahead.
    QString reason() const;
    /// Whether both say the same to whoever reads them.
    bool isSameAs(const OrderCandidate& other) const;
};

/// All tuners that were considered for an order, as at the moment when it was asked for.
struct KOLTA_COMMON_EXPORT OrderChoice
{
    QString problem; ///< why there is nothing to choose from; empty when there is
    /// As they would be taken one after the other, then the refused ones.
    std::vector<OrderCandidate> candidates;

    int acceptedCount() const;
};

/// How the tuner of an order would be chosen on one server: follows the order, the server's tuners and
/// classes, what runs there and what is planned here.
///
/// With a class these are all its tuners, with a tuner that one. An order with neither, or that makes no
/// sense, has a problem instead; so has one to a server that is away, whose last choice is kept beside it.
/// Lives on the value tree's thread; the server may go first.
class KOLTA_COMMON_EXPORT OrderExplainer : public QObject
{
    Q_OBJECT

public:
    OrderExplainer(KoltaServerInterface& server, const ProductionOrder& order, QObject* parent = nullptr);
    ~OrderExplainer() override;

    void setOrder(const ProductionOrder& order);
    const ProductionOrder& order() const noexcept { return m_order; }
    /// Made at the first question after a change; good until control is back in the event loop.
    const OrderChoice& choice();

Q_SIGNALS:
    /// The answer may be another one; from the event loop, once for all that has changed meanwhile. A
    /// receiver may delete this.
    void mayHaveChanged();

private:
    enum eStale : unsigned { eNothing = 0, eAnswer = 1, eTuners = 2, eClasses = 4 };

    void note(unsigned what);
    bool bringTunersUpToDate();
    void choose();
    void chooseOfClass(const ProductionOrder& order, const TunerNeeds& needs);
    void chooseNamed(const ProductionOrder& order, const TunerNeeds& needs);
    OrderCandidate candidateOf(TunerCandidate facts, const TunerNeeds& needs) const;

    const QPointer<KoltaServerInterface> m_server;
    ProductionOrder m_order;
    std::unique_ptr<ServerTuners> m_tuners;
    OrderChoice m_choice;
    unsigned m_stale = eAnswer | eTuners | eClasses;
    bool m_isDue = false; ///< the signal
};

} // namespace Kolta

Q_DECLARE_METATYPE(Kolta::OrderCandidate)
