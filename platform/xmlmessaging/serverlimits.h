#pragma once

#include <xmlmessaging/export.h>

#include <QtGlobal>

#include <chrono>

namespace XmlCommunication {

/// What a server lets its peers cost it, whatever they do. 0 switches a bound off.
/// The configuration group "XmlServer" has a key for each, named in docs/configuration.md.
struct KOLTA_XMLMESSAGING_EXPORT ServerLimits
{
    using Milliseconds = std::chrono::milliseconds;

    int maxLinks = 1000;
    int maxLinksPerAddress = 500;

    /// Per link: while more waits for being sent, nothing is read from the link.
    qint64 maxUnsentBytes = 1024 * 1024;
    /// Of all links together. Beyond it a link ends: of those that hold at least a quarter of an equal share
    /// the one that has been stuck longest.
    qint64 maxUnsentBytesOfAll = 32 * 1024 * 1024;
    /// The same for messages of which only a part has arrived.
    qint64 maxUnfinishedBytesOfAll = 64 * 1024 * 1024;

    Milliseconds stallTime{60000};        ///< bytes wait and none of them could be sent
    Milliseconds handshakeTime{10000};    ///< from a protected link's beginning to the end of its handshake
    Milliseconds firstMessageTime{60000}; ///< from the link's beginning to its first whole message
    Milliseconds messageTime{60000};      ///< from a message's first byte to its last
    Milliseconds idleTime{0};             ///< nothing is received and nothing sent

    /// The defaults, with what the configuration says otherwise. A value that is no number from 0 is told in
    /// a trace line and leaves the default.
    static ServerLimits fromConfiguration();
};

} // namespace XmlCommunication
