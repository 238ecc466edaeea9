#pragma once

#include <xmlmessaging/export.h>

#include <QByteArray>
#include <QString>

#include <string>

namespace XmlCommunication {

/// Appends `payload` as one message in the chunked framing of RFC 6242, section 4.2:
/// LF '#' size LF bytes … LF '#' '#' LF. An empty payload cannot be framed and appends nothing.
KOLTA_XMLMESSAGING_EXPORT void appendFrame(QByteArray& out, const QByteArray& payload);

/// Empties a buffer that is used again and again, and keeps its memory unless it has grown large.
KOLTA_XMLMESSAGING_EXPORT void recycle(QByteArray& buffer);

/// Takes the bytes of a stream in pieces of any size and gives back whole messages.
/// Memory is bounded by the message limit plus the bytes of one feed.
class KOLTA_XMLMESSAGING_EXPORT FrameReader
{
public:
    explicit FrameReader(int maxMessageBytes) : m_maxMessageBytes(maxMessageBytes) {}

    /// Appends received bytes. Ignored after an error.
    void feed(const char* data, int size);
    /// Takes the next whole message; false when there is none yet or the stream is broken.
    bool next(QByteArray& message);

    /// Tells that no more bytes will come; in the middle of a message that is an error.
    void end();

    /// Bytes of a message that has not come whole yet.
    qint64 pendingBytes() const noexcept
    {
        return static_cast<qint64>(m_buffer.size() - m_pos) + (m_complete ? 0 : m_message.size());
    }

    bool hasError() const noexcept { return !m_error.isEmpty(); }
    /// What is wrong, at which byte of the stream, and what was expected; empty while all is well.
    const QString& error() const noexcept { return m_error; }
    /// Forgets everything, for a new stream.
    void reset();

private:
    bool takeHeader();
    bool takeChunk();
    bool startChunk(quint64 size);
    void fail(const char* what, quint64 position, const char* expected);

    int m_maxMessageBytes;
    std::string m_buffer;    ///< received bytes; those from m_pos on are not parsed yet
    std::size_t m_pos = 0;   ///< never behind m_buffer's end
    quint64 m_consumed = 0;  ///< stream offset of m_buffer's first byte
    QByteArray m_message;    ///< chunks of the message being read
    quint64 m_chunkLeft = 0; ///< bytes that the chunk being read still lacks
    bool m_complete = false; ///< m_message awaits next()
    QString m_error;
};

} // namespace XmlCommunication
