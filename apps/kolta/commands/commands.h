#pragma once

#include <QStringList>

namespace KoltaCli {

// One function per command; each takes the words after the command's name and returns an eExitCode.
// QCoreApplication exists; the functions run their own event loops.

/// The main job, told step by step against an installation inside the process.
int runDemo(const QStringList& arguments);
/// Runs commands from a terminal or a script, in one process and on one installation.
int runShell(const QStringList& arguments);
/// Asks a server who it is.
int runDescribe(const QStringList& arguments);
/// Sends a message from a file and prints the reply.
int runSend(const QStringList& arguments);
/// Prints broadcasts and faults until interrupted.
int runListen(const QStringList& arguments);
/// Measures round trips.
int runPing(const QStringList& arguments);
/// Lists the demand classes that an application may use, on a given tuner too.
int runDemandClasses(const QStringList& arguments);
/// Draws the tree of tuner classes.
int runClasses(const QStringList& arguments);
/// Chooses the tuner of a class, and tells why that one.
int runSelect(const QStringList& arguments);
/// Gives tuners to several classes at once.
int runPlan(const QStringList& arguments);
/// Tells how the servers are.
int runStatus(const QStringList& arguments);
/// Prints what happens on the servers until interrupted.
int runWatch(const QStringList& arguments);
/// Starts a production, with the tuner that it needs.
int runProduce(const QStringList& arguments);
/// Lists what runs.
int runProductions(const QStringList& arguments);
/// Moves an FFP to another MCP.
int runMove(const QStringList& arguments);
/// Stops productions and processors.
int runStop(const QStringList& arguments);
/// Switches units on or off.
int runPower(const QStringList& arguments);
/// Works on the short-time profiles of a server, or on files of them.
int runProfiles(const QStringList& arguments);
/// Works on the assignments of profiles to FFPs.
int runAssignments(const QStringList& arguments);
/// Works on the results of conversions of recordings.
int runConversions(const QStringList& arguments);
/// Lists what the user who is logged in may do.
int runRights(const QStringList& arguments);

} // namespace KoltaCli
