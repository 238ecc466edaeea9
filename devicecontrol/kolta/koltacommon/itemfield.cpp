#include <koltacommon/itemfield.h>

#include <QDataStream>
#include <QIODevice>
#include <QTimeZone>

#include <algorithm>

namespace Kolta {

namespace itemfield {

namespace {

constexpr std::size_t kCountSize = sizeof(quint32);
constexpr quint32 kNullText = 0xffffffff;

/// The time zone, which is not valid when the name is unknown or looking it up might leave the folder of time
/// zones.
QTimeZone zoneNamed(const QString& name)
{
    const auto isPlain = [](QChar c) {
        return c.unicode() < 0x80 && (c.isLetterOrNumber() || QStringLiteral("_+-/").contains(c));
    };
    const bool isPlainName = !name.isEmpty() && name.size() < 64 && name.at(0).isLetter() &&
                             std::all_of(name.begin(), name.end(), isPlain);
    return isPlainName ? QTimeZone(name.toLatin1()) : QTimeZone();
}

} // namespace

Writer::Writer(std::size_t hint)
{
    m_bytes.reserve(kCountSize + hint);
    m_bytes.resize(kCountSize);
}

void Writer::operator()(const QString& text)
{
    if (text.isNull()) {
        (*this)(kNullText);
        return;
    }
    const auto bytes = sizeof(QChar) * static_cast<std::size_t>(text.size());
    (*this)(static_cast<quint32>(bytes));
    const std::size_t at = m_bytes.size();
    m_bytes.resize(at + bytes);
    qToBigEndian<quint16>(text.constData(), text.size(), &m_bytes[at]);
}

void Writer::operator()(const QStringList& texts)
{
    (*this)(static_cast<quint32>(texts.size()));
    for (const QString& text : texts)
        (*this)(text);
}

void Writer::operator()(const QVector<float>& numbers)
{
    (*this)(static_cast<quint32>(numbers.size()));
    for (const float number : numbers)
        (*this)(static_cast<double>(number));
}

void Writer::operator()(const QDateTime& time)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_15);
    stream << time;
    m_bytes.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

std::string Writer::take()
{
    const auto count = static_cast<quint32>(m_bytes.size() - kCountSize);
    std::memcpy(&m_bytes[0], &count, kCountSize);
    return std::move(m_bytes);
}

Reader::Reader(const char** stream)
{
    quint32 count = 0;
    std::memcpy(&count, *stream, kCountSize);
    m_at = *stream + kCountSize;
    m_end = m_at + count;
    *stream = m_end;
}

void Reader::operator()(QString& text)
{
    text = QString();
    quint32 bytes = 0;
    (*this)(bytes);
    if (m_incomplete || bytes == kNullText)
        return;
    if (bytes % sizeof(QChar) != 0)
        fail();
    const char* const units = skip(bytes);
    if (!units)
        return;
    text = QString(static_cast<int>(bytes / sizeof(QChar)), Qt::Uninitialized);
    qFromBigEndian<quint16>(units, text.size(), text.data());
}

void Reader::operator()(QStringList& texts)
{
    texts.clear();
    const int size = count(kCountSize);
    texts.reserve(size);
    for (int i = 0; i < size && !m_incomplete; ++i) {
        texts.append(QString());
        (*this)(texts.last());
    }
    if (m_incomplete)
        texts.clear();
}

void Reader::operator()(QVector<float>& numbers)
{
    numbers.resize(count(sizeof(double)));
    for (float& number : numbers) {
        double value = 0;
        (*this)(value);
        number = static_cast<float>(value);
    }
}

void Reader::operator()(QDateTime& time)
{
    qint64 day = 0;
    quint32 milliseconds = 0;
    qint8 spec = 0;
    qint32 offset = 0;
    QTimeZone zone;
    (*this)(day);
    (*this)(milliseconds);
    (*this)(spec);
    if (spec == Qt::OffsetFromUTC)
        (*this)(offset);
    else if (spec == Qt::TimeZone)
        zone = readZone();
    time = QDateTime();
    constexpr qint64 lastDay = 100'000'000; // milliseconds since 1970 stay far from the end of 64 bits
    if (day < 0 || day > lastDay)
        return;
    const QDate date = QDate::fromJulianDay(day);
    const QTime clock = QTime::fromMSecsSinceStartOfDay(static_cast<int>(milliseconds));
    if (!clock.isValid())
        return;
    if (spec == Qt::LocalTime || spec == Qt::UTC)
        time = QDateTime(date, clock, static_cast<Qt::TimeSpec>(spec));
    else if (spec == Qt::OffsetFromUTC)
        time = QDateTime(date, clock, Qt::OffsetFromUTC, offset);
    else if (zone.isValid()) // Qt cannot write a time in another
        time = QDateTime(date, clock, zone);
    if (zone.id().startsWith("UTC")) // nor simply name one of these
        time = time.toOffsetFromUtc(time.offsetFromUtc());
}

QTimeZone Reader::readZone()
{
    QString name;
    (*this)(name);
    if (name != QLatin1String("OffsetFromUtc"))
        return zoneNamed(name);
    QString text;
    qint32 offset = 0;
    qint32 country = 0;
    (*this)(text);
    (*this)(offset);
    (*this)(text);
    (*this)(text);
    (*this)(country);
    (*this)(text);
    return QTimeZone(offset);
}

const char* Reader::skip(std::size_t size)
{
    if (left() < size)
        fail();
    if (m_incomplete)
        return nullptr;
    const char* const bytes = m_at;
    m_at += size;
    return bytes;
}

int Reader::count(std::size_t elementSize)
{
    quint32 elements = 0;
    (*this)(elements);
    if (elements <= left() / elementSize)
        return static_cast<int>(elements);
    fail();
    return 0;
}

void Reader::fail()
{
    m_incomplete = true;
    m_at = m_end;
}

} // namespace itemfield

} // namespace Kolta
