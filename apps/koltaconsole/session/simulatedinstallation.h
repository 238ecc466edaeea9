#pragma once

#include <QObject>
#include <QString>

#include <memory>
#include <vector>

namespace KoltaSimulation {
class SimulatedServer;
}

namespace KoltaConsole {

struct Options;

/// Servers of this process to look at and to try things out on, the same as those of `kolta up`, with a few
/// productions as soon as they are up.
class SimulatedInstallation : public QObject
{
    Q_OBJECT

public:
    explicit SimulatedInstallation(QObject* parent = nullptr);
    ~SimulatedInstallation() override;

    /// Publishes the servers. False when the sample cannot be read, with what is wrong in one line.
    bool start(const Options& options, QString& error);
    /// Null when there is none of that name.
    KoltaSimulation::SimulatedServer* server(const QString& address) const;
    /// Whether nothing that it begins with is still on its way.
    bool isSettled() const noexcept { return m_openOrders == 0; }

private:
    void startProductions(const QString& address);

    std::vector<std::unique_ptr<KoltaSimulation::SimulatedServer>> m_servers;
    int m_openOrders = 0;
};

} // namespace KoltaConsole
