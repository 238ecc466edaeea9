#pragma once

#include <koltacommon/export.h>
#include <koltacommon/modelmetatypes.h>

#include <QObject>

#include <memory>

namespace Kolta {

class HardwareProcessingObserver;
class KoltaProcessorObserver;

/// Keeps a server's list of hardware processing in step with its running processors: entries whose MCP has
/// stopped or disappeared are removed. One per installation is enough. Lives on one thread with its
/// observers.
class KOLTA_COMMON_EXPORT HardwareProcessingController : public QObject
{
    Q_OBJECT

public:
    explicit HardwareProcessingController(QObject* parent = nullptr);
    ~HardwareProcessingController() override;

    /// Binds to the two overviews, instead of those bound before, and follows the first from then on. The
    /// list as it stands now is left as it is until the running processors change. False when one of the
    /// values does not exist.
    bool init(const QString& runningProcessorsPath, const QString& hwProcessingPath);

    /// Owned by the controller.
    HardwareProcessingObserver& getHWProcessingObserver() const;

public Q_SLOTS:
    /// Removes the entries of all MCPs that `overview` does not hold. An overview without any MCP changes
    /// nothing: it may be empty for a moment only.
    void sl_RunningProcessorsChanged(const RESOURCEMANAGEMENT::ProcessorOverview& overview);
    void sl_ProcessorStopped(const QString& guid);
    void sl_AllProcessorsStopped();

private:
    void removeEntriesOf(const QStringList& guids);

    std::unique_ptr<KoltaProcessorObserver> m_processors;
    std::unique_ptr<HardwareProcessingObserver> m_hwProcessing;
};

} // namespace Kolta
