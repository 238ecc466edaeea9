#include <values/observable.h>

#include <values/destruction.h>

#include <algorithm>

namespace {
constexpr auto kNoLink = static_cast<std::size_t>(-1);
}

/// A running notification. It lives on the stack of Notify(); the observable's destructor cuts it off.
struct Observable::Walk
{
    explicit Walk(Observable& observable) : source(&observable), outer(observable.m_walk)
    {
        observable.m_walk = this;
    }
    ~Walk()
    {
        if (!source)
            return;
        source->m_walk = outer;
        if (!outer)
            source->settle();
    }
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    Observable* source; ///< null once the observable is gone
    Walk* outer;
};

IObserver::~IObserver()
{
    while (!m_links.empty())
        m_links.back().source->release(*this, m_links.size() - 1);
}

bool IObserver::IsAttachedTo(const Observable* source) const noexcept
{
    return std::any_of(m_links.begin(), m_links.end(),
                       [source](const Link& link) { return link.source == source; });
}

void IObserver::forget(std::size_t link) noexcept
{
    const Link last = m_links.back();
    m_links[link] = last;
    last.source->m_slots[last.slot].link = link;
    m_links.pop_back();
}

Observable::Observable() = default;

Observable::~Observable()
{
    for (Walk* walk = m_walk; walk; walk = walk->outer)
        walk->source = nullptr;
    std::vector<values::Weak<IObserver>> toTell;
    for (const Slot& slot : m_slots) {
        if (!slot.observer)
            continue;
        slot.observer->forget(slot.link);
        if (dynamic_cast<values::IDestructionObserver*>(slot.observer))
            toTell.emplace_back(slot.observer);
    }
    for (const auto& weak : toTell) {
        if (auto* const observer = dynamic_cast<values::IDestructionObserver*>(weak.Get()))
            observer->OnDestroyed(this);
    }
}

void Observable::Attach(IObserver* observer)
{
    if (!observer || findLink(*observer) != kNoLink)
        return;
    // Room on both sides first, so that a lack of memory cannot leave half a link behind.
    m_slots.push_back({nullptr, 0});
    observer->m_links.push_back({this, m_slots.size() - 1});
    m_slots.back() = {observer, observer->m_links.size() - 1};
    ++m_count;
}

void Observable::Detach(IObserver* observer)
{
    const std::size_t link = observer ? findLink(*observer) : kNoLink;
    if (link != kNoLink)
        release(*observer, link);
}

bool Observable::IsAttached(const IObserver* observer) const
{
    return observer && findLink(*observer) != kNoLink;
}

void Observable::Notify(TChangeCode code, IObserver* originator)
{
    if (m_count == 0)
        return;
    Walk walk(*this);
    const std::size_t end = m_slots.size();
    for (std::size_t i = 0; walk.source && i < end; ++i) {
        IObserver* const observer = m_slots[i].observer;
        if (observer && observer != originator)
            observer->Update(this, code);
    }
}

/// Searches the shorter of the two lists.
std::size_t Observable::findLink(const IObserver& observer) const noexcept
{
    const auto& links = observer.m_links;
    if (links.size() <= m_count) {
        const auto it = std::find_if(links.begin(), links.end(),
                                     [this](const IObserver::Link& link) { return link.source == this; });
        return it == links.end() ? kNoLink : static_cast<std::size_t>(it - links.begin());
    }
    const auto it = std::find_if(m_slots.begin(), m_slots.end(),
                                 [&observer](const Slot& slot) { return slot.observer == &observer; });
    return it == m_slots.end() ? kNoLink : it->link;
}

void Observable::release(IObserver& observer, std::size_t link)
{
    const std::size_t slot = observer.m_links[link].slot;
    observer.forget(link);
    m_slots[slot].observer = nullptr;
    --m_count;
    if (!m_walk)
        settle();
}

/// Closes the gaps once they outnumber the observers, so that many detachments stay linear together.
void Observable::settle()
{
    if (m_slots.size() > 2 * m_count) {
        std::size_t used = 0;
        for (const Slot& slot : m_slots) {
            if (!slot.observer)
                continue;
            slot.observer->m_links[slot.link].slot = used;
            m_slots[used++] = slot;
        }
        m_slots.resize(used);
    }
    if (m_count == 0)
        OnUnobserved();
}
