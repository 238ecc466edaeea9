#pragma once

#include "demoreport.h"
#include "requesttracker.h"
#include "session.h"

#include <koltacommon/koltaresourceobserver.h>
#include <simulation/installation.h>
#include <simulation/simulatedserver.h>

#include <QObject>
#include <QTemporaryDir>

#include <memory>

namespace KoltaCli {

/// The main job, told step by step. Server and application share the process, the event loop and the value tree; the
/// requests go over real loopback TCP.
class Demo : public QObject
{
    Q_OBJECT

public:
    Demo(const KoltaSimulation::Installation& installation, bool json, int timeoutMs);
    ~Demo() override;

    /// Runs all steps, stops at the first that nothing can follow; returns an eExitCode.
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
    bool summarise();

    void changeResources();
    XmlCommon::ptrCXmlMessage ask(const XmlCommon::CMsgFragment& query);
    void queueRequestsAndCutLink(int count);

    DemoReport m_report;
    int m_timeoutMs;
    QTemporaryDir m_folder; ///< the demo's own configuration; nothing of the user's is touched
    KoltaSimulation::SimulatedServer m_server;
    std::unique_ptr<Session> m_session;
    std::unique_ptr<RequestTracker> m_tracker;
    std::unique_ptr<Kolta::KoltaResourceObserver> m_resources;
    int m_openings = 0;
    int m_socketErrors = 0;
    bool m_faultTextsArrived = false;
};

} // namespace KoltaCli
