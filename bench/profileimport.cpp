#include "figure.h"

#include <koltacommon/q9rprofiles.h>
#include <koltacommon/shorttimeprofileitemmap.h>

#include <QFile>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <memory>

namespace Bench {

namespace {

using Kolta::ShortTimeProfile;

constexpr int kMany = 10000;

/// A file of profiles in which every element is in use.
class ProfileFile
{
public:
    ProfileFile()
    {
        QList<ShortTimeProfile> profiles;
        for (quint32 i = 0; i < kMany; ++i) {
            ShortTimeProfile profile;
            profile.name = QStringLiteral("Profile %1").arg(i);
            profile.useFrequency = profile.useDuration = profile.useBandwidth = profile.useHopRate =
                profile.useSymbolRate = profile.useShift = profile.useModulation = true;
            profile.frequencyMin = 30000000 + i;
            profile.frequencyMax = 88000000 + i;
            profile.durationMin = 7000 + i;
            profile.durationMax = 27000 + i;
            profile.bandwidthMin = profile.symbolRateMin = profile.shiftMin = 16000 + i;
            profile.bandwidthMax = profile.symbolRateMax = profile.shiftMax = 32000 + i;
            profile.hopRate = 100.5 + i;
            profile.modulation = static_cast<qint8>(i % 8);
            profiles.append(profile);
        }
        const QString error = VESK_Q9R::writeProfileFile(name(), ShortTimeProfile::toQ9RProfile(profiles));
        require(error.isEmpty(), "the file cannot be written");
    }

    QString name() const { return m_folder.filePath(QStringLiteral("profiles.xml")); }

private:
    QTemporaryDir m_folder;
};

void import(const ProfileFile& file)
{
    VESK_Q9R::ShortTimeProfiles read;
    require(VESK_Q9R::readProfileFile(file.name(), read).isGood(), "the file cannot be read");
    Kolta::ShortTimeProfileItemMap map;
    for (const ShortTimeProfile& profile :
         ShortTimeProfile::fromQ9RProfile(read, Kolta::eShortTimeProfileHopper))
        map.Add(profile);
    require(map.Size() == kMany, "profiles are missing");
}

void scanTokens(const ProfileFile& file)
{
    QFile device(file.name());
    require(device.open(QIODevice::ReadOnly), "the file cannot be opened");
    QXmlStreamReader reader(&device);
    while (!reader.atEnd())
        reader.readNext();
    require(!reader.hasError(), "the file is not well-formed");
}

Sides importAgainstScan()
{
    const auto file = std::make_shared<ProfileFile>();
    return {timed([file] { import(*file); }), timed([file] { scanTokens(*file); })};
}

const bool added =
    addFigure({"profile_import_10k_vs_token_scan", "bare QXmlStreamReader token scan of the same file", 2.5,
               Unit::Time, importAgainstScan});

} // namespace

} // namespace Bench
