#pragma once

#include "demoreport.h"

#include <kolta/application/productionorder.h>
#include <kolta/application/servers.h>

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

namespace Kolta {
class HardwareProcessingController;
}
namespace KoltaSimulation {
class SimulatedServer;
}

namespace KoltaCli {

class Session;

/// The part of the demo that is about productions; its steps come in the order of their declaration. Where
/// the installation has no tuner to produce on, they say so.
class DemoProductions : public QObject
{
    Q_OBJECT

public:
    /// All must outlive this.
    DemoProductions(DemoReport& report, KoltaSimulation::SimulatedServer& server, int timeoutMs);
    ~DemoProductions() override;

    bool bringUpServer();
    bool startProduction();
    bool refuseProduction();
    bool moveFfp();
    bool endOneMcp();
    /// `session` is the link to the server, which dies with it and is opened again.
    bool surviveServer(Session* session);
    bool stopProductions();

private:
    /// What the mirrors show of one running processor.
    struct Sight
    {
        QString processor; ///< what the running processors have
        QString tuner;     ///< what the booking has
        QString driver;    ///< what the driver tells of itself
        QString hardware;
    };

    bool waitForServer(const QString& whatMustHold);
    ProductionOutcome start(ProductionOrder::eKind kind, const QString& mcp = QString());
    void chooseClass();
    bool isPossible();
    void tellMirrors(const ProductionOutcome& outcome);
    Sight look(const ProductionOutcome& outcome) const;
    bool isSeen(const ProductionOutcome& outcome) const;
    void checkNothingRuns(const QString& when);
    void tellDeath(QStringList& heard, QObject& scope);

    DemoReport& m_report;
    KoltaSimulation::SimulatedServer& m_simulated;
    int m_timeoutMs;
    Server* m_server = nullptr; ///< known to the registry while this lives
    std::unique_ptr<Kolta::HardwareProcessingController> m_hardware;
    QString m_className;       ///< empty when the installation has no free tuner
    bool m_inHardware = false; ///< productions on its tuners are processed in hardware
    int m_freeTuners = 0;
    ProductionOutcome m_first;
    ProductionOutcome m_second;
};

} // namespace KoltaCli
