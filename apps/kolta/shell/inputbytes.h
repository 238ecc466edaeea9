#pragma once

#include <QObject>

class QEventLoop;

namespace KoltaCli {

/// Bytes from a descriptor. Waiting for them runs the event loop, so that timers, sockets and simulated
/// servers live on meanwhile.
class InputBytes : public QObject
{
    Q_OBJECT

public:
    enum class Result {
        Data,
        Interrupted, ///< by interrupt(); nothing was read
        End,
        Failed ///< errno says why
    };

    /// The descriptor stays the caller's.
    explicit InputBytes(int descriptor) : m_descriptor(descriptor) {}

    /// Waits for at least one byte and reads at most `size`; `count` says how many.
    Result read(char* target, int size, int& count);
    /// Ends the wait that runs, or else the next one.
    void interrupt();

private:
    int m_descriptor;
    QEventLoop* m_wait = nullptr;
    bool m_interrupted = false;
};

} // namespace KoltaCli
