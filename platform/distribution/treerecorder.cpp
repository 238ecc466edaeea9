#include <distribution/treerecorder.h>

#include <distribution/mirrorlink.h>
#include <distribution/mqttcarrier.h>
#include <distribution/treelink.h>

#include <startup/clock.h>

#include <QDateTime>

#include <algorithm>
#include <functional>
#include <utility>

namespace distribution {

namespace {

constexpr int kTickMs = 5000;
/// Of the bound: how long a segment becomes, when the file is shortened, and to what.
constexpr quint64 kSegmentsInBound = 12;
constexpr quint64 kLongestThirds = 2;
constexpr quint64 kShortestThirds = 1;
constexpr quint64 kLeastBytes = 1U << 20U;
/// What a record has beside a message.
constexpr quint64 kRecordOverhead = 64;
/// What the last record needs, with its reason.
constexpr quint64 kEndBytes = 256;

} // namespace

/// The carrier of the mirrors, whose owner hears what it says before they do.
class TreeRecorder::Tap final : public ICarrier
{
public:
    Tap(TreeRecorder& recorder, std::unique_ptr<ICarrier> carrier) : m_carrier(std::move(carrier))
    {
        m_carrier->onUp = [this, &recorder](std::size_t maximumPayload) {
            recorder.onUp();
            onUp(maximumPayload);
        };
        m_carrier->onDown = [this, &recorder](DownReason reason, const QString& text) {
            recorder.onDown(text);
            onDown(reason, text);
        };
        m_carrier->onMessage = [this, &recorder](const Bytes& topic, const Bytes& payload) {
            recorder.onMessage(topic, payload);
            onMessage(topic, payload);
            recorder.look();
        };
        m_carrier->onRefused = [this](const Bytes& topic, const QString& text) { onRefused(topic, text); };
    }

