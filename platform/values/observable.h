#pragma once

#include <cstdint>
#include <memory>
#include <vector>

class Observable;

/// What happened to an observable. Codes that are not named here pass through unchanged.
enum TChangeCode : int {
    eChangeState = 2,        ///< the value was deleted or exists again: ask it for its state
    eChangeValue = 3,        ///< the value's content changed, or is announced again
    eChangeContent = 7,      ///< a list-like content changed as a whole
    eChangeChildAdded = 16,  ///< a child appeared below the observed node
    eChangeChildRemoved = 17,///< a child of the observed node was deleted
    eChangeUser = 19         ///< a user notice; its meaning is agreed between writer and reader
};

/// Hears of changes of the observables that it is attached to.
/// The destructor detaches it from all of them, also in the middle of a notification.
class IObserver
{
public:
    virtual ~IObserver();
    /// Called on the thread that changes the observable (for tree items: the tree's thread).
    /// May attach, detach or destroy any observer, itself included, and may delete the observable.
    virtual void Update(Observable* source, TChangeCode code) = 0;

protected:
    IObserver() = default;
    /// Copies are attached to nothing.
    IObserver(const IObserver&) {}
    IObserver& operator=(const IObserver&) { return *this; }

private:
    friend class Observable;
    std::vector<Observable*> m_attachedTo;
};

/// Something whose changes can be observed.
///
/// Observers are called in the order in which they were attached. During a notification observers may come and
/// go: one that is detached before its turn is not called, one that is attached meanwhile hears the next
/// notification first. Notifications may nest. Not thread-safe: one thread only.
class Observable
{
public:
    Observable();
    virtual ~Observable();

    /// Attaching twice has no further effect; null is ignored.
    void Attach(IObserver* observer);
    void Detach(IObserver* observer);
    bool IsAttached(const IObserver* observer) const;
    bool HasObservers() const noexcept;
    int ObserverCount() const noexcept;

    /// Calls every observer but `originator`, who made the change and knows of it (null: calls all).
    void Notify(TChangeCode code, IObserver* originator = nullptr);

    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

protected:
    /// Called when the last observer has gone and no notification runs. May delete this.
    virtual void OnUnobserved() {}

private:
    friend class IObserver;
    struct Walk;
    std::vector<IObserver*> m_observers; ///< null where one was detached during a notification
    Walk* m_walk = nullptr;              ///< innermost running notification
    int m_count = 0;
};
