#include <koltacommon/tuneridgetter.h>

#include <koltacommon/tuneridscript.h>

#include <resourcemodel/resources.h>

namespace Kolta {

using RESOURCEMANAGEMENT::Tuner;
using RESOURCEMANAGEMENT::TunerClassOverview;

TunerIdGetter::TunerIdGetter(const TunerClassOverview& overview) : m_overview(overview) {}

QString TunerIdGetter::resolveId(const Tuner& tuner, QStringList* errors) const
{
    return resolveId(m_overview, tuner, errors);
}

QString TunerIdGetter::resolveId(const TunerClassOverview& overview, const Tuner& tuner, QStringList*)
{
    return idOf(overview, tuner);
}

const QString& TunerIdGetter::idOf(const TunerClassOverview& overview, const Tuner& tuner)
{
    static const QString none;
    switch (overview.GetTunerIdDefinition().GetChoice()) {
    case 0: // also when it is unset
        return tuner.GetTavikResource().GetAddress();
    case 1:
        return tuner.GetSerialNumber();
    case 2:
        return tuner.GetTavikResource().GetGUID();
    case 3:
        return tuner.GetTavikResource().GetDisplayName();
    default:
        return none;
    }
}

QString TunerIdGetter::resolveIdByScript(const Tuner& tuner, const QString& script, QStringList* errors)
{
    return evaluateTunerIdScript(tuner, script, errors);
}

} // namespace Kolta
