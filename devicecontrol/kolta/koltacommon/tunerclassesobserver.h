#pragma once

#include <koltacommon/abstractrgvalueobserver.h>
#include <koltacommon/export.h>
#include <koltacommon/wholetextwriter.h>

#include <resourcemodel/tunerclasses.h>

#include <memory>

namespace RESOURCEMANAGEMENT {
class ResourceOverview;
}

namespace Kolta {

class TunerClassTree;

/// The client's mirror of one server's tuner classes, which clients also write.
///
/// Bound to the server's base path followed by "/ADMINISTRATION/TunerClasses". An empty text is ignored.
/// Class names are compared exactly; of equal names the first class counts. Lives on the value tree's thread.
class KOLTA_COMMON_EXPORT TunerClassesObserver
    : public AbstractRGValueObserver<RESOURCEMANAGEMENT::TunerClassOverview>,
      public WholeTextWriter
{
    Q_OBJECT

public:
    /// Bound to nothing until init().
    explicit TunerClassesObserver(QObject* parent = nullptr);
    ~TunerClassesObserver() override;

    /// The mirror; good until the next change.
    const RESOURCEMANAGEMENT::TunerClassOverview& getTunerClassOverview() const;
    /// Writes the overview to the server and mirrors it, with the hook and signals of any other change; the
    /// listeners of the value hear of it before those of this observer. False, with a trace line and nothing
    /// changed, when it cannot be written as XML or there is no value to write to. Where another process has
    /// changed the classes at the same moment, that change and what differs between the overview and the
    /// mirror are both in it in the end.
    bool setTunerClassOverview(const RESOURCEMANAGEMENT::TunerClassOverview& overview);

    /// A new tree of the mirrored classes and the given resources.
    std::shared_ptr<TunerClassTree>
    getTunerClassTree(const RESOURCEMANAGEMENT::ResourceOverview& resources) const;

    /// Name of the demand class that productions on tuners of that class need; empty for an unknown class.
    QString getResourceDemandClassForTunerClassName(const QString& className) const;
    /// Whether the demand class of the tuner class with that name means hardware processing. It is meant that
    /// `name` is that of a tuner class, whatever the operation is called.
    bool isHwProcessingRDCName(const QString& name) const;

    void onValueChange(const RESOURCEMANAGEMENT::TunerClassOverview& oldOverview,
                       const RESOURCEMANAGEMENT::TunerClassOverview& newOverview) override;
    void onVtDelete() override {}
    void onVtUser() override {}

Q_SIGNALS:
    /// The mirror was replaced.
    void si_TunerClassesChanged();

private:
    QString mergeTexts(const QString& before, const QString& mine, const QString& valid) const override;
    void onMerged() override { UpdateAll(); }
    const RESOURCEMANAGEMENT::TunerClass* findClass(const QString& name) const;
};

} // namespace Kolta
