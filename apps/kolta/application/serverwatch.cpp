#include "serverwatch.h"

#include "processordirectory.h"

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaproductioncontrol.h>
#include <koltacommon/koltaserverinterface.h>

namespace KoltaCli {

using Kolta::HardwareProcessingObserver;
using Kolta::KoltaProcessorObserver;
using Kolta::KoltaProductionControl;

namespace {

QSet<QString> guidsOf(const HardwareProcessingObserver& observer)
{
    QSet<QString> guids;
    for (const auto& entry : observer.getActiveHWProcessors().GetHWProcessing())
        guids.insert(entry.GetGUID());
    return guids;
}

} // namespace

ServerWatch::ServerWatch(Server& server) : m_server(server), m_resources(server.getResourceObserver())
{
    for (const ProcessorEntry& entry : ProcessorDirectory({&server}).all())
        m_names.insert(entry.guid, entry.name);
    m_hardware = guidsOf(server.getHWProcessingObserver());
    connect(&m_resources, &ResourceWatch::changed, this, [this](const QString& guid, const QString& text) {
        Q_EMIT happened(QStringLiteral("resource"), guid, text);
    });
    watchServer();
    watchProcessors();
    watchProductions();
    watchHardware();
}

QString ServerWatch::nameOf(const QString& guid)
{
    const QString name = m_server.getProcessorObserver().GetDisplayNameByGUID(guid);
    if (!name.isEmpty())
        m_names.insert(guid, name);
    return m_names.value(guid, guid);
}

void ServerWatch::watchServer()
{
    connect(&m_server, &Server::si_StateChanged, this, [this](Kolta::SERVER_STATES::eServerState state) {
        Q_EMIT happened(QStringLiteral("state"), QString(),
                        QStringLiteral("state %1 %2").arg(state).arg(m_server.getStateString(state)));
    });
    connect(&m_server, &Server::si_StatusMessageChanged, this, [this](const QString& message) {
        Q_EMIT happened(QStringLiteral("message"), QString(), QStringLiteral("says: ") + message);
    });
}

void ServerWatch::watchProcessors()
{
    const auto tell = [this](const QString& guid, const char* what) {
        Q_EMIT happened(QStringLiteral("processor"), guid, nameOf(guid) + QLatin1String(what));
    };
    const KoltaProcessorObserver* const observer = &m_server.getProcessorObserver();
    connect(observer, &KoltaProcessorObserver::si_ProcessorStarted, this,
            [tell](const QString& guid) { tell(guid, " has started"); });
    connect(observer, &KoltaProcessorObserver::si_ProcessorChanged, this,
            [tell](const QString& guid) { tell(guid, " has changed"); });
    connect(observer, &KoltaProcessorObserver::si_ProcessorStopped, this,
            [tell](const QString& guid) { tell(guid, " has stopped"); });
    connect(observer, &KoltaProcessorObserver::si_AllProcessorsStopped, this, [this] {
        Q_EMIT happened(QStringLiteral("processor"), QString(),
                        QStringLiteral("all processors have stopped"));
    });
}

void ServerWatch::watchProductions()
{
    const KoltaProductionControl* const control = &m_server.getProductionControl();
    const QString kind = QStringLiteral("production");
    connect(control, &KoltaProductionControl::si_ProductionRequestReplied, this,
            [this, kind](const QUuid& production, bool accepted, const QString& text) {
                const QString guid = production.toString();
                const QString reply = accepted ? QStringLiteral("request %1 is accepted").arg(guid)
                                               : QStringLiteral("request %1 is refused: %2").arg(guid, text);
                Q_EMIT happened(kind, guid, reply);
            });
    connect(control, &KoltaProductionControl::si_ProductionStopped, this,
            [this, kind](const QUuid& production) {
                const QString guid = production.toString();
                Q_EMIT happened(kind, guid, QStringLiteral("production %1 has ended").arg(guid));
            });
}

void ServerWatch::watchHardware()
{
    connect(&m_server.getHWProcessingObserver(), &HardwareProcessingObserver::si_ValueChanged, this,
            &ServerWatch::noteHardware);
}

void ServerWatch::noteHardware()
{
    const QSet<QString> before = m_hardware;
    m_hardware = guidsOf(m_server.getHWProcessingObserver());
    const auto tell = [this](const QSet<QString>& guids, const char* what) {
        for (const QString& guid : guids)
            Q_EMIT happened(QStringLiteral("hardware"), guid,
                            QStringLiteral("hardware processing of %1").arg(nameOf(guid)) +
                                QLatin1String(what));
    };
    const QSet<QString> after = m_hardware; // a slot may make the list change again
    tell(after - before, " has begun");
    tell(before - after, " has ended");
}

} // namespace KoltaCli
