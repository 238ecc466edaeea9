#include <distribution/replay.h>

#include <distribution/call.h>
#include <distribution/replaycarrier.h>
#include <distribution/texts.h>
#include <distribution/topics.h>

#include <algorithm>
#include <functional>
#include <set>

namespace distribution {

namespace {

/// Others have their turn after so long, also while a jump goes over much.
constexpr qint64 kSliceMs = 15;
constexpr qint64 kTickMs = 100;
/// A longer pause of the recorder, such as its machine's sleep, is told as one of this length.
constexpr qint64 kLongestPauseMs = 3600 * 1000;

} // namespace

Replay::Replay()
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Replay::turn);
}

Replay::~Replay() = default;

std::shared_ptr<Replay> Replay::Open(const ReplayAddress& address, QString& error)
{
    std::shared_ptr<Replay> replay(new Replay);
    if (!replay->m_reader.Open(address.file, error))
        return nullptr;
    replay->m_cutAtFirst = replay->cut();
    replay->m_topics.emplace(replay->head().prefix.toStdString());
    replay->m_positionMs = replay->begin();
    const auto from = replay->find(address.from, error);
    if (!from) {
        error = QStringLiteral("%1: %2").arg(address.file, error);
        return nullptr;
    }
    replay->m_positionMs = *from;
    replay->m_speed = address.speed > 0 ? address.speed : 1;
    replay->m_isPaused = address.speed <= 0;
    return replay;
}

void Replay::attach(ReplayCarrier* carrier)
{
    if (m_carrier && m_carrier != carrier) {
        QTimer::singleShot(0, this, [refused = values::Weak<ReplayCarrier>(carrier)] {
            if (refused)
                call(refused.Get()->onDown, DownReason::Refused,
                     Texts::tr("somebody else listens to this replay already"));
        });
        return;
    }
    m_carrier = carrier;
    m_isLinkUp = false;
    m_isBegun = false;
    m_lives.clear();
    restore();
}

void Replay::detach(ReplayCarrier* carrier)
{
    if (m_carrier != carrier)
        return;
    m_carrier = nullptr;
    m_isBegun = false;
    m_timer.stop();
}

void Replay::pause()
{
    m_isPaused = true;
    m_until.reset();
    Q_EMIT si_StateChanged();
}

void Replay::go()
{
    m_isPaused = false;
    anchor();
    schedule(0);
    Q_EMIT si_StateChanged();
}

void Replay::goUntil(qint64 timeMs)
{
    m_until = timeMs;
    go();
}

void Replay::setSpeed(double speed)
{
    if (speed <= 0)
        return pause();
    anchor();
    m_speed = std::min(speed, ReplayAddress::kMostSpeed);
    schedule(0);
    Q_EMIT si_StateChanged();
}

void Replay::step(int number)
{
    m_isPaused = true;
    m_steps += number;
    schedule(0);
    Q_EMIT si_StateChanged();
}

void Replay::jump(qint64 timeMs)
{
    m_steps = 0;
    m_goal = qBound(begin(), timeMs, end());
    schedule(0);
    Q_EMIT si_StateChanged();
}

void Replay::restore()
{
    m_fromSnapshot = true;
    jump(m_goal.value_or(m_positionMs));
}

void Replay::schedule(qint64 milliseconds)
{
    if (m_carrier)
        m_timer.start(static_cast<int>(milliseconds));
}

/// From here on time passes as the speed says.
void Replay::anchor()
{
    m_anchorMs = m_positionMs;
    m_since.start();
}

void Replay::setPosition(qint64 timeMs)
{
    m_positionMs = timeMs;
    if (std::abs(m_positionMs - m_toldMs) < kTickMs && m_isBegun && !isAtEnd())
        return;
    m_toldMs = m_positionMs;
    Q_EMIT si_Moved(m_positionMs);
}

