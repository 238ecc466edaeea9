#pragma once

#include <koltacommon/abstractrgvalueobserver.h>
#include <koltacommon/export.h>
#include <koltacommon/modelmetatypes.h>

#include <resourcemodel/tunerclasses.h>

#include <QStringList>

namespace Kolta {

/// The client's mirror of one server's tuner types, each with the parameter form that a user interface shows
/// for tuners of that type.
///
/// Bound to the server's base path followed by "/ADMINISTRATION/TunerTypeOverview". Queries read the mirror
/// and never contact the server. Lives on the value tree's thread.
class KOLTA_COMMON_EXPORT KoltaTunerTypeObserver
    : public AbstractRGValueObserver<RESOURCEMANAGEMENT::TunerTypeOverview>
{
    Q_OBJECT

public:
    explicit KoltaTunerTypeObserver(QObject* parent = nullptr);
    /// Calls init(path) unless `path` is empty.
    explicit KoltaTunerTypeObserver(const QString& path, QObject* parent = nullptr);
    ~KoltaTunerTypeObserver() override;

    /// The mirror.
    const RESOURCEMANAGEMENT::TunerTypeOverview& GetCurrentTunerTypes() const;
    /// The mirror's XML text as the server wrote it.
    QString GetCurrentTunerTypesAsString() const;

    /// The names of all types, in the order of the overview; a name that occurs twice is there twice.
    QStringList GetAllTunerTypes() const;
    /// The parameter form, an XML text, of the first type with exactly that name; empty when there is none.
    QString GetFormularDataByTunerType(const QString& type) const;

    void onValueChange(const RESOURCEMANAGEMENT::TunerTypeOverview& oldTypes,
                       const RESOURCEMANAGEMENT::TunerTypeOverview& newTypes) override;
    void onVtDelete() override {}
    void onVtUser() override {}

Q_SIGNALS:
    /// A new overview was mirrored.
    void si_TunerTypesChanged(const RESOURCEMANAGEMENT::TunerTypeOverview& tunerTypes);
};

} // namespace Kolta
