#include "processorledger.h"

#include <koltacommon/koltaprocessorobserver.h>
#include <koltacommon/koltaserverinterface.h>

namespace Kolta {

ProcessorLedger::ProcessorLedger(KoltaServerInterface& server) : m_server(&server)
{
    KoltaProcessorObserver& observer = server.getProcessorObserver();
    connect(&observer, &KoltaProcessorObserver::si_RunningProcessorsChanged, this, &ProcessorLedger::read);
    connect(&observer, &KoltaProcessorObserver::si_AllProcessorsStopped, this,
            &ProcessorLedger::believeEmpty);
    // Not the connection: the mirrors are read afresh when the server is operational.
    connect(&server, &KoltaServerInterface::si_StateChanged, this, &ProcessorLedger::read);
    m_processors = observer.index();
}

ProcessorLedger::~ProcessorLedger() = default;

bool ProcessorLedger::isAway() const
{
    return !m_server || m_server->getState() == SERVER_STATES::eDisconnected;
}

/// What a server that is away still says is looked at when it is back.
void ProcessorLedger::read()
{
    if (isAway())
        return m_limit.reset();
    const ProcessorIndex now = m_server->getProcessorObserver().index();
    if (!now.isEmpty() || m_processors.isEmpty())
        return believe(now);
    setLimit();
    if (std::exchange(m_isInDoubt, true))
        return;
    Q_EMIT changed();
}

void ProcessorLedger::believeEmpty()
{
    if (!isAway())
        believe(ProcessorIndex());
}

void ProcessorLedger::believe(const ProcessorIndex& processors)
{
    m_limit.reset();
    const bool wasInDoubt = std::exchange(m_isInDoubt, false);
    if (!wasInDoubt && processors.isEmpty() && m_processors.isEmpty())
        return;
    m_processors = processors;
    Q_EMIT changed();
}

/// Only of an overview that is there; nobody knows what runs while the value does not exist.
void ProcessorLedger::setLimit()
{
    const bool isOperational = m_server->getState() == SERVER_STATES::eOperational &&
                               !m_server->getProcessorObserver().getCurrentValueAsString().isEmpty();
    if (!isOperational)
        return m_limit.reset();
    if (!m_limit)
        m_limit = Startup::Clock::instance().ringAt(Startup::Clock::instance().now() + kReturnMs,
                                                    [this] { believe(ProcessorIndex()); });
}

} // namespace Kolta
