#pragma once

#include "shellinput.h"

#include <common/terminationsignals.h>

#include <QObject>

#include <memory>

namespace KoltaCli {

/// Runs commands line by line until the input or its user ends it.
class Shell : public QObject
{
    Q_OBJECT

public:
    /// `keepGoing`: a script goes on when one of its commands has failed. `trace`: trace lines are written
    /// also between commands.
    Shell(std::unique_ptr<ShellInput> input, bool keepGoing, bool trace);

    /// The eExitCode of the first command of a script that has failed; eExitFailed when the input failed or a
    /// signal has ended the shell.
    int run();

private:
    bool readLine(QString& line);
    int execute(const QString& line);
    int runSingle(const QStringList& words);
    void takeSignal(int number);

    std::unique_ptr<ShellInput> m_input;
    TerminationSignals m_signals;
    bool m_keepGoing;
    bool m_trace;
    bool m_running = false; ///< a command, that is
    bool m_left = false;
    bool m_ended = false; ///< by a signal or for want of input
    int m_lineNumber = 0;
};

} // namespace KoltaCli
