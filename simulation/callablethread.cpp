#include <simulation/callablethread.h>

#include <QCoreApplication>
#include <QEvent>

namespace KoltaSimulation {

CallableThread::CallableThread(const QString& name)
{
    m_thread.setObjectName(name);
    moveToThread(&m_thread);
    m_thread.start();
}

CallableThread::~CallableThread()
{
    m_thread.quit();
    m_thread.wait();
}

void CallableThread::call(const std::function<void()>& function)
{
    const std::lock_guard<std::mutex> onlyCaller(m_callers);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_function = &function;
    QCoreApplication::postEvent(this, new QEvent(QEvent::User));
    m_done.wait(lock, [this] { return m_function == nullptr; });
}

void CallableThread::customEvent(QEvent*)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    (*m_function)();
    m_function = nullptr;
    m_done.notify_one();
}

} // namespace KoltaSimulation
