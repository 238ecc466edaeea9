#pragma once

#include <QJsonObject>
#include <QVector>

#include <functional>

namespace Kolta {
class Operation;
}

namespace KoltaCli {

/// A waiting time without end.
constexpr int kWaitForever = -1;

/// Runs the event loop until `done` returns true, the command is interrupted or the time is over; returns
/// done(). Whatever else than operations a command waits for it waits for here.
bool waitUntil(const std::function<bool()>& done, int timeoutMs);

/// Runs the event loop until the operations have ended, each within that time; whether all are done. The
/// first Ctrl-C, or other signal to end, cancels them and goes on waiting for what is taken back; the next
/// one leaves them as they are.
bool await(const QVector<Kolta::Operation*>& operations, int timeoutMs);
bool await(Kolta::Operation& operation, int timeoutMs);
/// Why an operation that was waited for is not done, in one line; empty when it is.
QString problemOf(const Kolta::Operation& operation);
/// Adds how it ended: "state", "effect" and, when it is not done, "reason" and "problem".
void addEnd(QJsonObject& object, const Kolta::Operation& operation);

} // namespace KoltaCli
