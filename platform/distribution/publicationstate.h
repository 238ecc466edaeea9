#pragma once

namespace distribution {

/// How this process stands to a branch that it publishes.
enum class PublicationState {
    Waiting,   ///< for the broker, or for the name to prove free
    Online,    ///< published
    NameTaken, ///< another process publishes the name; nothing is tried any more
    Displaced, ///< another process has taken the name over; nothing is published any more
    NameUnfit, ///< no branch can have the name; nothing is tried
    Forbidden  ///< the broker does not let this user publish it; nothing is tried any more
};

} // namespace distribution
