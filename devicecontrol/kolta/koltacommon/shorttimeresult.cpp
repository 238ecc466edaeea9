#include <koltacommon/shorttimeresult.h>

#include <koltacommon/itemfield.h>

#include <QDateTime>

#include <tuple>

namespace Kolta {

namespace {

using Result = ShortTimeResult;
using ProfileText = ShortTimeProfile_TextAdapter;

constexpr const char* kContext = "Kolta::ShortTimeResult_TextAdapter";

/// The members in the order in which they travel.
constexpr auto kMembers = [](auto& io, auto& result) {
    io(result.id);
    io(result.startTime);
    io(result.duration);
    io(result.frequency);
    io(result.bandwidth);
    io(result.level);
    io(result.symbolRate);
    io(result.modulation);
    io(result.confidence);
    io(result.profileName);
    io(result.profileType);
    io(result.ffpGuid);
    io(result.recordId);
};

/// UTC, with the microseconds behind Qt's milliseconds.
QString timeText(qint64 microseconds)
{
    qint64 milliseconds = microseconds / 1000;
    qint64 rest = microseconds % 1000;
    if (rest < 0) {
        rest += 1000;
        --milliseconds;
    }
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
    return QStringLiteral("%1%2")
        .arg(time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")))
        .arg(rest, 3, 10, QLatin1Char('0'));
}

constexpr TextColumn<Result> kColumnTable[] = {
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Start (UTC)"),
     [](const Result& r) { return timeText(r.startTime); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Frequency"),
     [](const Result& r) { return ProfileText::formatHz(r.frequency); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Bandwidth"),
     [](const Result& r) { return ProfileText::formatHz(r.bandwidth); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Duration"),
     [](const Result& r) {
         return ProfileText::formatString(r.duration / 1000.0, 3, QStringLiteral(" ms"));
     }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Level"),
     [](const Result& r) { return ProfileText::formatString(r.level, 1, QStringLiteral(" dBµV")); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Symbol rate"),
     [](const Result& r) { return r.symbolRate ? ProfileText::formatBd(r.symbolRate) : QString(); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Modulation"),
     [](const Result& r) { return modulationTypeToString(r.modulation); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Profile"),
     [](const Result& r) { return r.profileName; }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Confidence"),
     [](const Result& r) { return ProfileText::formatString(r.confidence * 100, 0, QStringLiteral(" %")); }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "FFP"),
     [](const Result& r) { return r.ffpGuid; }},
    {QT_TRANSLATE_NOOP("Kolta::ShortTimeResult_TextAdapter", "Recording"),
     [](const Result& r) { return r.recordId; }}};

} // namespace

bool ShortTimeResult::operator==(const ShortTimeResult& other) const
{
    const auto all = [](const Result& r) {
        return std::tie(r.id, r.startTime, r.duration, r.frequency, r.bandwidth, r.level, r.symbolRate,
                        r.modulation, r.confidence, r.profileName, r.profileType, r.ffpGuid, r.recordId);
    };
    return all(*this) == all(other);
}

QString ShortTimeResult_ItemFormat::GetString(const Result& result)
{
    return QStringLiteral("Result_%1").arg(result.id);
}

std::string ShortTimeResult_ItemFormat::toStandardString(const Result& result)
{
    constexpr int fixedSize = 66;
    const int units = result.profileName.size() + result.ffpGuid.size() + result.recordId.size();
    return itemfield::toField(result, kMembers, fixedSize + 2 * static_cast<std::size_t>(units));
}

bool ShortTimeResult_ItemFormat::fromCharStream(const char** stream, Result& result)
{
    return itemfield::fromField(stream, result, kMembers);
}

const TextColumns<Result>& ShortTimeResult_TextAdapter::columns()
{
    static constexpr TextColumns<Result> all(kContext, kColumnTable);
    return all;
}

} // namespace Kolta
