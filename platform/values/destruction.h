#pragma once

#include <values/export.h>

class Observable;

namespace values {

/// What an IObserver derives from besides when it must know that an observable is destroyed under it, for
/// which there is no change code. Called by the observable's destructor, once it is detached: `source` is
/// good for comparison only, and the tree that it was in may be dying too. May destroy any observer.
class KOLTA_VALUES_EXPORT IDestructionObserver
{
public:
    virtual ~IDestructionObserver() = default;
    virtual void OnDestroyed(const Observable* source) = 0;
};

} // namespace values
