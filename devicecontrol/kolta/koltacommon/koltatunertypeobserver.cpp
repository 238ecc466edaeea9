#include <koltacommon/koltatunertypeobserver.h>

namespace Kolta {

using RESOURCEMANAGEMENT::TunerTypeOverview;
using RESOURCEMANAGEMENT::TunerTypeSettings;

KoltaTunerTypeObserver::KoltaTunerTypeObserver(QObject* parent) : KoltaTunerTypeObserver(QString(), parent) {}

KoltaTunerTypeObserver::KoltaTunerTypeObserver(const QString& path, QObject* parent)
    : AbstractRGValueObserver(QString(), parent)
{
    qRegisterMetaType<RESOURCEMANAGEMENT::TunerTypeOverview>();
    if (!path.isEmpty())
        KoltaTunerTypeObserver::init(path);
}

KoltaTunerTypeObserver::~KoltaTunerTypeObserver() = default;

const TunerTypeOverview& KoltaTunerTypeObserver::GetCurrentTunerTypes() const
{
    return getCurrentValue();
}

QString KoltaTunerTypeObserver::GetCurrentTunerTypesAsString() const
{
    return getCurrentValueAsString();
}

QStringList KoltaTunerTypeObserver::GetAllTunerTypes() const
{
    QStringList names;
    for (const TunerTypeSettings& settings : currentValue.GetTunerTypeSettings())
        names.append(settings.GetTypeName());
    return names;
}

QString KoltaTunerTypeObserver::GetFormularDataByTunerType(const QString& type) const
{
    for (const TunerTypeSettings& settings : currentValue.GetTunerTypeSettings()) {
        if (settings.GetTypeName() == type)
            return settings.GetParamGuiXmlFormular();
    }
    return QString();
}

void KoltaTunerTypeObserver::onValueChange(const TunerTypeOverview& oldTypes,
                                           const TunerTypeOverview& newTypes)
{
    Q_UNUSED(oldTypes)
    Q_EMIT si_TunerTypesChanged(newTypes);
}

} // namespace Kolta
