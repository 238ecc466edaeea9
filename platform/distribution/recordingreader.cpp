#include <distribution/recordingfile.h>

#include <distribution/fieldreader.h>
#include <distribution/recordingformat.h>
#include <distribution/texts.h>

#include <values/bytestream.h>

#include <QFileInfo>

#include <zlib.h>

#include <algorithm>

namespace distribution {

namespace {

/// Times beyond that (a hundred years) come from nobody's recorder.
constexpr qint64 kMostTimeMs = qint64(100) * 366 * 24 * 3600 * 1000;

bool isTime(qint64 timeMs)
{
    return timeMs >= -kMostTimeMs && timeMs <= kMostTimeMs;
}

FieldReader fieldsOf(const QByteArray& body)
{
    return FieldReader(values::ByteReader(body.constData(), static_cast<std::size_t>(body.size())));
}

/// False for one that does not fit its kind. What a newer version has added behind is passed over.
bool decode(const QByteArray& body, Record& record)
{
    FieldReader in = fieldsOf(body);
    record.kind = static_cast<RecordKind>(in.Integer<quint8>());
    record.timeMs = in.Integer<qint64>();
    if (!in.Fits() || !isTime(record.timeMs))
        return false;
    if (record.kind == RecordKind::LinkDown || record.kind == RecordKind::End)
        record.text = in.ShortText(kRecordingTextBytes);
    if (record.kind == RecordKind::Message) {
        const values::ByteReader topic = in.Block();
        record.topic.assign(topic.Position(), topic.Remaining());
        record.payload.assign(in.Rest().Position(), in.Rest().Remaining());
    }
    return in.Fits();
}

bool decodeHead(const QByteArray& body, SegmentHead& head)
{
    FieldReader in = fieldsOf(body);
    in.Integer<quint8>();
    in.Integer<qint64>();
    head.wallMs = in.Integer<qint64>();
    head.isLinkUp = in.Integer<quint8>() != 0;
    for (QString* const text : {&head.host, &head.program, &head.source, &head.prefix})
        *text = in.ShortText(kRecordingTextBytes);
    return in.Fits() && head.wallMs >= 0 && head.wallMs <= 3 * kMostTimeMs;
}

} // namespace

bool RecordingReader::Open(const QString& path, QString& error)
{
    const auto refuse = [&](const QString& why) {
        error = QStringLiteral("%1: %2").arg(path, why);
        m_file.close();
        return false;
    };
    m_path = path;
    m_file.setFileName(path);
    if (const QFileInfo info(path); info.exists() && !info.isFile()) // a pipe would be waited for
        return refuse(Texts::tr("it is no recording"));
    if (!m_file.open(QIODevice::ReadOnly))
        return refuse(m_file.errorString());
    const QByteArray head = m_file.read(kRecordingHeadBytes);
    if (head.size() < int(kRecordingHeadBytes) || !head.startsWith(kRecordingMagic))
        return refuse(Texts::tr("it is no recording"));
    quint16 major = 0;
    values::ByteReader(head.constData() + kRecordingMagicBytes, 2).ReadInteger(major);
    if (major != kRecordingMajor)
        return refuse(
            Texts::tr("it is a recording of version %1, expected %2").arg(major).arg(kRecordingMajor));
    scan();
    if (m_segments.empty())
        return refuse(Texts::tr("it was cut off before anything was recorded"));
    return true;
}

std::size_t RecordingReader::SegmentAt(qint64 timeMs) const
{
    const auto later =
        std::upper_bound(m_segments.begin(), m_segments.end(), timeMs,
                         [](qint64 time, const Segment& segment) { return time < segment.timeMs; });
    return later == m_segments.begin() ? 0 : static_cast<std::size_t>(later - m_segments.begin()) - 1;
}

RecordingReader::Found RecordingReader::readBody(quint64 offset, QByteArray& body)
{
    const auto size = static_cast<quint64>(m_file.size());
    if (offset >= size)
        return Found::End;
    char frame[kRecordFrameBytes] = {};
    if (!m_file.seek(static_cast<qint64>(offset)) || m_file.read(frame, sizeof frame) != sizeof frame)
        return Found::Broken;
    quint32 length = 0;
    quint32 checksum = 0;
    values::ByteReader in(frame, sizeof frame);
    in.ReadInteger(length);
    in.ReadInteger(checksum);
    if (length < kRecordStartBytes || length > kMostRecordBytes || length > size - offset - sizeof frame)
        return Found::Broken;
    body.resize(static_cast<int>(length));
    if (m_file.read(body.data(), length) != qint64(length))
        return Found::Broken;
    const auto found = ::crc32_z(0, reinterpret_cast<const Bytef*>(body.constData()), length);
    return found == checksum ? Found::Record : Found::Broken;
}

/// False when the record has no place here.
bool RecordingReader::take(const Record& record, const QByteArray& body)
{
    const bool inSnapshot = m_open.has_value();
    switch (record.kind) {
    case RecordKind::Segment:
        m_open = Segment{record.offset, 0, std::max(record.timeMs, m_endMs), {}};
        return !inSnapshot && decodeHead(body, m_open->head);
    case RecordKind::SnapshotEnd:
        if (!inSnapshot)
            return false;
        m_open->play = record.next;
        m_segments.push_back(*m_open);
        m_open.reset();
        break;
    case RecordKind::Message:
        m_messages += inSnapshot ? 0 : 1;
        break;
    default:
        break;
    }
    if (!inSnapshot)
        m_endMs = std::max(m_endMs, record.timeMs);
    return inSnapshot || !m_segments.empty();
}

/// Finds the segments, and how far everything is whole.
void RecordingReader::scan()
{
    QByteArray body;
    Record record;
    record.next = m_validEnd = kRecordingHeadBytes;
    Found found = Found::Record;
    m_endMs = -kMostTimeMs;
    while (!m_isEnded) {
        record.offset = record.next;
        found = readBody(record.offset, body);
        record.next = record.offset + kRecordFrameBytes + static_cast<quint64>(body.size());
        if (found != Found::Record)
            break;
        if (!decode(body, record) || !take(record, body)) {
            found = Found::Broken;
            break;
        }
        // A snapshot counts when it is whole.
        if (!m_open)
            m_validEnd = record.next;
        m_isEnded = record.kind == RecordKind::End;
    }
    if (!m_segments.empty())
        m_endMs = std::max(m_endMs, m_segments.back().timeMs);
    const quint64 rest = static_cast<quint64>(m_file.size()) - std::min<quint64>(m_validEnd, m_file.size());
    if (!m_isEnded && rest == 0)
        m_cut = Texts::tr(
            "the recording was not ended: its recorder was killed or could not go on, or still runs");
    else if (!m_isEnded)
        m_cut = Texts::tr("the recording is cut off or damaged at byte %1: the last %2 bytes are not "
                          "played")
                    .arg(m_validEnd)
                    .arg(rest);
}

std::optional<Record> RecordingReader::Read(quint64 offset)
{
    QByteArray body;
    Record record;
    record.offset = offset;
    if (offset >= m_validEnd)
        return std::nullopt;
    if (readBody(offset, body) != Found::Record || !decode(body, record)) {
        m_validEnd = offset;
        m_cut = Texts::tr("the recording was cut off or changed at byte %1 while it was played").arg(offset);
        return std::nullopt;
    }
    record.next = offset + kRecordFrameBytes + static_cast<quint64>(body.size());
    return record;
}

} // namespace distribution
