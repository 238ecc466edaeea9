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

/// The collections stand beside the administrative node, in the tree of the data.
ServerPolicy::ServerPolicy(const QString& administration, const ServerPlaces& places)
    : m_administration(administration)
    , m_places(places)
    , m_shortTime(administration.section(QLatin1Char('/'), 0, -2))
{
    m_shortTime.replace(QLatin1String("/AdminTree/"), QLatin1String("/DataTree/"))
        .append(QLatin1String("/ShortTime/"));
}

bool ServerPolicy::Allows(const Request& request) const
{
    if (request.operation == Operation::Commands && request.path.startsWith(m_shortTime))
        return true;
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
        return first == QLatin1String("ShortTime") && !direct;
    case Operation::Delta:
        return false;
    }
    return false;
}

} // namespace distribution
