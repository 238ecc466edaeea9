#include <distribution/carrier.h>

#include <startup/clock.h>

namespace distribution {

ICarrier::ICarrier() = default;

ICarrier::~ICarrier() = default;

Startup::Clock& ICarrier::GetClock() const
{
    return Startup::Clock::machine();
}

} // namespace distribution
