#include <koltacommon/singleshotlambda.h>

#include <startup/tracesource.h>
#include <values/tree.h>

#include <QTimer>

#include <algorithm>

namespace Kolta {

namespace {

enum eTracePoint : int { eCaught = 40 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/singleshotlambda");

} // namespace

/// Knows whether an observable still exists, without keeping it from going.
class SingleShotLambda::OwnerWatch : public IObserver
{
public:
    explicit OwnerWatch(Observable* owner) : m_owner(owner) { owner->Attach(this); }

    bool exists() const { return !m_deleted && IsAttachedTo(m_owner); }

    void Update(Observable* source, TChangeCode code) override
    {
        if (code != eChangeState)
            return;
        const auto* const item = dynamic_cast<const values::TreeItem*>(source);
        if (!item || !item->IsDeleted())
            return;
        // Staying attached would keep the deleted item in its tree.
        m_deleted = true;
        source->Detach(this);
    }

private:
    const Observable* m_owner;
    bool m_deleted = false;
};

void SingleShotLambda::Create(int msec, std::function<void()> function)
{
    Create(msec, std::move(function), static_cast<QObject*>(nullptr));
}

void SingleShotLambda::Create(int msec, std::function<void()> function, QObject* parent)
{
    // Owned by its parent or, without one, by itself.
    new SingleShotLambda(msec, std::move(function), parent);
}

void SingleShotLambda::Create(int msec, std::function<void()> function, Observable* owner)
{
    auto* const timer = new SingleShotLambda(msec, std::move(function), nullptr);
    if (owner)
        timer->m_watch = std::make_unique<OwnerWatch>(owner);
}

SingleShotLambda::SingleShotLambda(int msec, std::function<void()>&& function, QObject* parent)
    : QObject(parent), m_function(std::move(function))
{
    QTimer::singleShot(std::max(msec, 0), this, &SingleShotLambda::sl_timeout);
}

SingleShotLambda::~SingleShotLambda() = default;

void SingleShotLambda::sl_timeout()
{
    // Disposed of first: the function may delete the parent or run an event loop.
    const std::function<void()> function = std::move(m_function);
    const bool wanted = function && (!m_watch || m_watch->exists());
    m_watch.reset();
    deleteLater();
    if (!wanted)
        return;
    try {
        function();
    } catch (...) {
        kTrace.caught(eCaught, eCaught, "SingleShotLambda");
    }
}

} // namespace Kolta
