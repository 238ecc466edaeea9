#pragma once

#include <QByteArray>
#include <QString>

namespace XmlCommunication {

/// Appends `payload` as one message in the chunked framing of RFC 6242, section 4.2:
/// LF '#' size LF bytes … LF '#' '#' LF. An empty payload cannot be framed and appends nothing.
void appendFrame(QByteArray& out, const QByteArray& payload);

/// Takes the bytes of a stream in pieces of any size and gives back whole messages.
/// Memory is bounded by the message limit plus the bytes of one feed.
class FrameReader
{
public:
    explicit FrameReader(int maxMessageBytes) : m_maxMessageBytes(maxMessageBytes) {}

    /// Appends received bytes. Ignored after an error.
    void feed(const char* data, int size);
    /// Takes the next whole message; false when there is none yet or the stream is broken.
    bool next(QByteArray& message);

    bool hasError() const noexcept { return !m_error.isEmpty(); }
    /// What is wrong, at which byte of the stream, and what was expected; empty while all is well.
    const QString& error() const noexcept { return m_error; }
    /// Forgets everything, for a new stream.
    void reset();

private:
    bool parse(QByteArray& message);
    void fail(const QString& what);

    int m_maxMessageBytes;
    QByteArray m_buffer;  ///< unparsed bytes from m_pos on
    int m_pos = 0;
    quint64 m_consumed = 0; ///< stream offset of m_buffer's first byte
    QByteArray m_message; ///< chunks of the message being read
    qint64 m_chunkLeft = 0;
    QString m_error;
};

} // namespace XmlCommunication
