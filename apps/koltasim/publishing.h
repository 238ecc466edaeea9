#pragma once

#include "options.h"

#include <QObject>
#include <QString>

#include <functional>
#include <memory>

namespace KoltaSimulation {
class SimulatedServer;
}

/// What is told of a published tree.
struct PublishingEvents
{
    std::function<void(const QString& branch)> published; ///< once
    /// It is over, for the reason in one line; `isTaken`: another process has the name.
    std::function<void(bool isTaken, const QString& reason)> failed;
};

/// Whether the options make sense for publishTree(), which opens connections; else why not, in one line.
bool canPublish(const Options& options, QString& error);
/// Shares the value tree of the server as the options say, for as long as the result lives; what others write
/// there needs the rights that the server asks for. Null, and why in one line, when that cannot be done.
std::unique_ptr<QObject> publishTree(const KoltaSimulation::SimulatedServer& server, const Options& options,
                                     const PublishingEvents& events, QString& error);
