#pragma once

#include <kolta/cli/command.h>

#include <memory>

namespace KoltaCli {

class EmbeddedInstallation;

/// What may happen to the simulated servers of a shell, as commands.
class SimulationVerbs
{
public:
    /// The installation must outlive this.
    explicit SimulationVerbs(EmbeddedInstallation& installation);
    ~SimulationVerbs();
    SimulationVerbs(const SimulationVerbs&) = delete;
    SimulationVerbs& operator=(const SimulationVerbs&) = delete;

    /// They belong to this.
    QVector<Command> commands();

private:
    class Follower;
    using Verb = int (SimulationVerbs::*)(const CommandLine&);

    /// The function of a command that does what `verb` does.
    Run own(Verb verb);
    QVector<Command> lifeOfServers();
    QVector<Command> doingsOfServers();

    int serve(const CommandLine& line);
    int vanish(const CommandLine& line);
    int comeBack(const CommandLine& line);
    int cut(const CommandLine& line);
    int misbehave(const CommandLine& line);
    int changeTuner(const CommandLine& line);
    int follow(const CommandLine& line);

    EmbeddedInstallation& m_installation;
    std::unique_ptr<Follower> m_follower; ///< while servers are followed
};

} // namespace KoltaCli
