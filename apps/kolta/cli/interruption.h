#pragma once

namespace KoltaCli {

/// Whether the command that runs shall end before its work is done: its user has pressed Ctrl-C in a shell.
/// Whatever waits in an event loop looks here. Outside a shell signals end the process by themselves.
bool isInterrupted();
/// For the shell alone.
void setInterrupted(bool interrupted);

} // namespace KoltaCli
