#include "liveoutput.h"

#include "output.h"

#include <QDateTime>

#include <sys/stat.h>
#include <unistd.h>

namespace KoltaCli {

QString now()
{
    return QDateTime::currentDateTime().toString(Qt::ISODateWithMs);
}

std::unique_ptr<QSocketNotifier> watchOutput()
{
    struct stat status = {};
    if (::fstat(STDOUT_FILENO, &status) != 0 || !S_ISFIFO(status.st_mode))
        return nullptr;
    auto notifier = std::make_unique<QSocketNotifier>(STDOUT_FILENO, QSocketNotifier::Exception);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [watch = notifier.get()] {
        watch->setEnabled(false);
        setOutputLost();
    });
    return notifier;
}

} // namespace KoltaCli
