#pragma once

#include <koltacommon/export.h>
#include <resourcemodel/tunerclasses.h>

#include <QString>
#include <QStringList>

namespace RESOURCEMANAGEMENT {
class Tuner;
}

namespace Kolta {

/// Tells which text identifies a tuner in the tuner classes: the tuner ID.
class KOLTA_COMMON_EXPORT TunerIdGetter
{
public:
    explicit TunerIdGetter(const RESOURCEMANAGEMENT::TunerClassOverview& overview);

    /// The tuner ID as the held overview defines it. `errors` may be null and is not written.
    QString resolveId(const RESOURCEMANAGEMENT::Tuner& tuner, QStringList* errors) const;

    /// What the overview's tuner ID definition chooses: 0 or unset the address, 1 the serial number, 2 the
    /// GUID, 3 the display name; empty for any other choice. `errors` may be null and is not written.
    static QString resolveId(const RESOURCEMANAGEMENT::TunerClassOverview& overview,
                             const RESOURCEMANAGEMENT::Tuner& tuner, QStringList* errors);

    /// The same without a copy: the text lives in `tuner`, or for ever.
    static const QString& idOf(const RESOURCEMANAGEMENT::TunerClassOverview& overview,
                               const RESOURCEMANAGEMENT::Tuner& tuner);

private:
    /// The tuner ID by a user's script, see evaluateTunerIdScript(). Ready for a choice that asks for it; no
    /// choice does yet.
    static QString resolveIdByScript(const RESOURCEMANAGEMENT::Tuner& tuner, const QString& script,
                                     QStringList* errors);

    RESOURCEMANAGEMENT::TunerClassOverview m_overview;
};

} // namespace Kolta
