#pragma once

#include <koltacommon/abstractrgvalueobserver.h>
#include <koltacommon/apptypes.h>
#include <koltacommon/export.h>
#include <koltacommon/modelmetatypes.h>
#include <koltacommon/processorindex.h>

#include <resourcemodel/processors.h>

#include <QStringList>
#include <QTimer>

#include <deque>

namespace Kolta {

/// One running processor as the mirror holds it; all null when nothing was found. Good until the next change.
struct RunningProcessor
{
    eAppType kind = eAppUnknown;                        ///< which class `object` is of
    const REPORTGENERATOR::IRGObject* object = nullptr; ///< SCP, MCP, FFP, DSC, FHP or FHA
    const RESOURCEMANAGEMENT::KoltaProcessor* record = nullptr;
    const REPORTGENERATOR::IRGObject* parent = nullptr; ///< what holds it; the overview for an SCP or MCP
    const RESOURCEMANAGEMENT::KoltaProcessor* parentRecord = nullptr; ///< null for an SCP or MCP

    explicit operator bool() const noexcept { return object != nullptr; }
};

/// The client's mirror of one server's running processors: SCPs, MCPs and all that they hold.
///
/// Bound to the server's base path followed by "/ADMINISTRATION/ActualConfiguration". Every new overview is
/// compared with the one before, and each difference is announced by its own signal: first started and
/// changed processors in the order of the new overview (a processor before those that it holds), then stopped
/// ones in the order of the old: all of them in si_ProcessorsStopped, for those who keep lists, then each in
/// si_ProcessorStopped. si_RunningProcessorsChanged follows always, si_ValueChanged last. Of several
/// processors with one GUID the first counts; the others, and those without GUID, are not announced and not
/// found.
///
/// **An overview without any processor is believed only after a while.** Servers empty their overview while
/// they rebuild it, and what listeners drop with a stopped processor does not come back. The mirror is empty
/// at once and si_RunningProcessorsChanged says so, but nothing counts as stopped before the delay of
/// setEmptyOverviewDelay() is over. Then come si_AllProcessorsStopped and the signals of the stopped
/// processors. When processors are there again earlier, they are compared with
/// those before the gap.
///
/// **When the value is deleted, the server is gone and nobody knows what runs.** The mirror is emptied,
/// si_RunningProcessorsChanged tells of an empty overview, and si_ValueDeleted follows. Nothing is announced
/// as stopped, not even what is still in doubt, because it may well run on; views that follow single
/// processors clear themselves at si_ValueDeleted. When the value comes back, all of its processors are
/// announced as started, also when its text is the same as before. Binding to another path begins with an
/// empty mirror in the same way, but silently.
///
/// Slots may change the value, bind to another path or delete the observer. A nested overview first announces
/// what is still due, so that the changes of a processor arrive in their order.
///
/// Queries read the mirror and never contact the server. GUIDs are compared as texts, exactly; a text that is
/// not a UUID, or is the null UUID, finds nothing. Lives on the value tree's thread.
class KOLTA_COMMON_EXPORT KoltaProcessorObserver
    : public AbstractRGValueObserver<RESOURCEMANAGEMENT::ProcessorOverview>
{
    Q_OBJECT

public:
    static constexpr int kDefaultEmptyOverviewDelay = 1000; ///< ms

    explicit KoltaProcessorObserver(QObject* parent = nullptr);
    /// Calls init(path) unless `path` is empty.
    explicit KoltaProcessorObserver(const QString& path, QObject* parent = nullptr);
    ~KoltaProcessorObserver() override;

    bool init(const QString& path) override;
    bool initForOffline(const RESOURCEMANAGEMENT::ProcessorOverview& value) override;

    /// How long, in milliseconds, an overview without processors stays in doubt; 0: it is believed at once.
    /// Holds from the next such overview on.
    void setEmptyOverviewDelay(int milliseconds);

    /// The mirror.
    const RESOURCEMANAGEMENT::ProcessorOverview& GetCurrentProcessors() const;
    /// The text that the server wrote last, also when it could not be parsed and the mirror is older.
    QString GetCurrentProcessorsAsString() const;

    /// The mirror as one list. Good until the next change; copies are cheap.
    const ProcessorIndex& index() const;

    /// The processor with that GUID.
    RunningProcessor FindProcessor(const QString& guid) const;
    /// Display name of the processor with that GUID, else of the SCP or MCP with that production ID.
    QString GetDisplayNameByGUID(const QString& guid) const;
    /// GUID of the processor that holds the one with that GUID; empty for SCPs and MCPs.
    QString GetParentGUID(const QString& guid) const;
    /// GUID of the MCP that holds the processor with that GUID, directly or in one of its DSCs or FHPs; empty
    /// when none does.
    QString GetMcpGUIDFor(const QString& guid) const;
    /// The production IDs of all SCPs, then of all MCPs, each once.
    QStringList GetProductionIDs() const;
    /// GUID of the first SCP, else of the first MCP, that serves the production.
    QString GetGUIDForProductionID(const QString& productionId) const;
    /// GUIDs of all processors that the tuner feeds, in the order of the overview: SCPs and MCPs by their
    /// data source, FFPs by their own tuner.
    QStringList GetGUIDsFedByTuner(const QString& tunerGuid) const;

    void onValueChange(const RESOURCEMANAGEMENT::ProcessorOverview& oldOverview,
                       const RESOURCEMANAGEMENT::ProcessorOverview& newOverview) override;
    void onVtDelete() override;
    void onVtUser() override {}

Q_SIGNALS:
    void si_ProcessorStarted(QString sGUID);
    /// Its own data (not those of the processors that it holds) or the processor that holds it are others.
    void si_ProcessorChanged(QString sGUID);
    /// All that one overview lacks, at least one; si_ProcessorStopped follows for each.
    void si_ProcessorsStopped(const QStringList& sGUIDs);
    void si_ProcessorStopped(QString sGUID);
    /// The last processors have stopped, all at once; si_ProcessorsStopped follows.
    void si_AllProcessorsStopped();
    /// A new overview was mirrored, whether or not a single difference was found; or the value was deleted,
    /// then `overview` is empty.
    void si_RunningProcessorsChanged(const RESOURCEMANAGEMENT::ProcessorOverview& overview);

private:
    enum eAnnouncement { eStarted, eChanged, eStopped, eSeveralStopped, eAllStopped, eOverview };
    struct Announcement
    {
        eAnnouncement kind;
        QStringList guids; ///< one, unless several stopped
        RESOURCEMANAGEMENT::ProcessorOverview overview;
    };

    void forget();
    void compareWith(const ProcessorIndex& now);
    void announceDue();
    void announce(const Announcement& announcement);

    mutable ProcessorIndex m_index; ///< of the mirror; built on first use after a change
    ProcessorIndex m_announced;     ///< what listeners take to be running; the mirror's, except in doubt
    std::deque<Announcement> m_due; ///< not announced yet, in order
    QTimer* m_doubt;                ///< runs while an overview without processors is in doubt
    int m_emptyOverviewDelay = kDefaultEmptyOverviewDelay;
};

} // namespace Kolta
