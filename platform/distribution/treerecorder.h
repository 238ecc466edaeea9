#pragma once

#include <distribution/export.h>
#include <distribution/linkoptions.h>
#include <distribution/recordingfile.h>

#include <values/tree.h>

#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include <memory>
#include <set>

namespace distribution {

class ICarrier;
class TreeLink;

/// Writes down what is said in a distributed tree: it mirrors all branches in a tree of its own, as any
/// program does, and records what comes for them. The file is made of segments, each behind a snapshot of
/// that tree, and does not outgrow its bound: the oldest segments are dropped then. Collections need their
/// types registered.
///
/// Lives on one thread and needs its event loop.
class KOLTA_DISTRIBUTION_EXPORT TreeRecorder : public QObject
{
    Q_OBJECT

public:
    /// The file is kept below `maximumBytes`, what is copied while it is shortened included; 1 MiB at least.
    TreeRecorder(const LinkOptions& options, const QString& file, quint64 maximumBytes,
                 QObject* parent = nullptr);
    /// Like stop(), when it has been started.
    ~TreeRecorder() override;

    /// The tree's mirror, for its states; nothing is recorded before start().
    TreeLink& link() const noexcept { return *m_link; }
    /// Begins with what is there now. False, and the reason in one line, when the file cannot be written.
    bool start(QString& error);
    /// Ends the recording, with the reason.
    void stop(const QString& reason);
    bool isRecording() const noexcept { return m_isRecording; }

    /// What the file holds and has held.
    quint64 bytes() const noexcept { return m_writer.GetSize(); }
    quint64 messages() const noexcept { return m_messages; }
    quint64 segmentsDropped() const noexcept { return m_dropped; }
    qint64 durationMs() const;

Q_SIGNALS:
    /// Nothing more is recorded, for the reason given in one line; what was written stays readable.
    void si_Failed(const QString& reason);

private:
    class Tap;
    struct Place
    {
        quint64 offset = 0;
        quint64 snapshotEnd = 0;
    };

    qint64 nowMs() const;
    void onUp();
    void onDown(const QString& text);
    void onMessage(const std::string& topic, const std::string& payload);
    void look();
    bool beginSegment();
    bool shorten(quint64 room);
    bool ensureRoom(quint64 bytes);
    QString tooSmall() const;
    bool note(RecordKind kind, const QString& text = QString());
    void tick();
    void fail(const QString& reason);

    const LinkOptions m_options;
    const QString m_file;
    const quint64 m_maximumBytes;
    values::Tree m_tree;
    std::unique_ptr<TreeLink> m_link;
    RecordingWriter m_writer;
    std::vector<Place> m_segments; ///< that are in the file
    QTimer m_timer;
    QThreadPool m_syncer;
    QObject m_context;    ///< what the syncer finds comes to it
    qint64 m_startMs = 0; ///< of the machine's clock
    qint64 m_downMs = 0;  ///< since then the link is down
    qint64 m_writtenMs = 0;
    QString m_downText;
    quint64 m_messages = 0;
    quint64 m_dropped = 0;
    bool m_isLinkUp = false;
    bool m_isRecording = false;
};

} // namespace distribution
