#include <koltacommon/hardwareprocessingcontroller.h>

#include <koltacommon/hardwareprocessingobserver.h>
#include <koltacommon/koltaprocessorobserver.h>

#include <startup/tracesource.h>

#include <QPointer>

namespace Kolta {

using RESOURCEMANAGEMENT::MCP;
using RESOURCEMANAGEMENT::ProcessorOverview;

namespace {

enum eTracePoint : int { eInitialized = 100, eProcessorStopped = 101, eAllProcessorsStopped = 102 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/hardwareprocessingcontroller",
                                      Startup::eTraceDetail);

} // namespace

HardwareProcessingController::HardwareProcessingController(QObject* parent)
    : QObject(parent)
    , m_processors(std::make_unique<KoltaProcessorObserver>())
    , m_hwProcessing(std::make_unique<HardwareProcessingObserver>())
{
}

HardwareProcessingController::~HardwareProcessingController() = default;

bool HardwareProcessingController::init(const QString& runningProcessorsPath, const QString& hwProcessingPath)
{
    m_processors->disconnect(this);
    const bool processorsBound = m_processors->init(runningProcessorsPath);
    const QPointer<HardwareProcessingController> guard(this); // others hear of the list, and may delete this
    const bool hwProcessingBound = m_hwProcessing->init(hwProcessingPath);
    if (!guard)
        return false;
    m_processors->disconnect(this); // what a nested call has connected
    connect(m_processors.get(), &KoltaProcessorObserver::si_RunningProcessorsChanged, this,
            &HardwareProcessingController::sl_RunningProcessorsChanged);
    // Ahead of the single stops, which then find nothing: the list is written once, not once per processor.
    connect(m_processors.get(), &KoltaProcessorObserver::si_ProcessorsStopped, this,
            &HardwareProcessingController::removeEntriesOf);
    connect(m_processors.get(), &KoltaProcessorObserver::si_ProcessorStopped, this,
            &HardwareProcessingController::sl_ProcessorStopped);
    connect(m_processors.get(), &KoltaProcessorObserver::si_AllProcessorsStopped, this,
            &HardwareProcessingController::sl_AllProcessorsStopped);
    kTrace(eInitialized, QStringLiteral("Initialized HardwareProcessingController for runningProcessors: %1, "
                                        "hwProcessingPath: %2")
                             .arg(runningProcessorsPath, hwProcessingPath));
    return processorsBound && hwProcessingBound;
}

HardwareProcessingObserver& HardwareProcessingController::getHWProcessingObserver() const
{
    return *m_hwProcessing;
}

void HardwareProcessingController::sl_RunningProcessorsChanged(const ProcessorOverview& overview)
{
    if (overview.GetMCP().isEmpty())
        return;
    QSet<QString> guids;
    for (const MCP& mcp : overview.GetMCP())
        guids.insert(mcp.GetKoltaProcessor().GetTavikResource().GetGUID());
    m_hwProcessing->synchronizeKnownProcessors(guids);
}

void HardwareProcessingController::sl_ProcessorStopped(const QString& guid)
{
    kTrace(eProcessorStopped,
           QStringLiteral("HardwareProcessingController::sl_ProcessorStopped for guid %1").arg(guid));
    m_hwProcessing->removeHardwareProcessingInfo(guid);
}

void HardwareProcessingController::sl_AllProcessorsStopped()
{
    kTrace(eAllProcessorsStopped, QStringLiteral("HardwareProcessingController::sl_AllProcessorsStopped"));
    m_hwProcessing->resetHardwareProcessingList();
}

void HardwareProcessingController::removeEntriesOf(const QStringList& guids)
{
    m_hwProcessing->removeHardwareProcessingInfos(QSet<QString>(guids.begin(), guids.end()));
}

} // namespace Kolta
