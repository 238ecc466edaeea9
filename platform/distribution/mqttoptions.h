#pragma once

#include <distribution/brokeraddress.h>
#include <distribution/defaults.h>

#include <QString>

#include <cstddef>

namespace distribution {

/// How a broker is reached over MQTT.
struct MqttOptions
{
    BrokerAddress address;
    QString
        passwordFile; ///< its first line is the password, read at every attempt; empty: that of the address
    QString caFile;   ///< PEM; authorities whose signature counts; empty: those of the system
    QString certificateFile; ///< PEM; this side's chain; empty: none
    QString keyFile;         ///< PEM, not encrypted
    int keepAliveS = 10;     ///< 5 at least
    /// Messages that have arrived and were not handed on; the line is not read while there are more.
    std::size_t maximumInboxBytes = Defaults::kQueueBytes;
    /// Messages that the broker has not acknowledged; the line is given up when there are more.
    std::size_t maximumOutboxBytes = Defaults::kQueueBytes;
};

} // namespace distribution