const std::optional<Record>& Replay::next()
{
    if (m_next)
        return m_next;
    const auto& segments = m_reader.GetSegments();
    m_next = m_reader.Read(m_offset);
    // What the snapshot of the next segment says has been told already.
    while (m_next && m_next->kind == RecordKind::Segment && m_segment + 1 < segments.size()) {
        m_offset = segments[++m_segment].play;
        m_next = m_reader.Read(m_offset);
    }
    if (m_next)
        m_offset = m_next->next;
    return m_next;
}

void Replay::turn()
{
    // A listener may run an event loop, and time stands still for it then.
    if (!m_carrier || m_isTelling)
        return;
    const auto alive = shared_from_this(); // who is told may destroy all that holds this
    m_isTelling = true;
    m_sliceAge.start();
    if (m_goal)
        move();
    else if (m_steps > 0)
        takeSteps();
    else if (!m_isPaused)
        play();
    m_isTelling = false;
    if (isNewlyCut()) {
        m_cutMs = m_positionMs;
        m_goal.reset();
        pause();
        Q_EMIT si_Cut();
    }
}

void Replay::move()
{
    const std::size_t segment = m_reader.SegmentAt(*m_goal);
    if (m_fromSnapshot || *m_goal < m_positionMs || segment > m_segment) {
        m_fromSnapshot = false;
        startAt(segment);
    }
    if (m_goal && m_carrier && playTo(*m_goal))
        finishMove();
    else
        schedule(0);
}

void Replay::takeSteps()
{
    while (m_steps > 0 && playNext()) {
        if (m_sliceAge.hasExpired(kSliceMs)) {
            schedule(0);
            return;
        }
    }
    m_steps = 0;
    finishMove();
}

void Replay::play()
{
    const auto aim = m_anchorMs + static_cast<qint64>(static_cast<double>(m_since.elapsed()) * m_speed);
    const qint64 last = m_until ? std::min(*m_until, end()) : end();
    if (!playTo(std::min(aim, last)))
        anchor(); // who cannot follow is not hurried
    if (m_isPaused && !m_goal && m_steps == 0)
        return;
    if (m_goal || m_steps > 0) {
        schedule(0);
        return;
    }
    if (m_positionMs >= last) {
        setPosition(m_positionMs);
        pause();
        if (m_positionMs >= end())
            Q_EMIT si_Ended();
        return;
    }
    const qint64 toNext = next() ? std::max(qint64(0), next()->timeMs - m_positionMs) : 0;
    const qint64 toAlarm = m_clock.nextAlarmIn() < 0 ? kTickMs : m_clock.nextAlarmIn();
    const double wait = static_cast<double>(std::min(toNext, toAlarm)) / m_speed;
    schedule(std::min(kTickMs, static_cast<qint64>(wait) + 1));
}

void Replay::finishMove()
{
    m_goal.reset();
    anchor();
    setPosition(m_positionMs);
    Q_EMIT si_StateChanged();
    if (!m_isPaused || m_steps > 0) // that was wanted while it jumped
        schedule(0);
}

/// False when the slice is over before that time has come, or somebody wants something else meanwhile.
bool Replay::playTo(qint64 timeMs)
{
    const auto goal = m_goal;
    while (next() && next()->timeMs <= timeMs) {
        if (!playNext() || m_goal != goal || m_fromSnapshot || m_sliceAge.hasExpired(kSliceMs))
            return false;
    }
    if (isNewlyCut()) // it stands there first
        return false;
    passTime(timeMs);
    return m_goal == goal && m_carrier;
}

/// False at the end, and when nobody listens any more.
bool Replay::playNext()
{
    if (!m_carrier || !next())
        return false;
    Record record = *std::exchange(m_next, std::nullopt);
    passTime(record.timeMs);
    if (!m_carrier || !deliver(record))
        return false;
    if (m_steps > 0 && isStep(record))
        --m_steps;
    return true;
}

/// Whether it is more than a sign of life.
bool Replay::isStep(const Record& record) const
{
    if (record.kind != RecordKind::Message)
        return record.kind == RecordKind::LinkUp || record.kind == RecordKind::LinkDown;
    const auto topic = m_topics->Parse(record.topic);
    return !topic || topic->kind != TopicKind::Beat;
}

