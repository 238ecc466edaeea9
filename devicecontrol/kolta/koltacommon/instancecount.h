#pragma once

#include <atomic>

namespace Kolta {

/// Counts the living objects of a family of classes, so that a test, or a console's self-check, can see that
/// nothing is left behind. A class takes part by having an InstanceCount<Itself> as a member.
template<class Family>
class InstanceCount
{
public:
    InstanceCount() noexcept { ++s_living; }
    InstanceCount(const InstanceCount&) noexcept { ++s_living; }
    InstanceCount& operator=(const InstanceCount&) noexcept = default;
    ~InstanceCount() { --s_living; }

    /// Objects that are alive now. From any thread.
    static int living() noexcept { return s_living.load(); }

private:
    inline static std::atomic<int> s_living{0};
};

} // namespace Kolta
