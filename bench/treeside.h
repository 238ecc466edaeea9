#pragma once

#include "figure.h"
#include "threadcall.h"

#include <distribution/localbroker.h>
#include <distribution/treelink.h>
#include <values/tree.h>
#include <values/value.h>

#include <QEventLoop>
#include <QThread>

#include <functional>
#include <memory>

namespace Bench {

/// A broker with nobody but us.
std::unique_ptr<distribution::LocalBroker> startBroker();

/// A tree and its link, as a process has them. Lives on the thread that makes it, which needs an event loop.
class TreeSide : public values::ITreeListener
{
public:
    explicit TreeSide(const QString& url);
    ~TreeSide() override;

    /// Publishes what is below "/NAME" for each name, and returns once that is so.
    void publish(const QStringList& names);
    /// Told of every text that changes or comes.
    std::function<void(values::StringValue& value)> onText;

    void OnItemAdded(values::TreeItem& item) override { tell(item); }
    void OnItemRemoved(values::TreeItem& /*item*/) override {}
    void OnItemChanged(values::TreeItem& item, TChangeCode /*code*/, IObserver* /*by*/) override
    {
        tell(item);
    }

    values::Tree tree;
    std::unique_ptr<distribution::TreeLink> link;

private:
    void tell(values::TreeItem& item)
    {
        auto* const value = onText ? dynamic_cast<values::StringValue*>(&item) : nullptr;
        if (value)
            onText(*value);
    }
};

/// A side on a thread of its own.
class TreeThread
{
public:
    explicit TreeThread(const QString& url);
    ~TreeThread();

    /// Runs `work(side)` there and gives back its result.
    template<class Work>
    auto call(const Work& work)
    {
        return callOn(m_thread, [this, &work] { return work(*m_side); });
    }

private:
    QThread m_thread;
    std::unique_ptr<TreeSide> m_side;
};

/// Runs this thread's event loop until `loop` is left; throws after a minute.
void runLoop(QEventLoop& loop);

} // namespace Bench
