#include "player.h"

#include <koltaconsole/session/options.h>
#include <koltaconsole/session/simulatedinstallation.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/servernodes.h>

#include <distribution/treelink.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>
#include <values/tree.h>

#include <algorithm>
#include <cstdio>

namespace Fluency {

using distribution::TreeLink;
using KoltaSimulation::SimulatedServer;

namespace {

constexpr int kTurnMs = 100;
constexpr int kTurnsOfASecond = 1000 / kTurnMs;
constexpr int kShare = 100; ///< one tuner in so many changes in a second

} // namespace

Player::Player(const QString& url, int servers, int tuners)
    : m_url(url)
    , m_servers(servers)
    , m_tuners(tuners)
    , m_installation(std::make_unique<KoltaConsole::SimulatedInstallation>())
{
}

Player::~Player()
{
    m_link.reset();
    Kolta::KoltaServerRegistry::Instance().removeAllServers();
}

bool Player::start(QString& error)
{
    const auto address = distribution::BrokerAddress::FromUrl(m_url, error);
    if (!address)
        return false;
    KoltaConsole::Options options;
    options.servers = m_servers;
    options.tuners = m_tuners;
    if (!m_installation->start(options, error))
        return false;
    // The client of this process begins the first productions.
    Kolta::KoltaServerRegistry::Instance().setDiscovery(true);
    distribution::LinkOptions link;
    link.mqtt.address = *address;
    m_link = std::make_unique<TreeLink>(values::Tree::Instance(), link);
    connect(m_link.get(), &TreeLink::si_Published, this, [this] {
        if (++m_published == m_servers)
            beginWhenSettled();
    });
    publish();
    return true;
}

void Player::publish()
{
    for (int number = 1; number <= m_servers; ++number) {
        const QString name = QStringLiteral("S%1").arg(number);
        const QString base = m_installation->server(name)->installation().basePath();
        m_link->publish(name,
                        {base, Kolta::ServerNodes::dataPath(base), Kolta::ServerNodes::recordMapPath(base)},
                        Kolta::ServerNodes::path(base, Kolta::ServerNodes::eWorkingState),
                        std::make_unique<distribution::OpenPolicy>());
    }
}

void Player::beginWhenSettled()
{
    const auto areAllUp = [this] {
        const auto& registry = Kolta::KoltaServerRegistry::Instance();
        for (int number = 1; number <= m_servers; ++number) {
            auto* const server = registry.server(QStringLiteral("S%1").arg(number));
            if (!server || server->getState() != Kolta::SERVER_STATES::eOperational)
                return false;
        }
        return m_installation->isSettled();
    };
    if (!areAllUp()) {
        QTimer::singleShot(kTurnMs, this, &Player::beginWhenSettled);
        return;
    }
    // From here on nobody but the servers works here.
    auto& registry = Kolta::KoltaServerRegistry::Instance();
    registry.setDiscovery(false);
    registry.removeAllServers();
    std::puts("ready");
    std::fflush(stdout);
    connect(&m_timer, &QTimer::timeout, this, &Player::change);
    m_timer.start(kTurnMs);
}

/// The changes of one turn: one of a tuner in each of several servers, or several in one server at once.
void Player::change()
{
    const int changes = m_servers * m_tuners / kShare / kTurnsOfASecond;
    const int touched = std::min(m_servers, std::max(1, changes));
    for (int place = 0; place < touched; ++place) {
        const int number = (m_turn * touched + place) % m_servers + 1;
        SimulatedServer& server = *m_installation->server(QStringLiteral("S%1").arg(number));
        const SimulatedServer::Batch batch(server);
        for (int i = 0; i < std::max(1, changes / touched); ++i) {
            const auto& tuner = server.resources().GetTuner().at((m_turn * 7919 + i * 104729) % m_tuners);
            server.setTunerIdle(tuner.GetTavikResource().GetGUID(), !tuner.GetIdle());
        }
    }
    ++m_turn;
}

} // namespace Fluency