void Replay::passTime(qint64 timeMs)
{
    if (timeMs > m_clockMs) {
        const qint64 passed = timeMs - m_clockMs;
        m_clockMs = timeMs;
        m_clock.advance(std::min(passed, kLongestPauseMs));
    }
    if (m_isBegun && timeMs > m_positionMs)
        setPosition(timeMs);
}

/// Tells it as one of this generation. False when nobody listens any more.
bool Replay::deliver(Record& record)
{
    if (record.kind == RecordKind::LinkUp && !std::exchange(m_isLinkUp, true))
        call(m_carrier->onUp, kLargestPayload);
    if (record.kind == RecordKind::LinkDown && std::exchange(m_isLinkUp, false))
        call(m_carrier->onDown, DownReason::Lost, record.text);
    if (record.kind != RecordKind::Message || !m_isLinkUp)
        return m_carrier != nullptr;
    ShiftEpoch(record.payload, m_generation);
    if (const auto said = claimOf(record)) {
        const auto& [branch, live] = *said;
        if (live.state != LiveState::Withdrawn)
            m_lives[{branch, live.epoch}] = live;
        else
            m_lives.erase({branch, live.epoch});
    }
    call(m_carrier->onMessage, record.topic, record.payload);
    return m_carrier != nullptr;
}

/// The branch and what its owner, or the broker, says of the owner's life; nothing for other messages.
std::optional<std::pair<QString, LiveMessage>> Replay::claimOf(const Record& record) const
{
    const auto topic = m_topics->Parse(record.topic);
    const auto live =
        topic && topic->kind == TopicKind::Live ? DecodeLive(record.payload) : std::optional<LiveMessage>();
    return live ? std::optional(std::pair(topic->branch, *live)) : std::nullopt;
}

/// The next record; nothing behind nothing.
std::optional<Record> Replay::behind(const std::optional<Record>& record)
{
    return record ? m_reader.Read(record->next) : std::nullopt;
}

/// Tells the snapshot of a segment in the place of all that was told before.
void Replay::startAt(std::size_t number)
{
    const RecordingReader::Segment& segment = m_reader.GetSegments().at(number);
    if (!std::exchange(m_isLinkUp, true))
        call(m_carrier->onUp, kLargestPayload);
    if (m_carrier)
        endLives(segment);
    ++m_generation;
    m_segment = number;
    m_isBegun = false;
    // Its messages stand in the order of their times, which are those at which they were heard. Somebody may
    // have cut the file meanwhile.
    for (auto record = behind(m_reader.Read(segment.offset)); record && m_carrier; record = behind(record)) {
        if (record->kind == RecordKind::SnapshotEnd)
            break;
        if (!m_isBegun) {
            m_clockMs = qBound(segment.timeMs - kLongestPauseMs, record->timeMs, segment.timeMs);
            m_isBegun = true;
        }
        m_positionMs = segment.timeMs;
        passTime(std::min(record->timeMs, segment.timeMs));
        if (m_carrier)
            deliver(*record);
    }
    if (!m_isBegun)
        m_clockMs = segment.timeMs;
    m_isBegun = true;
    m_next.reset();
    m_offset = segment.play;
    m_positionMs = segment.timeMs;
    passTime(segment.timeMs);
}

/// Owners that go on in the segment die, so that the next ones are followed; the others leave with all they
/// have.
void Replay::endLives(const RecordingReader::Segment& segment)
{
    std::set<QString> staying;
    for (auto record = behind(m_reader.Read(segment.offset));
         record && record->kind != RecordKind::SnapshotEnd; record = behind(record)) {
        const auto said = claimOf(*record);
        if (said && said->second.state == LiveState::Alive)
            staying.insert(said->first);
    }
    for (auto& [life, last] : std::exchange(m_lives, {})) {
        const QString& branch = life.first;
        last.state = staying.count(branch) > 0 ? LiveState::Dead : LiveState::Withdrawn;
        if (m_carrier)
            call(m_carrier->onMessage, m_topics->Live(branch), Encode(last));
    }
}

} // namespace distribution
