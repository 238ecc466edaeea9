#pragma once

#include <distribution/export.h>
#include <distribution/messages.h>
#include <distribution/recordingfile.h>
#include <distribution/topics.h>

#include <startup/clock.h>

#include <QDateTime>
#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace distribution {

class ReplayCarrier;

/// Which recording is to be played, and how: `replay:FILE[?speed=N][&from=TIME]`, with %XX for what would not
/// stand in a URL.
struct KOLTA_DISTRIBUTION_EXPORT ReplayAddress
{
    QString file;
    double speed = 1; ///< 0: it stands still at `from`
    QString from;     ///< as Replay::find() reads it; empty: the beginning

    /// Whether a URL is to be read as one of a recording.
    static bool IsMeant(const QString& url);
    /// Nothing, and what is wrong in one line, for a text that is no such URL.
    static std::optional<ReplayAddress> FromUrl(const QString& url, QString& error);
    QString ToUrl() const;

    static constexpr double kMostSpeed = 10000;
    /// What such a URL looks like, for people.
    static constexpr char kExpected[] = "replay:FILE[?speed=N][&from=TIME]";
};

/// Plays a recording to those above a ReplayCarrier, as the broker would have told it to them: with its
/// pauses, and the time by which silence is measured stands still while it does. A jump ends the lives of all
/// owners and begins others', so that whoever follows them takes over only what differs.
///
/// Times are milliseconds of the recording. Lives on one thread, that of its carrier, and needs its event
/// loop; what it is told to do is done from there, in slices that let others have their turn.
class KOLTA_DISTRIBUTION_EXPORT Replay : public QObject, public std::enable_shared_from_this<Replay>
{
    Q_OBJECT

public:
    /// Null, and why in one line, when there is no such recording or it does not reach to `from`.
    static std::shared_ptr<Replay> Open(const ReplayAddress& address, QString& error);
    ~Replay() override;

    const QString& file() const noexcept { return m_reader.GetPath(); }
    const SegmentHead& head() const { return m_reader.GetSegments().front().head; }
    qint64 begin() const { return m_reader.GetBeginMs(); }
    qint64 end() const noexcept { return m_cutMs.value_or(m_reader.GetEndMs()); }
    qint64 position() const noexcept { return m_positionMs; }
    double speed() const noexcept { return m_speed; }
    bool isPaused() const noexcept { return m_isPaused; }
    /// A jump or step is not over, or nobody has begun to listen.
    bool isMoving() const noexcept { return m_goal.has_value() || m_steps > 0 || !m_isBegun; }
    bool isAtEnd() const noexcept { return m_isBegun && !isMoving() && m_positionMs >= end(); }
    /// Why the recording ended before it was ended, or is played no further, in one line; empty when neither.
    const QString& cut() const noexcept { return m_reader.GetCut(); }

    /// Time of day at a time of the recording.
    QDateTime timeAt(qint64 timeMs) const;
    /// A time by its text: `begin`, `end`, a time of day `12:03[:10[.5]]`, with the date before it and a T or
    /// not, or seconds from where it is played, `+90` or `-1.5`. Nothing, and why in one line, for what is
    /// none of these or not recorded.
    std::optional<qint64> find(const QString& text, QString& error) const;

public Q_SLOTS:
    void pause();
    void go();
    /// Goes on, and pauses at that time.
    void goUntil(qint64 timeMs);
    /// From 0, which is a pause, to ReplayAddress::kMostSpeed.
    void setSpeed(double speed);
    /// Plays up to and with the next `number` messages that are no mere signs of life, and pauses.
    void step(int number = 1);
    /// Goes on there, or stands there when it is paused.
    void jump(qint64 timeMs);
    /// Tells anew what is there at the present time, for those who have something else.
    void restore();

Q_SIGNALS:
    /// The position is another one, at most some ten times a second while it is played.
    void si_Moved(qint64 position);
    /// Paused, going, another speed; isMoving() has changed.
    void si_StateChanged();
    /// The end was reached; pause() was called.
    void si_Ended();
    /// The file has lost what was to be played, as cut() says now; pause() was called. Told once.
    void si_Cut();

private:
    friend class ReplayCarrier;
    /// A life of an owner that was told of, by branch and epoch; its last claim.
    using Lives = std::map<std::pair<QString, QUuid>, LiveMessage>;

    Replay();
    void attach(ReplayCarrier* carrier);
    void detach(ReplayCarrier* carrier);
    void schedule(qint64 milliseconds);
    void turn();
    void move();
    void takeSteps();
    void play();
    void anchor();
    bool playTo(qint64 timeMs);
    bool playNext();
    bool isStep(const Record& record) const;
    std::optional<std::pair<QString, LiveMessage>> claimOf(const Record& record) const;
    void passTime(qint64 timeMs);
    bool deliver(Record& record);
    std::optional<Record> behind(const std::optional<Record>& record);
    void startAt(std::size_t segment);
    void endLives(const RecordingReader::Segment& segment);
    void finishMove();
    void setPosition(qint64 timeMs);
    const std::optional<Record>& next();
    bool isNewlyCut() const { return !m_cutMs && cut() != m_cutAtFirst; }

    RecordingReader m_reader;
    std::optional<Topics> m_topics; ///< as they were recorded
    Startup::ManualClock m_clock;
    ReplayCarrier* m_carrier = nullptr;
    QTimer m_timer;
    QElapsedTimer m_since;    ///< m_anchorMs was reached
    QElapsedTimer m_sliceAge; ///< since this turn of the event loop began
    qint64 m_anchorMs = 0;
    std::optional<qint64> m_until; ///< playing pauses there
    qint64 m_positionMs = 0;
    qint64 m_toldMs = 0;
    qint64 m_clockMs = 0; ///< time of the recording that m_clock shows
    double m_speed = 1;
    std::size_t m_segment = 0;    ///< that is played
    std::optional<Record> m_next; ///< read, and not played
    quint64 m_offset = 0;         ///< of what is to be read next
    std::optional<qint64> m_goal; ///< of a jump
    bool m_fromSnapshot = false;  ///< the jump is to begin with one
    int m_steps = 0;
    quint32 m_generation = ~0U; ///< of epochs; the first one is 0
    Lives m_lives;
    QString m_cutAtFirst;          ///< cut() when the file was opened
    std::optional<qint64> m_cutMs; ///< where it was found to be cut since then
    bool m_isPaused = false;
    bool m_isBegun = false;
    bool m_isLinkUp = false;
    bool m_isTelling = false;
};

} // namespace distribution
