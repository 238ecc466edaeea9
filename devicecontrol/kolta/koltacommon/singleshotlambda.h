#pragma once

#include <koltacommon/export.h>

#include <QObject>

#include <functional>
#include <memory>

class Observable;

namespace Kolta {

/// Runs a function once, later, on the calling thread, which needs an event loop; disposes of itself.
/// An exception from the function is traced and goes no further.
class KOLTA_COMMON_EXPORT SingleShotLambda : public QObject
{
    Q_OBJECT

public:
    /// Runs `function` after `msec` milliseconds (a negative number counts as 0).
    static void Create(int msec, std::function<void()> function);
    /// The same, unless `parent`, which lives on this thread, is destroyed before. Null: tied to nothing.
    static void Create(int msec, std::function<void()> function, QObject* parent);
    /// The same, unless `owner` is destroyed before or, being an item of the value tree, deleted from it.
    /// Null: tied to nothing.
    static void Create(int msec, std::function<void()> function, Observable* owner);

private Q_SLOTS:
    void sl_timeout();

private:
    class OwnerWatch;

    SingleShotLambda(int msec, std::function<void()>&& function, QObject* parent);
    ~SingleShotLambda() override;

    std::function<void()> m_function;
    std::unique_ptr<OwnerWatch> m_watch;
};

} // namespace Kolta
