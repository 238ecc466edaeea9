#include "fuzz.h"

#include <koltacommon/q9rprofiles.h>
#include <koltacommon/shorttimeprofileitemmap.h>

#include <list>
#include <map>
#include <string>

using namespace Kolta;
using namespace VESK_Q9R;

namespace {

const ShortTimeProfiles& formerContent()
{
    static const ShortTimeProfiles content = [] {
        ShortTimeProfiles one;
        one.profiles.append(Profile());
        one.profiles.last().name = QStringLiteral("former");
        return one;
    }();
    return content;
}

/// The only thing that a file can say and that cannot be written.
bool hasCarriageReturn(const ShortTimeProfiles& file)
{
    const auto has = [](const TextElement& element) { return element.value.contains(QLatin1Char('\r')); };
    for (const Profile& p : file.profiles) {
        if (has(p.frequencyRange) || has(p.signalDurationRange) || has(p.bandwidthRange) ||
            has(p.symbolrateRange) || has(p.shiftRange) || has(p.modulationType))
            return true;
    }
    return false;
}

/// Writes `file` and reads it back; empty when it cannot be written.
QByteArray requireComesBack(const ShortTimeProfiles& file)
{
    QString error;
    const QByteArray xml = writeProfiles(file, error);
    Fuzz::require(xml.isEmpty() == !error.isEmpty(), "a file is both written and refused");
    Fuzz::require(error.isEmpty() || hasCarriageReturn(file), "what was read cannot be written");
    if (!error.isEmpty())
        return xml;
    ShortTimeProfiles again;
    const ReadReport report = readProfiles(xml, QString(), again);
    Fuzz::require(report.isGood() && report.notes.isEmpty() && again == file,
                  "a file comes back differently");
    Fuzz::require(writeProfiles(again, error) == xml, "a file is written differently the second time");
    return xml;
}

QByteArray bytesOf(const ShortTimeProfile& profile)
{
    return QByteArray::fromStdString(ShortTimeProfile_ItemFormat::toStandardString(profile));
}

/// Converted to profiles and back nothing is lost that a profile can hold, and a collection takes the last
/// one of each name.
void requireConverts(const ShortTimeProfiles& file, eShortTimeProfileType type)
{
    const QList<ShortTimeProfile> profiles = ShortTimeProfile::fromQ9RProfile(file, type);
    Fuzz::require(profiles.size() == file.profiles.size(), "profiles are lost");
    const ShortTimeProfiles back = ShortTimeProfile::toQ9RProfile(profiles);
    requireComesBack(back);
    const QList<ShortTimeProfile> again = ShortTimeProfile::fromQ9RProfile(back, type);
    std::map<QString, ShortTimeProfile> last;
    for (int i = 0; i < profiles.size(); ++i) {
        const ShortTimeProfile& profile = profiles.at(i);
        Fuzz::require(bytesOf(again.at(i)) == bytesOf(profile), "a profile is converted differently");
        Fuzz::require(!profile.isNull() && profile.type == type, "a profile has no name or another type");
        const auto [stored, isNew] = last.emplace(profile.name, profile);
        if (!isNew && stored->second != profile)
            stored->second = profile;
    }
    for (const bool difference : {false, true}) {
        ShortTimeProfileItemMap map;
        map.Add(ShortTimeProfile::fromQ9RProfile(formerContent(), type).first());
        map.Set(std::list<ShortTimeProfile>(profiles.begin(), profiles.end()), true, difference);
        Fuzz::require(map.Size() == last.size(), "a collection has too many or too few profiles");
        for (const auto& [name, profile] : last)
            Fuzz::require(map.Contains(name) && bytesOf(map.At(name)) == bytesOf(profile),
                          "a collection holds another profile");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const Fuzz::Input input(data, size);
    const auto xml = QByteArray::fromRawData(input.rest(), input.restSize());
    ShortTimeProfiles file = formerContent();
    const ReadReport report = readProfiles(xml, QStringLiteral("f"), file);
    Fuzz::outcome() = QString(report.error + report.notes.join(QLatin1Char('|'))).toStdString();
    Fuzz::require(report.notes.size() <= 21, "there are too many notes");
    for (const QString& note : report.notes)
        Fuzz::require(!note.isEmpty() && !note.contains(QLatin1Char('\n')), "a note is not one line");
    if (!report.isGood()) {
        Fuzz::require(file == formerContent(), "a refused file changes something");
        Fuzz::require(!report.error.contains(QLatin1Char('\n')), "an error is not one line");
        return 0;
    }
    Fuzz::outcome() += requireComesBack(file).toStdString();
    requireConverts(file, static_cast<eShortTimeProfileType>(size % 5));
    return 0;
}
