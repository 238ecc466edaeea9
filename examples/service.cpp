// A service that keeps one production running: it orders it, watches it, waits for a server that is away,
// orders it anew when it is lost, and stops it when the service ends. To have something to survive, the
// played server first vanishes and returns with what ran, then without; after that the service ends by
// itself.
#include "localserver.h"

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/koltaserverregistry.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/runningproduction.h>
#include <koltacommon/stopjob.h>

#include <QCoreApplication>
#include <QTimer>

#include <cstdio>
#include <functional>

using Kolta::Operation;
using Kolta::RunningProduction;

namespace {

class Service : public QObject
{
public:
    Service(Kolta::KoltaServerInterface& server, const Kolta::ProductionOrder& order)
        : m_server(server), m_order(order)
    {
        // Ordering is refused while the server is away; it is time for it when the server is there.
        connect(&server, &Kolta::KoltaServerInterface::si_ConnectionChanged, this, [this](bool connected) {
            if (connected && !m_running && !m_job)
                start();
        });
        start();
    }

    void stop()
    {
        m_ending = true;
        if (m_job)
            return m_job->cancel(); // takes back what it has asked for; see start()
        if (!m_running)
            return QCoreApplication::quit();
        m_running->stop(this)->then(this, [](Operation& ended) {
            std::printf("%s\n", ended.text().isEmpty() ? "stopped" : qPrintable(ended.text()));
            QCoreApplication::quit();
        });
    }
    std::function<void()> onRunning; ///< called whenever it runs, again or for the first time

private:
    void start()
    {
        m_job = new Kolta::ProductionJob(m_server, m_order, this);
        m_job->deleteWhenFinished();
        m_job->then(this, [this](Operation& ended) {
            const auto& job = static_cast<Kolta::ProductionJob&>(ended);
            m_job = nullptr;
            if (job.state() == Operation::State::Done)
                return watch(job);
            std::printf("%s\n", qPrintable(job.text()));
            if (m_ending)
                QCoreApplication::quit();
            else if (m_server.getState() != Kolta::SERVER_STATES::eDisconnected)
                QTimer::singleShot(1000, this,
                                   [this] { start(); }); // whatever stood in the way may have gone
        });
    }

    void watch(const Kolta::ProductionJob& job)
    {
        std::printf("%s runs on %s\n", qPrintable(job.order().displayName),
                    qPrintable(job.tuner().GetTavikResource().GetDisplayName()));
        m_running = new RunningProduction(m_server, job.production(), job.processor(), this);
        connect(m_running, &RunningProduction::stateChanged, this, [this](RunningProduction::State state) {
            if (m_ending)
                return; // stop() tells of that
            std::printf("%s\n", state == RunningProduction::State::Running ? "it still runs"
                                                                           : qPrintable(m_running->text()));
            if (state == RunningProduction::State::Ended) {
                m_running->deleteLater();
                m_running = nullptr;
                start();
            } else if (state == RunningProduction::State::Running) {
                onRunning();
            }
        });
        onRunning();
    }

    Kolta::KoltaServerInterface& m_server;
    const Kolta::ProductionOrder m_order;
    Kolta::ProductionJob* m_job = nullptr;
    RunningProduction* m_running = nullptr;
    bool m_ending = false;
};

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("usage: service INSTALLATION-FOLDER TUNER-CLASS\n", stderr);
        return 2;
    }
    LocalServer played(QString::fromLocal8Bit(argv[1]));
    played.appear();
    Kolta::KoltaServerInterface* const server = Kolta::KoltaServerRegistry::Instance().addServer(
        QStringLiteral("S1"), QStringLiteral("/AdminTree/S1"));
    Kolta::ProductionOrder order;
    order.tunerClass = QString::fromLocal8Bit(argv[2]);
    order.displayName = QStringLiteral("watch");
    Service service(*server, order);
    int times = 0;
    service.onRunning = [&] {
        if (++times == 3)
            return service.stop();
        QTimer::singleShot(0, &service, [&] {
            played.vanish();
            if (times == 2)
                played.forget();
        });
        QTimer::singleShot(100, &service, [&] { played.appear(); });
    };
    const int exitCode = QCoreApplication::exec();
    Operation::settleAll(5000); // what was cancelled is still taken back
    return exitCode;
}
