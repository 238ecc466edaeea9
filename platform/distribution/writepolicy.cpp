#include <distribution/writepolicy.h>

namespace distribution {

QString IWritePolicy::WhyNot(const Request& /*request*/) const
{
    return QStringLiteral("no right to do this");
}

void IWritePolicy::Execute(const Writer& /*writer*/, const std::function<void()>& wish)
{
    wish();
}

ServerPolicy::ServerPolicy(const QString& administration, const ServerPlaces& places)
    : m_administration(administration), m_places(places)
{
}

bool ServerPolicy::Allows(const Request& request) const
{
    if (request.operation == Operation::Commands)
        return !m_places.collections.isEmpty() && request.path.startsWith(m_places.collections);
    if (!request.path.startsWith(m_administration + QLatin1Char('/')))
        return false;
    const QString below = request.path.mid(m_administration.size() + 1);
    const QString first = below.section(QLatin1Char('/'), 0, 0);
    const bool direct = first.size() == below.size();
    const bool onShelf = m_places.shelves.contains(first);
    const bool asks = direct && m_places.requests.contains(first);
    switch (request.operation) {
    case Operation::Add:
        return onShelf && !direct;
    case Operation::Remove:
        return request.ownItem;
    case Operation::Set:
        return asks || (direct && m_places.wholes.contains(first) && request.compare) ||
               (onShelf && request.ownItem);
    case Operation::Announce:
    case Operation::Order:
        return asks || (onShelf && request.ownItem);
    case Operation::Commands:
    case Operation::Delta:
        return false;
    }
    return false;
}

} // namespace distribution
