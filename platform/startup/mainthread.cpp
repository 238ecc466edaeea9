#include <startup/mainthread.h>

#include <QCoreApplication>
#include <QThread>

#include <mutex>
#include <utility>
#include <vector>

namespace Startup {

namespace {

std::mutex theMutex;
std::vector<QObject*> theHomeless; // guarded by theMutex

/// Runs on the application's thread, in the constructor of the application object.
void adoptHomeless()
{
    const std::lock_guard<std::mutex> lock(theMutex);
    for (QObject* object : std::exchange(theHomeless, {}))
        object->moveToThread(QThread::currentThread());
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(adoptHomeless)

void LiveOnMainThread(QObject* object)
{
    const std::lock_guard<std::mutex> lock(theMutex);
    QCoreApplication* const application = QCoreApplication::instance();
    object->moveToThread(application ? application->thread() : nullptr);
    if (!application)
        theHomeless.push_back(object);
}

} // namespace Startup
