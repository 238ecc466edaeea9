#pragma once

#include <functional>

namespace KoltaCli {

/// A waiting time without end.
constexpr int kWaitForever = -1;

/// Runs the event loop until `done` returns true, the command is interrupted or the time is over; returns
/// done(). Whatever a command waits for it waits for here.
bool waitUntil(const std::function<bool()>& done, int timeoutMs);

} // namespace KoltaCli
