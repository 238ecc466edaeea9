#pragma once

#include <functional>
#include <type_traits>

namespace distribution {

/// Calls a carrier's listener, if there is one. It may destroy the carrier, and the function with it.
template<class... Arguments>
void call(const std::function<void(Arguments...)>& listener,
          const typename std::common_type<Arguments>::type&... arguments)
{
    const std::function<void(Arguments...)> copy = listener;
    if (copy)
        copy(arguments...);
}

} // namespace distribution
