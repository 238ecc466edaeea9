#pragma once

#include "shellinput.h"
#include "simulationverbs.h"
#include "teller.h"

#include <common/terminationsignals.h>
#include <kolta/cli/commandtable.h>

#include <QObject>

#include <memory>

namespace KoltaCli {

class EmbeddedInstallation;

/// Runs commands line by line until the input or its user ends it.
class Shell : public QObject
{
    Q_OBJECT

public:
    /// Knows the commands that are known where `line` runs, some of its own, and `further` ones. The
    /// installation, which must be the shared one, and `line` must outlive this.
    Shell(const CommandLine& line, EmbeddedInstallation& installation, const QVector<Command>& further = {});
    ~Shell() override;

    /// Takes standard input, and runs what comes from there; `keepGoing`: a script goes on when one of its
    /// commands has failed. Returns the eExitCode of the first command of a script that has failed;
    /// eExitFailed when the input failed or a signal has ended the shell.
    int run(bool keepGoing);
    /// The same with other lines, told in another way.
    int run(std::unique_ptr<ShellInput> input, Teller& teller, bool keepGoing);

private:
    QVector<Command> verbs();
    bool readLine(QString& line);
    int execute(const QString& line, const QStringList& words);
    int runSingle(const QStringList& words);
    int expect(const CommandLine& line) const;
    int fails(const CommandLine& line);
    void takeSignal(int number);

    const CommandLine& m_line;
    EmbeddedInstallation& m_installation;
    SimulationVerbs m_simulation;
    CommandTable m_table;
    std::unique_ptr<ShellInput> m_input;
    Teller* m_teller = nullptr;
    TerminationSignals m_signals;
    QStringList m_printed;  ///< by the last command that was not an "expect"
    bool m_running = false; ///< a command, that is
    bool m_left = false;
    bool m_ended = false; ///< by a signal or for want of input
    int m_lineNumber = 0;
};

/// The prompt and scripts, as a command.
Command shellCommand();

} // namespace KoltaCli
