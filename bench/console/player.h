#pragma once

#include <QObject>
#include <QTimer>

#include <memory>

namespace KoltaConsole {
class SimulatedInstallation;
}
namespace distribution {
class TreeLink;
}

namespace Fluency {

/// Servers that are published through a broker, of whose tuners 1 % change in every second. Prints "ready"
/// once all are there and what they begin with runs; then changes begin.
class Player : public QObject
{
public:
    Player(const QString& url, int servers, int tuners);
    ~Player() override;

    /// False, with the reason in one line, when there is no such broker.
    bool start(QString& error);

private:
    void publish();
    void beginWhenSettled();
    void change();

    const QString m_url;
    const int m_servers;
    const int m_tuners; ///< of each server
    std::unique_ptr<KoltaConsole::SimulatedInstallation> m_installation;
    std::unique_ptr<distribution::TreeLink> m_link;
    QTimer m_timer;
    int m_published = 0;
    int m_turn = 0;
};

} // namespace Fluency
