#include "serverlimits.h"

#include <startup/cfgcenter.h>
#include <startup/tracesource.h>

#include <limits>

namespace XmlCommunication {

namespace {

enum eTracePoint : int { eNoNumber = 10 };
constexpr Startup::TraceSource kTrace("platform/xmlmessaging/serverlimits", Startup::eTraceWarning);

/// The configured number, or `fallback` when there is none or it is not one.
qint64 configured(const char* key, qint64 fallback, qint64 largest = std::numeric_limits<int>::max())
{
    const QString group = QStringLiteral("XmlServer");
    const QString text = Startup::CfgCenter::Instance().Text(group, QLatin1String(key));
    if (text.isEmpty())
        return fallback;
    bool ok = false;
    const qint64 value = text.trimmed().toLongLong(&ok);
    if (ok && value >= 0 && value <= largest)
        return value;
    kTrace(eNoNumber,
           QStringLiteral("%1/%2: found \"%3\", expected a number from 0 to %4; %5 holds")
               .arg(group, QLatin1String(key), text, QString::number(largest), QString::number(fallback)));
    return fallback;
}

void readBytes(const char* key, qint64& bytes)
{
    bytes = configured(key, bytes, std::numeric_limits<qint64>::max());
}

void readCount(const char* key, int& count)
{
    count = static_cast<int>(configured(key, count));
}

void readSeconds(const char* key, ServerLimits::Milliseconds& time)
{
    constexpr qint64 kLargest = std::numeric_limits<int>::max() / 1000;
    time = std::chrono::seconds(configured(key, time.count() / 1000, kLargest));
}

} // namespace

ServerLimits ServerLimits::fromConfiguration()
{
    ServerLimits limits;
    readCount("MaxLinks", limits.maxLinks);
    readCount("MaxLinksPerAddress", limits.maxLinksPerAddress);
    readBytes("MaxUnsentBytes", limits.maxUnsentBytes);
    readBytes("MaxUnsentBytesOfAll", limits.maxUnsentBytesOfAll);
    readBytes("MaxUnfinishedBytesOfAll", limits.maxUnfinishedBytesOfAll);
    readSeconds("StallSeconds", limits.stallTime);
    readSeconds("HandshakeSeconds", limits.handshakeTime);
    readSeconds("FirstMessageSeconds", limits.firstMessageTime);
    readSeconds("MessageSeconds", limits.messageTime);
    readSeconds("IdleSeconds", limits.idleTime);
    return limits;
}

} // namespace XmlCommunication
