#pragma once

#include <QMetaType>

namespace Kolta::SERVER_STATES {

/// Working states of a server. Their names are the server's own; the library itself gives a meaning only to
/// "disconnected" and to "operational", with which all mirrors are read afresh.
enum eServerState : int {
    eDisconnected = 0,
    eState1 = 1,
    eState2 = 2,
    eState3 = 3,
    eState4 = 4,
    eOperational = 5,
    eState6 = 6,
    eState7 = 7
};

/// The state with that key; disconnected for any key that is none.
constexpr eServerState fromKey(int key) noexcept
{
    return key >= eDisconnected && key <= eState7 ? static_cast<eServerState>(key) : eDisconnected;
}

} // namespace Kolta::SERVER_STATES

Q_DECLARE_METATYPE(Kolta::SERVER_STATES::eServerState)
