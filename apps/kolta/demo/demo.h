#pragma once

#include "demoproductions.h"
#include "demoreport.h"
#include "demoshorttime.h"

#include <kolta/application/requesttracker.h>
#include <kolta/application/session.h>
#include <kolta/application/temporaryconfiguration.h>

#include <koltacommon/koltaresourceobserver.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>

#include <QHash>
#include <QObject>
#include <QStringList>

#include <memory>

namespace Kolta {
class TunerClassTree;
}

namespace KoltaCli {

/// The main job, told step by step. Server and application share the process, the event loop and the value
/// tree; the requests go over real loopback TCP.
class Demo : public QObject
{
    Q_OBJECT

public:
    Demo(const KoltaSimulation::Installation& installation, bool json, int timeoutMs);
    ~Demo() override;

    /// Runs the steps up to the first that fails, then sums up; returns an eExitCode.
    int run();

private Q_SLOTS:
    void faultTextsArrived() { m_faultTextsArrived = true; }

private:
    bool startServer();
    bool connectAndDescribe();
    bool loadFaultTexts();
    bool mirrorResources();
    bool followChanges();
    bool askInVain();
    bool surviveLostLink();
    bool allocateTuners();
    bool bringUpServer() { return m_productions.bringUpServer(); }
    bool startProduction() { return m_productions.startProduction(); }
    bool refuseProduction() { return m_productions.refuseProduction(); }
    bool moveFfp() { return m_productions.moveFfp(); }
    bool endOneMcp() { return m_productions.endOneMcp(); }
    bool surviveServer() { return m_productions.surviveServer(m_session.get()); }
    bool stopProductions() { return m_productions.stopProductions(); }
    bool shareShortTime() { return shareShortTimeData(m_report, m_server, m_timeoutMs); }
    bool summarise();

    XmlCommon::ptrCXmlMessage ask(const XmlCommon::CMsgFragment& query);
    void tellLinkLoss(QObject& scope);
    void queueRequestsAndCutLink(const QStringList& guids);
    void tellDeliveries(const QStringList& guids, int firstRequest, const QHash<QString, int>& seen);

    void tellChoice(const Kolta::TunerClassTree& tree, const QString& className);
    void tellPlans(const Kolta::TunerClassTree& tree, const QString& className, int freeTuners);

    DemoReport m_report;
    int m_timeoutMs;
    TemporaryConfiguration m_configuration;
    KoltaSimulation::SimulatedServer m_server;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<RequestTracker> m_tracker;
    std::unique_ptr<Kolta::KoltaResourceObserver> m_resources;
    DemoProductions m_productions;
    bool m_faultTextsArrived = false;
};

} // namespace KoltaCli
