#pragma once

#include "servers.h"

#include <koltacommon/tunerbookingmanager.h>

#include <QString>
#include <QVector>

#include <array>

namespace KoltaCli {

/// What a state of tuners is called in what programs read; TunerModel::stateText() has the words for people.
struct TunerStateName
{
    const char* json;
    const char* label; ///< of metrics
};

constexpr int kTunerStateCount = 4;
const TunerStateName& nameOf(Kolta::TunerBookingManager::eTunerState state);

/// How one server is and how much of everything it has, in one moment.
struct ServerFigures
{
    QString name;
    QString host;
    int state = 0;
    QString stateText;
    QString message;
    bool isReady = false;
    bool isUp = false; ///< come up whole and operational
    /// Of a server that has gone nobody knows what it has; the counts are of the past then.
    bool isConnected = false;

    std::array<int, kTunerStateCount> tunersInState{}; ///< by TunerBookingManager::eTunerState
    int processors = 0;
    int productions = 0;
    int hardware = 0;

    int tuners() const noexcept;
    int freeTuners() const noexcept { return tunersInState[Kolta::TunerBookingManager::eFree]; }
    /// The counts in the order above, with names as programs read them.
    QVector<QPair<QString, int>> counts() const;

    static ServerFigures of(Server& server);
};

} // namespace KoltaCli
