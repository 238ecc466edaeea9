#pragma once

#include <simulation/installation.h>
#include <simulation/simulatedserver.h>

#include <QString>

#include <memory>

namespace Lifecycle {

/// The server of a story, wherever it runs. When this goes, it has left the tree of this process.
class StoryServer
{
public:
    virtual ~StoryServer() = default;
    virtual void vanish() = 0;
    virtual void comeBack() = 0;
    /// Whether it has heard of everything that was written here.
    virtual bool hasHeardAll() const = 0;
};

/// In this process, on the same tree.
class ServerHere final : public StoryServer
{
public:
    explicit ServerHere(const KoltaSimulation::Installation& installation) : m_server(installation)
    {
        m_server.publish();
    }
    void vanish() override { m_server.vanish(); }
    void comeBack() override { m_server.comeBack(); }
    bool hasHeardAll() const override { return true; }

private:
    KoltaSimulation::SimulatedServer m_server;
};

/// The sample installation with six tuners, all free and for hardware processing.
KoltaSimulation::Installation fewTuners();
/// In a process of its own, with fewTuners(), behind a broker of its own. Null, with the reason, when there
/// cannot be one; `isMissing` tells whether a program is missing on this machine.
std::unique_ptr<StoryServer> serverElsewhere(QString& reason, bool& isMissing);

} // namespace Lifecycle
