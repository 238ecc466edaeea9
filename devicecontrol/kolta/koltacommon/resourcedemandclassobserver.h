#pragma once

#include <koltacommon/abstractrgvalueobserver.h>
#include <koltacommon/apptypes.h>
#include <koltacommon/export.h>
#include <koltacommon/modelmetatypes.h>

#include <resourcemodel/demandclasses.h>

#include <QVector>

namespace RESOURCEMANAGEMENT {
class Tuner;
}

namespace Kolta {

/// The client's mirror of one server's resource demand classes, which tell for one processor kind how much
/// processing a job of that class demands, and the rules by which an application may use them.
///
/// Bound to the server's base path followed by "/ADMINISTRATION/DemandClasses". Queries read the mirror and
/// never contact the server. Application types stand for processor kinds: SCP and MCP for "DCP", FFP, DSC,
/// FHP and FHA for themselves, every other number for the empty text. Kinds and names are compared exactly.
///
/// Every query that returns classes ends with the rule of the application type: SCP gets only the class "scp"
/// and custom classes, MCP everything but a class "scp" that is not custom; other types get all.
///
/// Lives on the value tree's thread.
class KOLTA_COMMON_EXPORT ResourceDemandClassObserver
    : public AbstractRGValueObserver<RESOURCEMANAGEMENT::ResourceDemandClassOverview>
{
    Q_OBJECT

public:
    explicit ResourceDemandClassObserver(QObject* parent = nullptr);
    /// Calls init(path) unless `path` is empty.
    explicit ResourceDemandClassObserver(const QString& path, QObject* parent = nullptr);
    ~ResourceDemandClassObserver() override;

    /// The mirror.
    const RESOURCEMANAGEMENT::ResourceDemandClassOverview& GetCurrentDemandClasses() const;
    /// The mirror's XML text as the server wrote it.
    QString GetCurrentDemandClassesAsString() const;

    /// Name of the demand class that an application of that type starts with: "scp", "sw", "300k",
    /// "extended", "standard" and "standard" for SCP to FHA; empty for all other numbers.
    static const QString& GetDefaultDemandClassName(eAppType appType);

    /// The classes for an application of that type, ascending by maximum bandwidth (0 when unset), equal ones
    /// in the order of the overview. Without `flag`, FFPs get no class of more than 1 MHz; with it, all other
    /// types get no class of hardware processing. The flag widens the one list and narrows the others; this
    /// is meant.
    QVector<RESOURCEMANAGEMENT::ResourceDemandClass> GetDemandClassesForAppType(eAppType appType,
                                                                                bool flag) const;
    /// The classes that an application of that type may use on `tuner`, in the same order: of the software
    /// classes those that the tuner can feed and, unless one of them is exactly as wide as the tuner, those
    /// of the next larger bandwidth but nothing beyond it; hardware classes when the tuner supports hardware
    /// processing, however wide.
    ///
    /// Bandwidths are compared as unsigned 32-bit numbers of whole Hz. A tuner without a maximum software
    /// bandwidth has no limit (4294967295), nor has one beyond 32 bits, as bandwidths beyond count as that
    /// number. Negative ones count as their 32-bit pattern: -1 Hz is 4294967295.
    QVector<RESOURCEMANAGEMENT::ResourceDemandClass>
    GetDemandClassesForAppType(eAppType appType, const RESOURCEMANAGEMENT::Tuner& tuner) const;
    /// Every class with that name, in the order of the overview: of the type's kind, or of all kinds when the
    /// type has none.
    QVector<RESOURCEMANAGEMENT::ResourceDemandClass> GetDemandClassByName(const QString& name,
                                                                          eAppType appType) const;
    /// Whether the first class of that name that MCPs may use means hardware processing. False for every
    /// other application type.
    bool supportsHWProcessing(eAppType appType, const QString& name) const;

    void onValueChange(const RESOURCEMANAGEMENT::ResourceDemandClassOverview& oldClasses,
                       const RESOURCEMANAGEMENT::ResourceDemandClassOverview& newClasses) override;
    void onVtDelete() override {}
    void onVtUser() override {}

Q_SIGNALS:
    /// A new overview was mirrored; both are emitted, in this order.
    void si_ResourceDemandClassesChanged();
    void si_ResourceDemandClassesChanged(const RESOURCEMANAGEMENT::ResourceDemandClassOverview& classes);
};

} // namespace Kolta
