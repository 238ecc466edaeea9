#include "processusage.h"

#include <QDir>
#include <QFile>

namespace Soak {

ProcessUsage ProcessUsage::of(qint64 processId)
{
    const QString folder = QStringLiteral("/proc/%1/").arg(processId);
    ProcessUsage usage;
    usage.descriptors = static_cast<int>(QDir(folder + QStringLiteral("fd")).count());
    QFile status(folder + QStringLiteral("status"));
    if (!status.open(QIODevice::ReadOnly))
        return usage;
    for (const QByteArray& line : status.readAll().split('\n')) {
        const auto number = [&line] { return line.simplified().split(' ').value(1).toLongLong(); };
        if (line.startsWith("Threads:"))
            usage.threads = static_cast<int>(number());
        else if (line.startsWith("VmRSS:"))
            usage.bytes = number() * 1024;
    }
    return usage;
}

} // namespace Soak