    void Open(const Will& will, const Bytes& clientId) override { m_carrier->Open(will, clientId); }
    void Close() override { m_carrier->Close(); }
    void Publish(Publication publication) override { m_carrier->Publish(std::move(publication)); }
    void Subscribe(const Bytes& filter) override { m_carrier->Subscribe(filter); }
    void Unsubscribe(const Bytes& filter) override { m_carrier->Unsubscribe(filter); }

private:
    std::unique_ptr<ICarrier> m_carrier;
};

TreeRecorder::TreeRecorder(const LinkOptions& options, const QString& file, quint64 maximumBytes,
                           QObject* parent)
    : QObject(parent)
    , m_options(options)
    , m_file(file)
    , m_maximumBytes(std::max(maximumBytes, kLeastBytes))
    , m_link(std::make_unique<TreeLink>(
          m_tree,
          [this] { return std::make_unique<Tap>(*this, std::make_unique<MqttCarrier>(m_options.mqtt)); },
          options))
{
    m_syncer.setMaxThreadCount(1);
    connect(&m_timer, &QTimer::timeout, this, &TreeRecorder::tick);
    m_link->mirror({QStringLiteral("*")});
}

TreeRecorder::~TreeRecorder()
{
    stop(QStringLiteral("the recorder has ended"));
    m_link.reset();
    m_syncer.waitForDone();
}

qint64 TreeRecorder::nowMs() const
{
    return Startup::Clock::machine().now() - m_startMs;
}

qint64 TreeRecorder::durationMs() const
{
    return m_isRecording ? nowMs() : m_writtenMs;
}

bool TreeRecorder::start(QString& error)
{
    if (!m_writer.Open(m_file, error))
        return false;
    const qint64 before = std::exchange(m_startMs, Startup::Clock::machine().now());
    m_downMs -= m_startMs - before;
    m_isRecording = true;
    m_timer.start(kTickMs);
    const bool isWritten = beginSegment();
    if (isWritten && m_writer.GetSize() <= m_maximumBytes)
        return true;
    m_isRecording = false;
    m_timer.stop();
    error = isWritten ? tooSmall() : m_writer.GetError();
    m_writer.Close();
    QFile::remove(m_file);
    return false;
}

void TreeRecorder::stop(const QString& reason)
{
    if (!m_isRecording)
        return;
    m_writtenMs = nowMs();
    m_isRecording = false;
    m_timer.stop();
    const bool isEnded = m_writer.Write(RecordKind::End, m_writtenMs, reason) && m_writer.IsIntact();
    const int descriptor = m_writer.Duplicate();
    if (!isEnded || (descriptor >= 0 && !RecordingWriter::Sync(descriptor)))
        Q_EMIT si_Failed(isEnded ? QStringLiteral("%1: the disk does not take it").arg(m_file)
                                 : m_writer.GetError());
    m_writer.Close();
}

void TreeRecorder::fail(const QString& reason)
{
    if (!std::exchange(m_isRecording, false))
        return;
    m_writtenMs = nowMs();
    m_timer.stop();
    m_writer.Close();
    // From the event loop: the mirrors have not had the message yet.
    QMetaObject::invokeMethod(
        &m_context, [this, reason] { Q_EMIT si_Failed(reason); }, Qt::QueuedConnection);
}

void TreeRecorder::onUp()
{
    note(RecordKind::LinkUp);
    m_isLinkUp = true;
}

void TreeRecorder::onDown(const QString& text)
{
    note(RecordKind::LinkDown, text);
    if (std::exchange(m_isLinkUp, false))
        m_downMs = nowMs();
    m_downText = text;
}

void TreeRecorder::onMessage(const std::string& topic, const std::string& payload)
{
    if (!m_isRecording || !ensureRoom(topic.size() + payload.size() + kRecordOverhead))
        return;
    ++m_messages;
    m_writtenMs = nowMs();
    if (!m_writer.WriteMessage(m_writtenMs, topic, payload))
        fail(m_writer.GetError());
}

/// A segment may begin only where nothing that was heard waits for something that was not, unless that takes
/// too long.
void TreeRecorder::look()
{
    if (!m_isRecording)
        return;
    const Place& last = m_segments.back();
    const quint64 length = m_writer.GetSize() - last.snapshotEnd;
    const quint64 enough = std::max(m_maximumBytes / kSegmentsInBound, last.snapshotEnd - last.offset);
    if (length < enough || (length < 2 * enough && !m_link->m_mirrors->IsSettled()))
        return;
    if (!beginSegment() || (m_writer.GetSize() > m_maximumBytes / 3 * kLongestThirds && !shorten(0)))
        fail(m_writer.GetError());
    else if (m_writer.GetSize() > m_maximumBytes)
        fail(tooSmall());
}

bool TreeRecorder::beginSegment()
{
    const qint64 now = nowMs();
    SegmentHead head;
    head.wallMs = QDateTime::currentMSecsSinceEpoch();
    head.isLinkUp = m_isLinkUp;
    head.host = m_options.host;
    head.program = m_options.program;
    head.source = m_options.mqtt.address.ToText();
    head.prefix = QString::fromUtf8(m_options.mqtt.address.prefix);
    Place place{m_writer.GetSize(), 0};
    bool isWritten = m_writer.WriteSegment(now, head);
    for (const TimedMessage& message : m_link->m_mirrors->GetJoin()) {
        const qint64 time = std::min(message.timeMs - m_startMs, now);
        isWritten = isWritten && m_writer.WriteMessage(time, message.topic, message.payload);
    }
    if (!m_isLinkUp)
        isWritten =
            isWritten && m_writer.Write(RecordKind::LinkDown,
                                        std::max(m_downMs, now - BranchMirror::kLongestAgeMs), m_downText);
    isWritten = isWritten && m_writer.Write(RecordKind::SnapshotEnd, now);
    place.snapshotEnd = m_writer.GetSize();
    m_segments.push_back(place);
    return isWritten;
}

/// Drops the oldest segments until a third of the bound, less `room`, is left, but not the newest one.
bool TreeRecorder::shorten(quint64 room)
{
    const quint64 most = m_maximumBytes / 3 * kShortestThirds;
    std::size_t first = 0;
    while (first + 1 < m_segments.size() && m_writer.GetSize() - m_segments[first].offset + room > most)
        ++first;
    if (first == 0)
        return true;
    const quint64 before = m_writer.GetSize();
    if (!m_writer.DropBefore(m_segments[first].offset))
        return false;
    m_segments.erase(m_segments.begin(), m_segments.begin() + static_cast<std::ptrdiff_t>(first));
    m_dropped += first;
    for (Place& place : m_segments) {
        place.offset -= before - m_writer.GetSize();
        place.snapshotEnd -= before - m_writer.GetSize();
    }
    return true;
}

/// Where one record would go beyond the bound, what it does not need is dropped.
bool TreeRecorder::ensureRoom(quint64 bytes)
{
    const auto fits = [&] { return m_writer.GetSize() + bytes + kEndBytes <= m_maximumBytes; };
    if (fits())
        return true;
    bool isWritten = shorten(bytes);
    if (isWritten && !fits())
        isWritten = beginSegment() && shorten(bytes);
    if (isWritten && fits())
        return true;
    fail(isWritten ? tooSmall() : m_writer.GetError());
    return false;
}

QString TreeRecorder::tooSmall() const
{
    return QStringLiteral("%1: %2 MiB are too little for a recording of this installation")
        .arg(m_file, QString::number(m_maximumBytes >> 20U));
}

/// What is no message, before it counts: a segment that begins for want of room stands before it. False when
/// nothing is recorded any more.
bool TreeRecorder::note(RecordKind kind, const QString& text)
{
    if (!m_isRecording || !ensureRoom(static_cast<quint64>(text.toUtf8().size()) + kRecordOverhead))
        return false;
    if (!m_writer.Write(kind, nowMs(), text))
        fail(m_writer.GetError());
    return m_isRecording;
}

void TreeRecorder::tick()
{
    if (!note(RecordKind::Time))
        return;
    if (!m_writer.IsIntact())
        return fail(m_writer.GetError());
    const int descriptor = m_writer.Duplicate();
    if (descriptor < 0)
        return;
    m_syncer.start([this, descriptor] {
        if (RecordingWriter::Sync(descriptor))
            return;
        QMetaObject::invokeMethod(
            &m_context, [this] { fail(QStringLiteral("%1: the disk does not take it").arg(m_file)); },
            Qt::QueuedConnection);
    });
}

} // namespace distribution
