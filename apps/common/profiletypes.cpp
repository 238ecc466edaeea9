#include "profiletypes.h"

namespace KoltaApps {

using Kolta::eShortTimeProfileType;

namespace {

constexpr struct
{
    eShortTimeProfileType type;
    const char* word;
} kTypes[] = {{Kolta::eShortTimeProfileUnspecified, "unspecified"},
              {Kolta::eShortTimeProfileBurst, "burst"},
              {Kolta::eShortTimeProfileHopper, "hopper"},
              {Kolta::eShortTimeProfileIgnore, "ignore"}};

} // namespace

QString profileTypeWord(eShortTimeProfileType type)
{
    for (const auto& known : kTypes) {
        if (known.type == type)
            return QLatin1String(known.word);
    }
    return QString();
}

std::optional<eShortTimeProfileType> profileTypeFromWord(const QString& word)
{
    for (const auto& known : kTypes) {
        if (word == QLatin1String(known.word))
            return known.type;
    }
    return std::nullopt;
}

QStringList profileTypeWords()
{
    QStringList words;
    for (const auto& known : kTypes)
        words.append(QLatin1String(known.word));
    return words;
}

} // namespace KoltaApps
