#include <distribution/recordingfile.h>

#include <distribution/recordingformat.h>
#include <distribution/texts.h>

#include <values/bytestream.h>
#include <values/utf8.h>

#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace distribution {

using values::AppendInteger;

namespace {

constexpr std::size_t kCopyBytes = 1U << 20U;

/// No longer than readers take; a character at the end may go whole.
void appendText(Bytes& out, const QString& text)
{
    const QByteArray bytes = text.left(static_cast<int>(kRecordingTextBytes / 3)).toUtf8();
    AppendInteger(out, static_cast<quint32>(bytes.size()));
    out.append(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

quint32 checksumOf(const Bytes& head, const Bytes& rest)
{
    const auto* const first = reinterpret_cast<const Bytef*>(head.data());
    const auto* const second = reinterpret_cast<const Bytef*>(rest.data());
    const uLong begun = ::crc32_z(0, first, head.size());
    return static_cast<quint32>(rest.empty() ? begun : ::crc32_z(begun, second, rest.size()));
}

/// Whole, or false with errno.
bool writeAll(int descriptor, const char* bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(descriptor, bytes, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool copyFrom(int from, quint64 offset, int to)
{
    std::vector<char> piece(kCopyBytes);
    for (;;) {
        const ssize_t read = ::pread(from, piece.data(), piece.size(), static_cast<off_t>(offset));
        if (read < 0 && errno == EINTR)
            continue;
        if (read <= 0)
            return read == 0;
        if (!writeAll(to, piece.data(), static_cast<std::size_t>(read)))
            return false;
        offset += static_cast<quint64>(read);
    }
}

Bytes fileHead()
{
    Bytes head(kRecordingMagic, kRecordingMagicBytes);
    AppendInteger(head, kRecordingMajor);
    AppendInteger(head, kRecordingMinor);
    return head;
}

} // namespace

RecordingWriter::~RecordingWriter()
{
    Close();
}

bool RecordingWriter::fail(const QString& what)
{
    m_error = QStringLiteral("%1: %2: %3").arg(m_path, what, qt_error_string(errno));
    return false;
}

bool RecordingWriter::Open(const QString& path, QString& error)
{
    Close();
    m_path = path;
    m_descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    const Bytes head = fileHead();
    m_size = head.size();
    if (m_descriptor >= 0 && writeAll(m_descriptor, head.data(), head.size()))
        return true;
    fail(Texts::tr("cannot be made"));
    if (m_descriptor >= 0)
        ::unlink(QFile::encodeName(path).constData());
    Close();
    error = m_error;
    return false;
}

bool RecordingWriter::WriteSegment(qint64 timeMs, const SegmentHead& head)
{
    Bytes body;
    AppendInteger(body, head.wallMs);
    AppendInteger(body, static_cast<quint8>(head.isLinkUp));
    for (const QString* const text : {&head.host, &head.program, &head.source, &head.prefix})
        appendText(body, *text);
    return append(RecordKind::Segment, timeMs, body);
}

bool RecordingWriter::WriteMessage(qint64 timeMs, const Bytes& topic, const Bytes& payload)
{
    Bytes body;
    AppendInteger(body, static_cast<quint32>(topic.size()));
    body += topic;
    return append(RecordKind::Message, timeMs, body, payload);
}

bool RecordingWriter::Write(RecordKind kind, qint64 timeMs, const QString& text)
{
    Bytes body;
    if (kind == RecordKind::LinkDown || kind == RecordKind::End)
        appendText(body, text);
    return append(kind, timeMs, body);
}

bool RecordingWriter::append(RecordKind kind, qint64 timeMs, const Bytes& head, const Bytes& rest)
{
    if (!IsOpen())
        return false;
    Bytes start;
    AppendInteger(start, static_cast<quint8>(kind));
    AppendInteger(start, timeMs);
    start += head;
    Bytes frame;
    AppendInteger(frame, static_cast<quint32>(start.size() + rest.size()));
    AppendInteger(frame, checksumOf(start, rest));
    frame += start;
    if (writeAll(m_descriptor, frame.data(), frame.size()) &&
        writeAll(m_descriptor, rest.data(), rest.size())) {
        m_size += frame.size() + rest.size();
        return true;
    }
    fail(Texts::tr("cannot be written"));
    // Where not even that is possible the reader knows the record as one that is not whole.
    if (::ftruncate(m_descriptor, static_cast<off_t>(m_size)) == 0)
        ::lseek(m_descriptor, static_cast<off_t>(m_size), SEEK_SET);
    return false;
}

bool RecordingWriter::DropBefore(quint64 offset)
{
    const QByteArray path = QFile::encodeName(m_path);
    QByteArray shorter = path + ".XXXXXX"; // a file of nobody else, readable by its user alone
    const int copy = ::mkostemp(shorter.data(), O_CLOEXEC);
    const Bytes head = fileHead();
    const bool isWhole = copy >= 0 && writeAll(copy, head.data(), head.size()) &&
                         copyFrom(m_descriptor, offset, copy) && ::fdatasync(copy) == 0 &&
                         std::rename(shorter.constData(), path.constData()) == 0;
    if (!isWhole) {
        fail(Texts::tr("cannot be shortened"));
        if (copy >= 0) {
            ::close(copy);
            ::unlink(shorter.constData());
        }
        return false;
    }
    ::close(m_descriptor);
    m_descriptor = copy;
    m_size = head.size() + m_size - offset;
    return true;
}

bool RecordingWriter::IsIntact()
{
    struct ::stat now = {};
    if (m_descriptor >= 0 && ::fstat(m_descriptor, &now) == 0 && now.st_nlink > 0 &&
        static_cast<quint64>(now.st_size) >= m_size)
        return true;
    m_error = QStringLiteral("%1: %2").arg(m_path, Texts::tr("it was removed or cut while it was written"));
    return false;
}

int RecordingWriter::Duplicate() const
{
    return m_descriptor < 0 ? -1 : ::fcntl(m_descriptor, F_DUPFD_CLOEXEC, 0);
}

bool RecordingWriter::Sync(int descriptor)
{
    const bool isDone = ::fdatasync(descriptor) == 0;
    ::close(descriptor);
    return isDone;
}

void RecordingWriter::Close()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    m_descriptor = -1;
}

} // namespace distribution
