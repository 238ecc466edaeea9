#include <distribution/replaycarrier.h>

#include <distribution/replay.h>

#include <utility>

namespace distribution {

ReplayCarrier::ReplayCarrier(std::shared_ptr<Replay> replay) : m_replay(std::move(replay)) {}

ReplayCarrier::~ReplayCarrier()
{
    m_replay->detach(this);
}

void ReplayCarrier::Open(const Will& /*will*/, const Bytes& /*clientId*/)
{
    m_replay->attach(this);
}

void ReplayCarrier::Close()
{
    m_replay->detach(this);
}

void ReplayCarrier::Publish(Publication /*publication*/) {}

void ReplayCarrier::Subscribe(const Bytes& /*filter*/) {}

void ReplayCarrier::Unsubscribe(const Bytes& /*filter*/) {}

Startup::Clock& ReplayCarrier::GetClock() const
{
    return m_replay->m_clock;
}

} // namespace distribution
