#include "framing.h"

#include <charconv>
#include <limits>

namespace XmlCommunication {

namespace {

constexpr int kFirstBufferBytes = 4096;
constexpr int kKeptBufferBytes = 256 * 1024;

/// An alert or the beginning of a handshake: the peer means another kind of link.
bool isTlsRecord(char first)
{
    return first == '\x15' || first == '\x16';
}

} // namespace

void appendFrame(QByteArray& out, const QByteArray& payload)
{
    if (payload.isEmpty())
        return;
    char digits[10];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, payload.size());
    out.append("\n#", 2).append(digits, static_cast<int>(end.ptr - digits)).append('\n').append(payload);
    out.append("\n##\n", 4);
}

void recycle(QByteArray& buffer)
{
    if (buffer.capacity() > kKeptBufferBytes || buffer.capacity() == 0) {
        buffer = QByteArray();
        buffer.reserve(kFirstBufferBytes);
    }
    buffer.resize(0);
}

void FrameReader::feed(const char* data, int size)
{
    if (hasError() || size <= 0)
        return;
    if (m_pos == m_buffer.size() || m_pos > 64 * 1024) {
        m_consumed += m_pos;
        m_buffer.erase(0, m_pos);
        m_pos = 0;
    }
    m_buffer.append(data, static_cast<std::size_t>(size));
}

bool FrameReader::next(QByteArray& message)
{
    while (!m_complete && !hasError() && (m_chunkLeft != 0 ? takeChunk() : takeHeader())) {
    }
    if (!m_complete)
        return false;
    message = std::move(m_message);
    m_message = QByteArray();
    m_complete = false;
    return true;
}

void FrameReader::end()
{
    const bool between = m_pos == m_buffer.size() && m_chunkLeft == 0 && m_message.isEmpty();
    if (!between && !m_complete && !hasError())
        fail("stream ends inside a message", m_consumed + m_buffer.size(), "the rest of it");
}

void FrameReader::reset()
{
    *this = FrameReader(m_maxMessageBytes);
}

/// Reads LF '#' size LF or LF '#' '#' LF; false when more bytes are needed or something is wrong.
bool FrameReader::takeHeader()
{
    constexpr quint64 kMaxChunk = std::numeric_limits<quint32>::max();
    const std::size_t available = m_buffer.size() - m_pos;
    const char* const at = m_buffer.data() + m_pos;
    const auto wrong = [this](const char* what, std::size_t offset, const char* expected) {
        fail(what, m_consumed + m_pos + offset, expected);
        return false;
    };
    if (available > 0 && at[0] != '\n')
        return wrong(m_consumed + m_pos == 0 && isTlsRecord(at[0]) ? "TLS where none is spoken" : "no chunk",
                     0, "LF");
    if (available > 1 && at[1] != '#')
        return wrong("no chunk", 1, "\"#\"");
    if (available < 3)
        return false;
    if (at[2] == '#') {
        if (m_message.isEmpty())
            return wrong("message without a chunk", 2, "a chunk size");
        if (available > 3 && at[3] != '\n')
            return wrong("malformed end of chunks", 3, "LF");
        m_complete = available > 3;
        m_pos += m_complete ? 4 : 0;
        return m_complete;
    }
    quint64 size = 0;
    for (std::size_t i = 2; i < available; ++i) {
        if (at[i] == '\n' && i > 2) {
            m_pos += i + 1;
            return startChunk(size);
        }
        if (at[i] < (i == 2 ? '1' : '0') || at[i] > '9')
            return wrong("malformed chunk size", i, i == 2 ? "a digit from 1 to 9" : "a digit or LF");
        size = size * 10 + static_cast<quint64>(at[i] - '0');
        if (size > kMaxChunk)
            return wrong("chunk size out of range", i, "at most 4294967295");
    }
    return false;
}

bool FrameReader::startChunk(quint64 size)
{
    if (size > static_cast<quint64>(m_maxMessageBytes - m_message.size())) {
        fail("message too large", m_consumed + m_pos, "fewer bytes");
        return false;
    }
    m_chunkLeft = size;
    // Room for the first chunk only: to reserve exactly for each of many small ones would copy the message
    // each time.
    if (m_message.isEmpty() && size > m_buffer.size() - m_pos)
        m_message.reserve(static_cast<int>(size));
    return true;
}

bool FrameReader::takeChunk()
{
    const std::size_t available = m_buffer.size() - m_pos;
    if (available == 0)
        return false;
    const std::size_t count = m_chunkLeft < available ? static_cast<std::size_t>(m_chunkLeft) : available;
    m_message.append(m_buffer.data() + m_pos, static_cast<int>(count));
    m_pos += count;
    m_chunkLeft -= count;
    return true;
}

void FrameReader::fail(const char* what, quint64 position, const char* expected)
{
    m_error = QStringLiteral("%1 at byte %2, expected %3")
                  .arg(QLatin1String(what), QString::number(position), QLatin1String(expected));
    m_message = QByteArray();
    m_buffer = std::string();
    m_pos = 0;
    m_chunkLeft = 0;
}

} // namespace XmlCommunication
