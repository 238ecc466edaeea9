#pragma once

#include <chrono>

class QAbstractSocket;

namespace XmlCommunication {

/// What both ends of a link set once they are connected: no delay, and probes that show a dead peer within a
/// minute.
void tuneSocket(QAbstractSocket& socket);
/// Gives up on a peer that acknowledges nothing, or takes nothing, for so long (Linux).
void limitUnacknowledgedTime(QAbstractSocket& socket, std::chrono::milliseconds time);
/// The next close discards what was not sent and resets the link.
void resetOnClose(QAbstractSocket& socket);
/// Ends the sending direction only: the peer reads what was sent, then sees the end.
void shutdownSending(QAbstractSocket& socket);

} // namespace XmlCommunication
