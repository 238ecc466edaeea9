#include "serverrequestwatch.h"

#include <startup/clock.h>

#include <algorithm>
#include <utility>

namespace Kolta {

namespace {

constexpr ServerNodes::eNode kNodes[] = {ServerNodes::eQuit,         ServerNodes::eReset,
                                         ServerNodes::eStopAll,      ServerNodes::eUnitPowerControl,
                                         ServerNodes::eStopResource, ServerNodes::eStartupErrors};

qint64 now()
{
    return Startup::Clock::instance().now();
}

} // namespace

ServerRequestWatch::ServerRequestWatch(std::function<void(const QString&)> startupErrors)
    : m_startupErrors(std::move(startupErrors))
    , m_bindings{Binding(this), Binding(this), Binding(this), Binding(this), Binding(this), Binding(this)}
{
    m_askedAt.fill(-1);
}

ServerRequestWatch::~ServerRequestWatch() = default;

void ServerRequestWatch::bind(const QString& basePath)
{
    for (std::size_t i = 0; i < m_bindings.size(); ++i) {
        if (!m_bindings[i].Get())
            m_bindings[i].Bind(ServerNodes::path(basePath, kNodes[i]));
    }
    if (m_bindings[eErrors].Get())
        Update(m_bindings[eErrors].Get(), eChangeValue);
}

bool ServerRequestWatch::isLate(qint64 time) const
{
    return time < 0 || now() - time > kCountsMs;
}

bool ServerRequestWatch::isStopAskedFor(const QString& guid) const
{
    return !isLate(m_askedAt[eStopAll]) || (!guid.isEmpty() && !isLate(m_stops.value(guid.toLower(), -1)));
}

bool ServerRequestWatch::isUnknownStopAskedFor(const std::function<bool(const QString&)>& isKnown) const
{
    for (auto stop = m_stops.begin(); stop != m_stops.end(); ++stop) {
        if (!isLate(stop.value()) && !isKnown(stop.key()))
            return true;
    }
    return false;
}

bool ServerRequestWatch::isEndAskedFor() const
{
    return !isLate(m_askedAt[eQuit]) || !isLate(m_askedAt[eReset]);
}

bool ServerRequestWatch::isSwitched() const
{
    return !isLate(m_askedAt[ePower]);
}

void ServerRequestWatch::Update(Observable* source, TChangeCode code)
{
    const auto isSource = [source](const Binding& binding) { return binding.Get() == source; };
    const auto binding = std::find_if(m_bindings.begin(), m_bindings.end(), isSource);
    if (!source || binding == m_bindings.end())
        return;
    const values::ValueBase& value = *binding->Get();
    const auto watched = binding - m_bindings.begin();
    const QString text = value.IsDeleted() ? QString() : value.GetStringValue();
    if (watched == eErrors) {
        const auto call = m_startupErrors; // which may delete this
        return call(text);
    }
    if (value.IsDeleted() || text.isEmpty() || code == eChangeState) // it comes, or goes, with its server
        return;
    m_askedAt[static_cast<std::size_t>(watched)] = now();
    if (watched != eStop)
        return;
    for (auto stop = m_stops.begin(); stop != m_stops.end();)
        stop = isLate(stop.value()) ? m_stops.erase(stop) : std::next(stop);
    m_stops.insert(text.toLower(), now());
}

} // namespace Kolta
