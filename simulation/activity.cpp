#include <simulation/activity.h>

#include <simulation/simulatedserver.h>

namespace KoltaSimulation {

namespace {

constexpr int kChangesPerStep = 3;
/// One change in so many is a tuner lost or found; the others are productions that begin or end.
constexpr quint32 kAccessibilityOdds = 10;

} // namespace

Activity::Activity(SimulatedServer& server, quint32 seed)
    : QObject(&server), m_server(server), m_random(seed), m_shortTime(server, seed)
{
    connect(&m_timer, &QTimer::timeout, this, &Activity::step);
}

void Activity::start(int periodMs)
{
    m_timer.start(periodMs);
}

void Activity::stop()
{
    m_timer.stop();
}

void Activity::step()
{
    m_shortTime.step();
    const SimulatedServer::Batch batch(m_server);
    for (int i = 0; i < kChangesPerStep; ++i) {
        const auto& tuners = m_server.resources().GetTuner();
        if (tuners.isEmpty())
            return;
        const auto& tuner = tuners.at(static_cast<int>(m_random() % static_cast<quint32>(tuners.size())));
        const QString guid = tuner.GetTavikResource().GetGUID();
        if (m_random() % kAccessibilityOdds == 0)
            m_server.setTunerAccessible(guid, !tuner.GetAccessible());
        else
            m_server.setTunerIdle(guid, !tuner.GetIdle());
    }
}

} // namespace KoltaSimulation
