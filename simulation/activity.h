#pragma once

#include <simulation/shorttimeactivity.h>

#include <QObject>
#include <QTimer>

#include <random>

namespace KoltaSimulation {

class SimulatedServer;

/// Life in an installation: at every tick a few tuners become busy or free, and sometimes one is lost or
/// found again, and its short-time data change (see ShortTimeActivity). The same seed makes the same
/// sequence. Belongs to the server.
class Activity : public QObject
{
    Q_OBJECT

public:
    static constexpr int kUsualPeriodMs = 500; ///< where a program's user does not say another

    Activity(SimulatedServer& server, quint32 seed);

    void start(int periodMs);
    void stop();
    /// One tick; what happens to tuners is one batch.
    void step();

private:
    SimulatedServer& m_server;
    std::mt19937 m_random;
    ShortTimeActivity m_shortTime; ///< with random numbers of its own: what it draws depends on the clients
    QTimer m_timer;
};

} // namespace KoltaSimulation
