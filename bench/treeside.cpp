#include "treeside.h"

#include <QTimer>

namespace Bench {

using distribution::LocalBroker;
using distribution::TreeLink;

namespace {

constexpr int kPatienceMs = 60000;

distribution::LinkOptions optionsFor(const QString& url)
{
    QString error;
    distribution::LinkOptions options;
    options.mqtt.address = *distribution::BrokerAddress::FromUrl(url, error);
    return options;
}

} // namespace

std::unique_ptr<LocalBroker> startBroker()
{
    auto broker = std::make_unique<LocalBroker>(LocalBroker::Settings());
    QString error;
    require(broker->start(error), "the broker does not start");
    return broker;
}

TreeSide::TreeSide(const QString& url) : link(std::make_unique<TreeLink>(tree, optionsFor(url)))
{
    tree.AddListener(this);
}

TreeSide::~TreeSide()
{
    link.reset();
    tree.RemoveListener(this);
}

void TreeSide::publish(const QStringList& names)
{
    QEventLoop loop;
    int waiting = names.size();
    QObject::connect(link.get(), &TreeLink::si_Published, &loop, [&loop, &waiting] {
        if (--waiting == 0)
            loop.quit();
    });
    for (const QString& name : names)
        link->publish(name, {QLatin1Char('/') + name}, QString(),
                      std::make_unique<distribution::OpenPolicy>());
    runLoop(loop);
}

TreeThread::TreeThread(const QString& url)
{
    m_thread.start();
    callOn(m_thread, [this, &url] {
        m_side = std::make_unique<TreeSide>(url);
        return true;
    });
}

TreeThread::~TreeThread()
{
    callOn(m_thread, [this] {
        m_side.reset();
        return true;
    });
    m_thread.quit();
    m_thread.wait();
}

void runLoop(QEventLoop& loop)
{
    bool isLate = false;
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &loop, [&loop, &isLate] {
        isLate = true;
        loop.quit();
    });
    limit.start(kPatienceMs);
    loop.exec();
    require(!isLate, "what was waited for did not come within a minute");
}

} // namespace Bench
