#include <distribution/writepolicy.h>

#include <QSet>

namespace distribution {

namespace {

/// Nodes below which clients keep items of their own.
bool isShelf(const QString& name)
{
    return name == QLatin1String("RequestsNode") || name == QLatin1String("Clients") ||
           name == QLatin1String("ConnectionInfo");
}

/// Values by which clients ask for something.
bool isRequest(const QString& name)
{
    static const QSet<QString> names{
        QStringLiteral("ChangedTuners"),    QStringLiteral("ChangedPUs"),   QStringLiteral("ChangedSUs"),
        QStringLiteral("UnitPowerControl"), QStringLiteral("OwnerRequest"), QStringLiteral("StopResource"),
        QStringLiteral("stopAll"),          QStringLiteral("reset"),        QStringLiteral("Quit")};
    return names.contains(name);
}

/// Values that clients read, change and write back as a whole.
bool isWhole(const QString& name)
{
    return name == QLatin1String("HardwareProcessing") || name == QLatin1String("TunerClasses") ||
           name == QLatin1String("Resources");
}

} // namespace

QString IWritePolicy::WhyNot(const Request& /*request*/) const
{
    return QStringLiteral("no right to do this");
}

void IWritePolicy::Execute(const Writer& /*writer*/, const std::function<void()>& wish)
{
    wish();
}

/// The collections stand beside the administrative node, in the tree of the data.
ServerPolicy::ServerPolicy(const QString& administration)
    : m_administration(administration), m_shortTime(administration.section(QLatin1Char('/'), 0, -2))
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
    switch (request.operation) {
    case Operation::Add:
        return isShelf(first) && !direct;
    case Operation::Remove:
        return request.ownItem;
    case Operation::Set:
        return (direct && isRequest(first)) || (direct && isWhole(first) && request.compare) ||
               (isShelf(first) && request.ownItem);
    case Operation::Announce:
    case Operation::Order:
        return (direct && isRequest(first)) || (isShelf(first) && request.ownItem);
    case Operation::Commands:
        return first == QLatin1String("ShortTime") && !direct;
    case Operation::Delta:
        return false;
    }
    return false;
}

} // namespace distribution
