#pragma once

#include <QObject>
#include <QTimer>

#include <random>

namespace KoltaSimulation {

class SimulatedServer;

/// Life in an installation: at every tick a few tuners become busy or free, and sometimes one is lost or
/// found again. The same seed makes the same sequence. Belongs to the server.
class Activity : public QObject
{
    Q_OBJECT

public:
    Activity(SimulatedServer& server, quint32 seed);

    void start(int periodMs);
    void stop();
    /// One tick, in one batch.
    void step();

private:
    SimulatedServer& m_server;
    std::mt19937 m_random;
    QTimer m_timer;
};

} // namespace KoltaSimulation
