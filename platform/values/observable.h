#pragma once

#include <values/export.h>
#include <values/lifetime.h>

#include <cstddef>
#include <vector>

class Observable;

/// What happened to an observable. Codes that are not named here pass through unchanged.
enum TChangeCode : int {
    eChangeState = 2,         ///< the value was deleted or exists again: ask it for its state
    eChangeValue = 3,         ///< the value's content changed, or is announced again
    eChangeContent = 7,       ///< a list-like content changed as a whole
    eChangeChildAdded = 16,   ///< a child appeared below the observed node
    eChangeChildRemoved = 17, ///< a child of the observed node was deleted
    eChangeUser = 19          ///< a user notice; its meaning is agreed between writer and reader
};

/// Hears of changes of the observables that it is attached to.
/// The destructor detaches it from all of them, also in the middle of a notification.
class KOLTA_VALUES_EXPORT IObserver
{
public:
    virtual ~IObserver();
    /// Called on the thread that changes the observable (for tree items: the tree's thread).
    /// May attach, detach or destroy any observer, itself included, and may delete the observable.
    virtual void Update(Observable* source, TChangeCode code) = 0;

    /// Whether it is attached to `source`. Never looks into `source`, so a holder may ask with a pointer to
    /// an observable that may have died meanwhile: the answer is then false.
    bool IsAttachedTo(const Observable* source) const noexcept;
    /// For values::Weak, with which originators are held.
    const values::Life& GetLife() const noexcept { return m_life; }

protected:
    IObserver() = default;
    /// Copies are attached to nothing.
    IObserver(const IObserver&) {}
    /// Leaves the attachments of both sides as they are.
    IObserver& operator=(const IObserver&) { return *this; }

private:
    friend class Observable;
    /// One attachment, seen from the observer.
    struct Link
    {
        Observable* source;
        std::size_t slot; ///< where the source keeps this observer
    };
    void forget(std::size_t link) noexcept;

    std::vector<Link> m_links; ///< in no order
    values::Life m_life;
};

/// Something whose changes can be observed.
///
/// Observers are called in the order in which they were attached. During a notification observers may come
/// and go: one that is detached before its turn is not called, one that is attached meanwhile hears the next
/// notification first. Notifications may nest. Attaching and detaching take constant time as long as either
/// the observable has few observers or the observer few observables. Not thread-safe: one thread only.
class KOLTA_VALUES_EXPORT Observable
{
public:
    Observable();
    /// Frees its observers and tells only IDestructionObservers; a running notification ends with its call.
    virtual ~Observable();

    /// Attaching twice has no further effect; null is ignored.
    void Attach(IObserver* observer);
    /// Null and observers that are not attached are ignored. May delete this: see OnUnobserved().
    void Detach(IObserver* observer);
    bool IsAttached(const IObserver* observer) const;
    bool HasObservers() const noexcept { return m_count > 0; }
    int ObserverCount() const noexcept { return static_cast<int>(m_count); }
    /// Whether a notification runs at this moment.
    bool IsNotifying() const noexcept { return m_walk != nullptr; }

    /// Calls every observer but `originator`, who made the change and knows of it (null: calls all).
    /// This may be deleted when it returns, by an observer or by OnUnobserved().
    void Notify(TChangeCode code, IObserver* originator = nullptr);

    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

protected:
    /// Called when the last observer has gone and no notification runs. May delete this.
    virtual void OnUnobserved() {}

private:
    friend class IObserver;
    struct Walk;
    /// One attachment, seen from the observable.
    struct Slot
    {
        IObserver* observer; ///< null where one was detached
        std::size_t link;    ///< where the observer keeps this observable
    };
    std::size_t findLink(const IObserver& observer) const noexcept;
    void release(IObserver& observer, std::size_t link);
    void settle();

    std::vector<Slot> m_slots; ///< in the order of attaching
    std::size_t m_count = 0;   ///< slots in use
    Walk* m_walk = nullptr;    ///< innermost running notification
};
