#pragma once

#include <QtGlobal>

#include <random>

namespace Kolta {
class ConvertProductionResultMap;
class ShortTimeResultItemMap;
} // namespace Kolta

namespace KoltaSimulation {

class SimulatedServer;

/// Life in the short-time data of a server: conversions go on, and FFPs detect emissions. What happens
/// depends on the collections and the seed alone, apart from times. While the server is not published nothing
/// happens. On the tree's thread; the server must outlive this.
class ShortTimeActivity
{
public:
    /// Results that are kept; older ones go.
    static constexpr std::size_t kKeptResults = 1000;

    ShortTimeActivity(const SimulatedServer& server, quint32 seed);

    /// One tick. The oldest conversions that are not finished begin, tell that they are halfway, or end, and
    /// one in so many fails. Now and then an enabled assignment yields a result that fits one of its
    /// profiles.
    void step();

private:
    template<class Map>
    Map* find() const;
    void stepConversions();
    void stepResults();
    quint64 within(bool use, quint64 minimum, quint64 maximum, quint64 usual);
    /// Below `bound`, which is not 0.
    quint64 random(quint64 bound) { return m_random() % bound; }

    const SimulatedServer& m_server;
    std::mt19937_64 m_random;
};

} // namespace KoltaSimulation
