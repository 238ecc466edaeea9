#pragma once

#include <distribution/carrier.h>
#include <distribution/export.h>

#include <QByteArray>
#include <QFile>
#include <QString>

#include <optional>
#include <vector>

/// \file
/// The file of a recording: what mirrors of all branches have heard, with times, in records that carry a
/// length and a checksum. docs/recording.md has the bytes. Times are milliseconds since the recording began.

namespace distribution {

/// What a record tells.
enum class RecordKind : quint8 {
    Segment = 1,     ///< what follows needs nothing that stands before; its body is a SegmentHead
    SnapshotEnd = 2, ///< the messages between Segment and this one are what a mirror needs to join
    Message = 3,
    LinkUp = 4,
    LinkDown = 5, ///< with the reason
    End = 6,      ///< nothing more was recorded, with the reason
    Time = 7      ///< nothing else has happened until then
};

/// One record as it was read. A segment's head is kept by the reader, see RecordingReader::GetSegments().
struct Record
{
    RecordKind kind = RecordKind::Time;
    qint64 timeMs = 0;
    Bytes topic;        ///< of a Message; empty otherwise
    Bytes payload;      ///< of a Message; empty otherwise
    QString text;       ///< the reason of LinkDown and End; empty otherwise
    quint64 offset = 0; ///< in the file, where the record begins
    quint64 next = 0;   ///< where it ends, and another one may begin
};

/// Beginning of a segment, which can be played without those before.
struct SegmentHead
{
    qint64 wallMs = 0; ///< time of day at the segment's time: milliseconds since 1970 in UTC
    bool isLinkUp = true;
    QString host;    ///< where it was recorded
    QString program; ///< by what
    QString source;  ///< URL of the broker, without user and password
    QString prefix;  ///< of all topics, without version
};

/// Largest body of a record: what a message may have, and its topic.
constexpr std::size_t kMostRecordBytes = kLargestPayload + (1U << 20U);

/// Writes a recording. Every record is handed to the system at once, so that it outlives this process; Sync()
/// makes it outlive the machine. When something cannot be written the file ends behind what could be.
class KOLTA_DISTRIBUTION_EXPORT RecordingWriter
{
public:
    RecordingWriter() = default;
    ~RecordingWriter();

    /// False, and the reason in one line, when the file exists already or cannot be made. Only its user can
    /// read it.
    bool Open(const QString& path, QString& error);
    bool IsOpen() const noexcept { return m_descriptor >= 0; }
    const QString& GetPath() const noexcept { return m_path; }
    quint64 GetSize() const noexcept { return m_size; }

    // False, and nothing of the record remains, when it cannot be written; GetError() says why.
    bool WriteSegment(qint64 timeMs, const SegmentHead& head);
    bool WriteMessage(qint64 timeMs, const Bytes& topic, const Bytes& payload);
    bool Write(RecordKind kind, qint64 timeMs, const QString& text = QString());
    /// Drops what stands before `offset`, where a record begins: what remains is copied, and takes the file's
    /// place when it is whole.
    bool DropBefore(quint64 offset);
    /// False where somebody has removed or cut the file, and GetError() says so.
    bool IsIntact();
    /// Hands over a descriptor that Sync() may be called with on any thread; -1 when there is none.
    int Duplicate() const;
    /// Waits until the disk has what was written, and closes the descriptor. False when it could not.
    static bool Sync(int descriptor);
    void Close();
    /// One line that names the file.
    const QString& GetError() const noexcept { return m_error; }

    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;

private:
    bool append(RecordKind kind, qint64 timeMs, const Bytes& head, const Bytes& rest = Bytes());
    bool fail(const QString& what);

    QString m_path;
    QString m_error;
    int m_descriptor = -1;
    quint64 m_size = 0;
};

/// Reads a recording. Memory holds the places of its segments and one record. What stands behind a record
/// that is damaged or not there as a whole is not read.
class KOLTA_DISTRIBUTION_EXPORT RecordingReader
{
public:
    struct Segment
    {
        quint64 offset = 0; ///< in the file, where it begins
        quint64 play = 0;   ///< offset of the first record behind the snapshot
        qint64 timeMs = 0;
        SegmentHead head;
    };

    /// Reads through it once. False, and the reason in one line, when it cannot be read, is no recording, or
    /// has no whole segment.
    bool Open(const QString& path, QString& error);
    const QString& GetPath() const noexcept { return m_path; }
    /// At least one, in the order of their times.
    const std::vector<Segment>& GetSegments() const noexcept { return m_segments; }
    /// Number of the last segment that begins at or before that time; 0 when none does.
    std::size_t SegmentAt(qint64 timeMs) const;
    qint64 GetBeginMs() const { return m_segments.front().timeMs; }
    qint64 GetEndMs() const noexcept { return m_endMs; }
    quint64 CountMessages() const noexcept { return m_messages; }
    /// Why the recording ended before it was ended, in one line; empty when it was ended.
    const QString& GetCut() const noexcept { return m_cut; }

    /// The record at `offset`; nothing at the end of what can be read. That is here from now on, and GetCut()
    /// says so, when the record was there and is not any more.
    std::optional<Record> Read(quint64 offset);

    RecordingReader() = default;
    RecordingReader(const RecordingReader&) = delete;
    RecordingReader& operator=(const RecordingReader&) = delete;

private:
    enum class Found { Record, End, Broken };
    Found readBody(quint64 offset, QByteArray& body);
    void scan();
    bool take(const Record& record, const QByteArray& body);

    QString m_path;
    QFile m_file;
    std::vector<Segment> m_segments;
    std::optional<Segment> m_open; ///< whose snapshot has not ended
    quint64 m_validEnd = 0;
    qint64 m_endMs = 0;
    quint64 m_messages = 0;
    bool m_isEnded = false;
    QString m_cut;
};

} // namespace distribution
