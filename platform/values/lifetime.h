#pragma once

#include <memory>
#include <values/export.h>

namespace values {

/// Member of an object that others hold with Weak; a copy of the object begins with a new one. Costs nothing
/// until the first of them asks. One thread only.
class KOLTA_VALUES_EXPORT Life
{
public:
    Life() = default;
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    /// Expires when this is destroyed.
    std::weak_ptr<const void> Watch() const
    {
        if (!m_token)
            m_token = std::make_shared<char>();
        return m_token;
    }

private:
    mutable std::shared_ptr<const void> m_token;
};

/// A pointer that becomes null when its object dies. T has `const Life& GetLife() const`.
template<class T>
class Weak
{
public:
    Weak() = default;
    explicit Weak(T* object) : m_object(object)
    {
        if (object)
            m_life = object->GetLife().Watch();
    }

    T* Get() const noexcept { return m_life.expired() ? nullptr : m_object; }
    explicit operator bool() const noexcept { return Get() != nullptr; }

private:
    T* m_object = nullptr;
    std::weak_ptr<const void> m_life;
};

} // namespace values
