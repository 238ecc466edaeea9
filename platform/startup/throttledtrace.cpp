#include <startup/throttledtrace.h>

namespace Startup {

namespace {

constexpr qint64 kPauseMs = 60000;

QString withCount(const QString& text, quint64 others)
{
    return others == 0 ? text : QStringLiteral("%1 (and %2 more like this)").arg(text).arg(others);
}

} // namespace

void ThrottledTrace::tell(const Place& place, const QString& text, qint64 nowMs, quint32 channel)
{
    const auto [found, isFirst] = m_held.try_emplace(place);
    Held& held = found->second;
    if (!isFirst && nowMs < held.toldMs + kPauseMs) {
        ++held.count;
        held.text = text;
        return;
    }
    const quint64 others = held.count;
    held = {nowMs, 0, QString(), channel};
    place.first->write(channel, place.second, withCount(text, others));
}

void ThrottledTrace::flush(qint64 nowMs)
{
    for (auto& [place, held] : m_held) {
        if (held.count == 0 || nowMs < held.toldMs + kPauseMs)
            continue;
        const QString text = withCount(held.text, held.count - 1);
        held = {nowMs, 0, QString(), held.channel};
        place.first->write(held.channel, place.second, text);
    }
}

} // namespace Startup
