#include <distribution/wishaudit.h>

#include <startup/tracesource.h>

namespace distribution {

namespace {

enum eTracePoint : int { eWish = 10 };
constexpr Startup::TraceSource kTrace("platform/distribution/audit", Startup::eTraceInfo);

QString ToText(Operation operation)
{
    switch (operation) {
    case Operation::Add:
        return QStringLiteral("add");
    case Operation::Remove:
        return QStringLiteral("remove");
    case Operation::Set:
        return QStringLiteral("set");
    case Operation::Announce:
        return QStringLiteral("announce");
    case Operation::Order:
        return QStringLiteral("order");
    case Operation::Commands:
        return QStringLiteral("commands on");
    case Operation::Delta:
        break;
    }
    return QStringLiteral("change");
}

/// Without the path, with which reasons begin.
QString ToText(const Change& change, const Failure& failure)
{
    if (failure.result == WishResult::Executed)
        return QStringLiteral("done");
    const QString prefix = change.path + QStringLiteral(": ");
    const QString reason =
        failure.reason.startsWith(prefix) ? failure.reason.mid(prefix.size()) : failure.reason;
    return (failure.result == WishResult::Conflict ? QStringLiteral("conflict, ")
                                                   : QStringLiteral("refused, ")) +
           reason;
}

} // namespace

QString PlaceOf(const Writer& writer)
{
    return writer.host.isEmpty() && writer.program.isEmpty()
               ? QStringLiteral("an unknown place")
               : writer.host + QLatin1Char('/') + writer.program;
}

void Audit(const Writer& writer, const Change& change, const Failure& failure)
{
    if (!Startup::ErrorHandler::Instance().isEnabled(Startup::eTraceInfo))
        return;
    kTrace(eWish, QStringLiteral("%1 from %2: %3 %4: %5")
                      .arg(QString::fromStdString(writer.user), PlaceOf(writer), ToText(change.operation),
                           change.path, ToText(change, failure)));
}

} // namespace distribution
