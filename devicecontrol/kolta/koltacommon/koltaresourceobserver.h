#pragma once

#include <koltacommon/abstractrgvalueobserver.h>
#include <koltacommon/apptypes.h>
#include <koltacommon/export.h>
#include <koltacommon/guidindex.h>
#include <koltacommon/modelmetatypes.h>

#include <resourcemodel/resources.h>

#include <QStringList>

namespace RESOURCEMANAGEMENT {
class TunerManagementRequest;
}

namespace Kolta {

class TavikResourceConverter;

/// The client's mirror of one server's resource overview: every tuner, processing unit and storage unit, with
/// states.
///
/// Bound to the server's base path followed by "/ADMINISTRATION/Resources". Every new overview is compared
/// with the one before and each difference is announced by its own signal: first all of the tuners, then of
/// the processing units, then of the storage units; within a list changed and new elements in the order of
/// the new overview, then removed ones in the order of the old. si_ResourcesChanged follows always,
/// si_ValueChanged last.
///
/// Queries read the mirror and never contact the server; what they return by pointer or reference is good
/// until the next change. GUIDs are compared as texts, exactly. Lives on the value tree's thread.
class KOLTA_COMMON_EXPORT KoltaResourceObserver
    : public AbstractRGValueObserver<RESOURCEMANAGEMENT::ResourceOverview>
{
    Q_OBJECT

public:
    /// What powerControl() switches. Scopes that exist only with "off" have only that command; this is meant.
    enum ePowerControlCommand : int {
        eUnitOn = 0,
        eUnitOff = 1,
        eSupplyOn = 2,
        eSupplyOff = 3,
        eDevicesOn = 4,
        eDevicesOff = 5,
        eProgramsOff = 6,
        eSystemOff = 7
    };

    explicit KoltaResourceObserver(QObject* parent = nullptr);
    /// Calls init(path) unless `path` is empty.
    explicit KoltaResourceObserver(const QString& path, QObject* parent = nullptr);
    ~KoltaResourceObserver() override;

    /// The mirror.
    const RESOURCEMANAGEMENT::ResourceOverview& GetCurrentResources() const;
    /// The text that the server wrote last, also when it could not be parsed and the mirror is older.
    QString GetCurrentResourcesAsString() const;

    /// The first tuner, else storage unit, else processing unit with that GUID; null when there is none or
    /// `guid` is not a UUID or the null UUID.
    const REPORTGENERATOR::IRGObject* FindResource(const QString& guid) const;
    /// Address of what FindResource() finds; empty when it has none.
    QString FindResourceAddress(const QString& guid) const;
    /// Display name of what FindResource() finds.
    QString GetDisplayNameByGUID(const QString& guid) const;
    /// The GUIDs of all tuners, then processing units, then storage units with that display name, which need
    /// not be unique.
    QStringList GetGUIDForDisplayName(const QString& name) const;
    /// GUID of the first free (accessible and idle) tuner whose type or GUID is the argument; empty when
    /// there is none.
    QString GetGUIDForFreeTuner(const QString& typeOrGuid) const;

    /// Whether the tuner's options let it detect: "VRTQ" with "O2" or "SP", in any case of letters.
    bool supportsDetection(const QString& tunerGuid) const;
    /// Whether a registered storage unit exists, or a registered processing unit that offers local storage.
    bool hasStorage() const;
    /// Whether some registered processing unit offers local storage to applications of that type. False for
    /// types other than SCP, MCP, FFP, DSC and FHP.
    bool canSystemRunAppWithLocalStorage(eAppType appType) const;

    /// A new converter for this observer's path. The caller uses it; the observer owns it as its QObject
    /// parent.
    TavikResourceConverter* createResourceConverter();

    /// These write a request for the server into values beside the mirrored one: "ChangedTuners",
    /// "ChangedPUs", "ChangedSUs" and "UnitPowerControl". An identical request is announced again, so that
    /// the server processes it once more. Nothing happens when the value does not exist (the server is not
    /// connected or not set up yet) or the object cannot be written as XML, which is traced.
    void setChangedTuners(const RESOURCEMANAGEMENT::ResourceOverview& tuners);
    void setChangedTuners(const RESOURCEMANAGEMENT::TunerManagementRequest& request);
    void setChangedProcessingUnits(const RESOURCEMANAGEMENT::ResourceOverview& units);
    void setChangedStorageUnits(const RESOURCEMANAGEMENT::ResourceOverview& units);
    /// `units`: GUIDs; nothing happens without one. An unknown command counts as eUnitOn.
    void powerControl(ePowerControlCommand cmd, const QStringList& units);
    void powerControl(ePowerControlCommand cmd, const QString& unit);

    void onValueChange(const RESOURCEMANAGEMENT::ResourceOverview& oldOverview,
                       const RESOURCEMANAGEMENT::ResourceOverview& newOverview) override;
    void onVtDelete() override {}
    void onVtUser() override {}

Q_SIGNALS:
    void si_NewTuner(QString sTunerGUID);
    void si_RemovedTuner(QString sTunerGUID);
    /// The spelling is the interface's own.
    void si_TunerAccessiblityChanged(QString sTunerGUID, bool bAccessible);
    void si_TunerIdleStateChanged(QString sTunerGUID, bool bIdle);
    void si_NewPU(QString sPuGUID);
    void si_RemovedPU(QString sPuGUID);
    void si_PuRegistrationChanged(QString sPuGUID, RESOURCEMANAGEMENT::ProcessingUnit::Registration eReg);
    void si_PuLocalStorageChanged(QString sPuGUID, RESOURCEMANAGEMENT::ProcessingUnit::LocalStorage eStorage);
    void si_NewSU(QString sSuGUID);
    void si_RemovedSU(QString sSuGUID);
    void si_SuRegistrationChanged(QString sSuGUID, RESOURCEMANAGEMENT::StorageUnit::Registration eReg);
    /// A new overview was mirrored, whether or not a single difference was found.
    void si_ResourcesChanged(const RESOURCEMANAGEMENT::ResourceOverview& overview);

private:
    struct Match
    {
        const RESOURCEMANAGEMENT::TavikResource* identity = nullptr;
        const REPORTGENERATOR::IRGObject* object = nullptr;
    };
    Match findMatch(const QString& guid) const;
    void writeRequest(const QString& name, const REPORTGENERATOR::IRGObject& object);

    const RESOURCEMANAGEMENT::ResourceOverview* m_currentOverview; ///< the inherited mirror
    mutable GuidIndex<RESOURCEMANAGEMENT::Tuner> m_tunerIndex;     ///< built on first use after a change
    mutable GuidIndex<RESOURCEMANAGEMENT::ProcessingUnit> m_processingUnitIndex;
    mutable GuidIndex<RESOURCEMANAGEMENT::StorageUnit> m_storageUnitIndex;
};

} // namespace Kolta
