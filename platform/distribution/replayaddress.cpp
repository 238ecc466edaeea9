#include <distribution/replay.h>
#include <distribution/texts.h>

#include <QRegularExpression>
#include <QUrl>
#include <QUrlQuery>

namespace distribution {

namespace {

const QString kScheme = QStringLiteral("replay:");

/// The first moment with that time of day from `begin` on; not valid for a text that is none.
QDateTime nextOfTimes(const QString& text, const QDateTime& begin)
{
    for (const char* const form : {"H:m", "H:m:s", "H:m:s.z"}) {
        const QTime time = QTime::fromString(text, QLatin1String(form));
        if (!time.isValid())
            continue;
        // A time without a fraction means the whole second, which may have begun before the recording.
        const QDateTime day(begin.date(), time);
        const bool isPast = day < begin.addMSecs(-begin.time().msec());
        return isPast ? day.addDays(1) : std::max(day, begin);
    }
    return QDateTime();
}

} // namespace

bool ReplayAddress::IsMeant(const QString& url)
{
    return url.startsWith(kScheme);
}

std::optional<ReplayAddress> ReplayAddress::FromUrl(const QString& url, QString& error)
{
    const int mark = url.indexOf(QLatin1Char('?'));
    ReplayAddress address;
    const QString path = url.mid(kScheme.size(), mark < 0 ? -1 : mark - kScheme.size());
    address.file = QUrl::fromPercentEncoding(path.toUtf8());
    bool fits = IsMeant(url) && !address.file.isEmpty();
    const QUrlQuery query(mark < 0 ? QString() : url.mid(mark + 1));
    for (const auto& [key, value] : query.queryItems(QUrl::FullyDecoded)) {
        bool isNumber = true;
        if (key == QLatin1String("from"))
            address.from = value;
        else if (key == QLatin1String("speed"))
            address.speed = value.toDouble(&isNumber);
        else
            fits = false;
        fits = fits && isNumber && address.speed >= 0 && address.speed <= kMostSpeed;
    }
    if (fits)
        return address;
    error = Texts::tr("found \"%1\", expected %2 with a speed of at most %3")
                .arg(url, QLatin1String(kExpected))
                .arg(kMostSpeed);
    return std::nullopt;
}

QString ReplayAddress::ToUrl() const
{
    const auto encoded = [](const QString& text) {
        return QString::fromLatin1(QUrl::toPercentEncoding(text, QByteArrayLiteral("/:")));
    };
    QString url = kScheme + encoded(file) + QStringLiteral("?speed=%1").arg(speed);
    if (!from.isEmpty())
        url += QStringLiteral("&from=") + encoded(from);
    return url;
}

QDateTime Replay::timeAt(qint64 timeMs) const
{
    const auto& segment = m_reader.GetSegments().at(m_reader.SegmentAt(timeMs));
    return QDateTime::fromMSecsSinceEpoch(segment.head.wallMs + timeMs - segment.timeMs);
}

std::optional<qint64> Replay::find(const QString& text, QString& error) const
{
    static const QRegularExpression difference(QStringLiteral("^[+-](\\d+(\\.\\d+)?|\\.\\d+)$"));
    if (text.isEmpty() || text == QLatin1String("begin"))
        return begin();
    if (text == QLatin1String("end"))
        return end();
    if (difference.match(text).hasMatch()) {
        const double seconds = qBound(-1e9, text.toDouble(), 1e9);
        return qBound(begin(), position() + qRound64(seconds * 1000), end());
    }
    const QDateTime from = timeAt(begin());
    const QDateTime to = timeAt(end());
    QDateTime wanted = nextOfTimes(text, from);
    if (text == from.date().toString(Qt::ISODate))
        wanted = from; // the day, which had begun before
    if (!wanted.isValid())
        wanted = QDateTime::fromString(QString(text).replace(QLatin1Char(' '), QLatin1Char('T')),
                                       Qt::ISODateWithMs);
    if (!wanted.isValid()) {
        error = Texts::tr("found \"%1\", expected begin, end, a time such as 12:03:10 or +SECONDS").arg(text);
        return std::nullopt;
    }
    if (wanted < from.addMSecs(-from.time().msec()) || wanted > to) {
        error = Texts::tr("%1 was not recorded, %2 to %3 was")
                    .arg(text, from.toString(Qt::ISODateWithMs), to.toString(Qt::ISODateWithMs));
        return std::nullopt;
    }
    // The time of day may have been set while it was recorded: the last segment that had begun by then
    // counts.
    const qint64 wantedMs = wanted.toMSecsSinceEpoch();
    const auto& segments = m_reader.GetSegments();
    qint64 found = begin();
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const qint64 last = i + 1 < segments.size() ? segments[i + 1].timeMs : end();
        const qint64 since = wantedMs - segments[i].head.wallMs;
        if (since >= 0)
            found = qBound(segments[i].timeMs, segments[i].timeMs + since, last);
    }
    return found;
}

} // namespace distribution
