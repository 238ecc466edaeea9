#pragma once

#include <QObject>
#include <QThread>

#include <condition_variable>
#include <functional>
#include <mutex>

namespace KoltaSimulation {

/// A thread with an event loop that another thread lets run functions, one at a time, and waits for them.
/// What the function wrote is then the caller's to read, also in the eyes of a race detector that does not
/// see into Qt.
class CallableThread : private QObject
{
public:
    explicit CallableThread(const QString& name);
    /// Ends the event loop and waits.
    ~CallableThread() override;

    /// Not to be called from the thread itself.
    void call(const std::function<void()>& function);

private:
    void customEvent(QEvent* event) override;

    QThread m_thread;
    std::mutex m_callers;
    std::mutex m_mutex;
    std::condition_variable m_done;
    const std::function<void()>* m_function = nullptr; ///< null when it has run
};

} // namespace KoltaSimulation
