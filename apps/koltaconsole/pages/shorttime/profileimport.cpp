#include "profileimport.h"

#include <common/importableprofiles.h>
#include <common/profilemembers.h>

#include <QCoreApplication>

namespace KoltaConsole {

using Kolta::ShortTimeProfile;
using KoltaApps::ProfileMember;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(KoltaConsole::ProfileImport)
};

QString summary(const ShortTimeProfile& profile)
{
    QStringList parts;
    for (const ProfileMember& member : KoltaApps::profileMembers())
        parts.append(member.exact(profile));
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

/// The members that differ, one line each.
QVector<ProfileImport::Line> difference(const ShortTimeProfile& now, const ShortTimeProfile& then)
{
    QVector<ProfileImport::Line> lines;
    const auto shown = [](const QString& text) { return text.isEmpty() ? Texts::tr("not in use") : text; };
    for (const ProfileMember& member : KoltaApps::profileMembers()) {
        const QString before = member.exact(now), after = member.exact(then);
        if (before != after)
            lines.append({Texts::tr("changed: %1, %2").arg(then.name, member.title()), shown(before),
                          shown(after), false});
    }
    return lines;
}

} // namespace

ProfileImport ProfileImport::read(const QString& file, const Kolta::ShortTimeProfileItemMap& map)
{
    ProfileImport import;
    import.file = file;
    VESK_Q9R::ShortTimeProfiles content;
    const VESK_Q9R::ReadReport report = VESK_Q9R::readProfileFile(file, content);
    import.error = report.error;
    const auto importable = KoltaApps::importable(content, report, Kolta::eShortTimeProfileUnspecified);
    for (ShortTimeProfile profile : importable.taken) {
        const bool isKnown = map.Contains(profile.name);
        if (isKnown) {
            profile.type = map.At(profile.name).type;
            profile.hopperFlag = map.At(profile.name).hopperFlag;
        }
        const QVector<Line> changes = isKnown ? difference(map.At(profile.name), profile) : QVector<Line>();
        if (isKnown && changes.isEmpty())
            continue;
        import.wanted.append(profile);
        import.lines += isKnown ? changes
                                : QVector<Line>{
                                      { Texts::tr("new: %1").arg(profile.name),
                                        QString(),
                                        summary(profile),
                                        false }};
    }
    import.refused = importable.leftOut.size();
    for (const auto& profile : importable.leftOut)
        import.lines.append({Texts::tr("refused: %1").arg(profile.name), QString(),
                             profile.isTwice ? Texts::tr("the name is there twice")
                                             : Texts::tr("a value is not understood, see below"),
                             true});
    for (const QString& doubt : report.doubts)
        import.lines.append({doubt, QString(), QString(), true});
    return import;
}

} // namespace KoltaConsole
