#pragma once

#include <koltacommon/productionorder.h>

#include <QHash>
#include <QString>

#include <memory>
#include <vector>

namespace Kolta {
struct TunerMatching;
struct TunerOffer;
} // namespace Kolta

namespace KoltaConsole {

class Session;

/// A tuner that is offered for an order.
struct Offer
{
    QString server;
    QString guid;
    QString name;
    int cost = 0;

    bool isNone() const { return guid.isEmpty(); }
};

/// What all servers that are there have for several orders at once, as it is now: made, asked and thrown
/// away within one turn of the event loop.
class Offers
{
public:
    explicit Offers(Session& session);
    ~Offers();

    /// One more order, for one server or (empty) any.
    void add(const Kolta::ProductionOrder& order, const QString& server);
    /// Gives as many of them as possible a tuner each, at the least cost for all.
    Kolta::TunerMatching match();
    const Offer& tuner(int number) const { return m_tuners[static_cast<std::size_t>(number)]; }
    /// For people: why the order at that place gets nothing, with what all servers say that might run it.
    QString refusalOf(std::size_t place) const;

private:
    struct Source;
    struct Wish
    {
        Kolta::ProductionOrder order;
        QString server;
    };

    /// The number of that tuner among those that were offered.
    int numberOf(const Offer& offer);
    void collect(const Source& source, const Wish& wish, std::vector<Kolta::TunerOffer>& offers);

    Session& m_session;
    std::vector<std::unique_ptr<Source>> m_sources;
    std::vector<Wish> m_wishes;
    std::vector<Offer> m_tuners;
    QHash<QString, int> m_numbers; ///< of the tuners, by server and GUID
};

} // namespace KoltaConsole
