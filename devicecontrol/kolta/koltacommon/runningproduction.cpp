#include <koltacommon/runningproduction.h>

#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/productionjob.h>
#include <koltacommon/stopjob.h>

namespace Kolta {

RunningProduction::RunningProduction(KoltaServerInterface& server, const QUuid& production,
                                     const QString& processorGuid, QObject* parent)
    : QObject(parent), m_server(&server), m_production(production), m_processor(processorGuid)
{
    qRegisterMetaType<State>("Kolta::RunningProduction::State");
    attach(ServerDesk::of(server));
    expect(production);
    isShown();
    if (!desk()->isConnected())
        setState(State::Unknown, tr("%1 is away").arg(server.getAddress()));
}

/// A processor that was moved, or came back with the server, keeps its GUID; a production is found by its
/// own.
bool RunningProduction::isShown()
{
    if (!desk() || !desk()->isConnected())
        return false;
    const KoltaProcessorObserver& processors = m_server->getProcessorObserver();
    const QString found = processors.GetGUIDForProductionID(m_production.toString());
    if (!found.isEmpty())
        m_processor = found;
    return !found.isEmpty() || processors.FindProcessor(m_processor);
}

void RunningProduction::setState(State state, const QString& text)
{
    m_text = text;
    m_return.reset();
    if (state == State::Ended)
        detach();
    if (state == m_state)
        return;
    m_state = state;
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (std::exchange(m_told, m_state) != m_state)
                Q_EMIT stateChanged(m_state);
        },
        Qt::QueuedConnection);
}

void RunningProduction::ended(const QUuid&)
{
    setState(State::Ended, tr("it was ended"));
}

void RunningProduction::processorsStopped(const QSet<QString>& processors)
{
    if (!m_processor.isEmpty() && processors.contains(m_processor))
        setState(State::Ended, tr("its processor has stopped"));
}

void RunningProduction::mirrorChanged(ServerDesk::Mirror mirror)
{
    if (mirror == ServerDesk::Mirror::Processors && isShown() && m_state == State::Unknown)
        setState(State::Running, QString());
}

void RunningProduction::operational(bool on)
{
    if (!on)
        return setState(State::Unknown, tr("%1 is away").arg(m_server->getAddress()));
    if (isShown())
        return setState(State::Running, QString());
    m_return = ringIn(ProductionJob::kReturnMs, [this] {
        setState(State::Ended, tr("%1 came back without it").arg(m_server->getAddress()));
    });
}

void RunningProduction::serverLost()
{
    setState(State::Unknown, tr("the server is not known any more"));
}

StopJob* RunningProduction::stop(QObject* owner)
{
    return m_server ? new StopJob(*m_server, {m_production}, owner) : nullptr;
}

} // namespace Kolta
