#pragma once

#include <kolta/cli/command.h>

#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <map>
#include <memory>

namespace KoltaCli {

/// An installation of processes, "kolta up --restart", and what a script does with it, as commands. All of it
/// ends with this.
class ProcessVerbs
{
public:
    ProcessVerbs();
    ~ProcessVerbs();
    ProcessVerbs(const ProcessVerbs&) = delete;
    ProcessVerbs& operator=(const ProcessVerbs&) = delete;

    /// Whether this program and this machine have what it takes; otherwise one sentence says what is missing.
    static bool arePossible(QString& reason);
    /// They belong to this.
    QVector<Command> commands();

private:
    class Child;
    using Verb = int (ProcessVerbs::*)(const CommandLine&);

    /// The function of a command that does what `verb` does.
    Run own(Verb verb);
    QVector<Command> lifeOfProcesses();
    QVector<Command> workOnProcesses();

    int start(const CommandLine& line);
    int elsewhere(const CommandLine& line);
    int alike(const CommandLine& line);
    int kill(const CommandLine& line);
    int killing(const CommandLine& line);
    int end(const CommandLine& line);
    bool takeLines(const QString& last);
    bool killNow(const QString& name) const;
    int printOutcome(Child& child) const;

    QTemporaryDir m_folder; ///< of configuration and data for all that is started
    QProcessEnvironment m_environment;
    std::unique_ptr<Child> m_up;
    std::map<QString, qint64> m_pids; ///< of all that was started, and is wanted, by name
};

} // namespace KoltaCli
