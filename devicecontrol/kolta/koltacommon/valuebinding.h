#pragma once

#include <values/tree.h>

namespace Kolta {

/// Keeps one observer attached to one value of the value tree, from Bind() until Release() or destruction.
/// A value that is deleted meanwhile stays bound as a tombstone, so the observer hears when it comes back.
/// Lives on the tree's thread. It may outlive the value and the tree (an observer of static lifetime does):
/// it is then bound to nothing.
template<class V>
class ValueBinding
{
public:
    /// `observer` is not owned and must outlive the binding.
    explicit ValueBinding(IObserver* observer) noexcept : m_observer(observer) {}
    ~ValueBinding() { Release(); }

    /// Drops the present binding and binds to the value at `path`. False, and nothing is bound, when there is
    /// no item or one of another type.
    bool Bind(const QString& path)
    {
        Release();
        m_value = values::Tree::Instance().FindAs<V>(path);
        if (m_value)
            m_value->Attach(m_observer);
        return m_value != nullptr;
    }
    void Release()
    {
        if (V* const value = Get())
            value->Detach(m_observer);
        m_value = nullptr;
    }
    /// The bound value, owned by the tree; null when nothing is bound.
    V* Get() const noexcept { return m_observer->IsAttachedTo(m_value) ? m_value : nullptr; }

    ValueBinding(const ValueBinding&) = delete;
    ValueBinding& operator=(const ValueBinding&) = delete;

private:
    IObserver* m_observer;
    V* m_value = nullptr; ///< dangles when the value died; only looked into while the observer is attached
};

} // namespace Kolta
