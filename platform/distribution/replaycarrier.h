#pragma once

#include <distribution/carrier.h>
#include <distribution/export.h>

#include <values/lifetime.h>

#include <memory>

namespace distribution {

class Replay;

/// A carrier whose messages come from a recording, in the recording's time. One at a time can listen to a
/// replay; another is told that it is in use. What is published goes nowhere, and what was heard of all
/// branches comes whatever is subscribed.
class KOLTA_DISTRIBUTION_EXPORT ReplayCarrier final : public ICarrier
{
public:
    explicit ReplayCarrier(std::shared_ptr<Replay> replay);
    ~ReplayCarrier() override;

    void Open(const Will& will, const Bytes& clientId) override;
    void Close() override;
    void Publish(Publication publication) override;
    void Subscribe(const Bytes& filter) override;
    void Unsubscribe(const Bytes& filter) override;
    Startup::Clock& GetClock() const override;
    bool IsReplay() const override { return true; }
    /// For values::Weak.
    const values::Life& GetLife() const noexcept { return m_life; }

private:
    const std::shared_ptr<Replay> m_replay;
    values::Life m_life;
};

} // namespace distribution
