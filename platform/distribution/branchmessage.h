#pragma once

#include <distribution/messages.h>

#include <QString>

#include <cstddef>
#include <functional>
#include <vector>

namespace distribution {

/// A message about a branch that this process mirrors, for who reads along: what its owner says, and what
/// this process says to the owner. Beats are left out.
struct BranchMessage
{
    enum class Kind {
        Claim,   ///< the owner lives, has left, or the broker says that it is dead
        Entries, ///< of the owner's log, live or played again
        State,   ///< a part of a state
        Wish,    ///< changes by this process
        Ask,     ///< by this process, for entries or the state
        AskBeat  ///< by this process, for a sign of life
    };
    static constexpr std::size_t kMostChanges = 200; ///< that are given

    Kind kind = Kind::Entries;
    bool isSent = false;
    std::size_t bytes = 0; ///< of the payload
    qint64 tookMs = -1;    ///< Entries: since the wish of this process was sent on which they decide
    QString collection;    ///< its path; empty: the nodes and plain values
    LiveState live = LiveState::Alive; ///< Claim
    /// Entries: of the first one; State: of the last one that it contains; Wish: its own; Ask: of the first
    /// one that is asked for, 0: for the state.
    quint64 number = 0;
    quint32 count = 0;            ///< Entries: how many; State: of how many parts
    quint32 part = 0;             ///< State: from 0
    std::size_t changeCount = 0;  ///< of the changes in it
    Changes changes;              ///< the first of them, all with their paths; Delta as it travels
    std::vector<QString> reasons; ///< Entries: why wishes of this process were refused
};
using BranchReader = std::function<void(const BranchMessage& message)>;

} // namespace distribution
