#include <koltacommon/journal.h>

#include "journalfile.h"

#include <koltacommon/installationevents.h>

#include <QCryptographicHash>
#include <QStandardPaths>

#include <algorithm>
#include <utility>
#include <vector>

namespace Kolta {

namespace {

/// How many lines of a subject are looked through for one that says the same.
constexpr std::size_t kLookBack = 8;
/// How often a text was said before further ones are merged.
constexpr int kRepeats = 2;

QString durationText(qint64 milliseconds)
{
    const qint64 seconds = (milliseconds + 999) / 1000;
    return seconds <= 90 ? Journal::tr("%1 s").arg(seconds) : Journal::tr("%1 min").arg((seconds + 30) / 60);
}

} // namespace

QString JournalEntry::text() const
{
    if (count < 2)
        return event.text;
    return Journal::tr("%1 (×%2 in %3: flutters)")
        .arg(event.text, QString::number(count), durationText(event.time.msecsTo(last)));
}

Journal::Journal(QObject* parent) : Journal(Limits(), parent) {}

Journal::Journal(const Limits& limits, QObject* parent)
    : QObject(parent), m_limits(limits), m_book(limits.stretches)
{
    qRegisterMetaType<EventSubject>();
    qRegisterMetaType<QVector<EventSubject>>();
    m_turn.setSingleShot(true);
    m_turn.setInterval(0);
    connect(&m_turn, &QTimer::timeout, this, &Journal::work);
    m_beat.setInterval(kBeatMs);
    connect(&m_beat, &QTimer::timeout, this, &Journal::writeBeat);
}

Journal::~Journal()
{
    m_turn.disconnect(this);
    if (m_source)
        endFollowing();
    if (m_file)
        m_file->flush([this] { return top(); });
}

QString Journal::pathFor(const QString& installation)
{
    QString name;
    for (const QChar character : installation)
        name += character.isLetterOrNumber() && character.unicode() < 128 ? character : QLatin1Char('-');
    const QByteArray hash = QCryptographicHash::hash(installation.toUtf8(), QCryptographicHash::Sha1);
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) +
           QStringLiteral("/journal/%1-%2").arg(name.left(60), QString::fromLatin1(hash.toHex().left(8)));
}

void Journal::clear()
{
    m_first = endNumber();
    m_entries.clear();
    m_bySubject.clear();
    m_pending.clear();
    m_states.clear();
    m_book = StretchBook(m_limits.stretches);
    m_lastRead = QDateTime();
}

bool Journal::read(const QString& path)
{
    const QPointer<Journal> guard(this);
    Q_EMIT aboutToReset();
    clear();
    m_file = std::make_unique<JournalFile>(path, m_limits.fileBytes);
    const bool isRead = m_file->read([this](JournalFile::Record record, const Event& event) {
        readRecord(static_cast<int>(record), event);
    });
    m_book.endWatch(m_lastRead);
    m_problem = isRead ? m_file->damage() : m_file->problem();
    m_turn.start();
    Q_EMIT reset();
    if (guard && m_source && isRead) // goes on watching
        follow(*m_source);
    return isRead;
}

void Journal::readRecord(int record, const Event& event)
{
    using Record = JournalFile::Record;
    const auto kind = static_cast<Record>(record);
    if (kind == Record::WatchBegins) {
        m_book.endWatch(m_lastRead);
        m_book.beginWatch(event.time);
    } else if (kind == Record::WatchEnds) {
        m_book.endWatch(event.time);
    } else if (kind == Record::Watching) {
        m_book.beginWatch(event.time);
    } else {
        m_book.note(event);
    }
    m_lastRead = m_lastRead.isValid() ? std::max(m_lastRead, event.time) : event.time;
    if (kind != Record::Told)
        return;
    QVector<quint64> merged;
    m_pending = {event};
    for (Line& line : makeLines(merged))
        m_entries.push_back(std::move(line));
    if (m_entries.size() > static_cast<std::size_t>(m_limits.entries))
        forget(m_entries.size() - static_cast<std::size_t>(m_limits.entries));
}

bool Journal::open(const QString& path)
{
    const QPointer<Journal> guard(this);
    if (!read(path) || !guard)
        return false;
    const bool isOpen = m_file->open();
    if (!isOpen) {
        m_problem = m_file->problem();
        return false;
    }
    m_beat.start();
    if (m_source) {
        Event begin;
        begin.time = m_source->now();
        m_file->append(JournalFile::Record::WatchBegins, begin);
        for (const Event& event : m_book.open())
            m_file->append(JournalFile::Record::Noticed, event);
    }
    return true;
}

bool Journal::isWriting() const
{
    return m_file && m_file->isOpen();
}

QString Journal::path() const
{
    return isWriting() ? m_file->path() : QString();
}

/// What a new file begins with: what is so, and how long it has been.
QByteArray Journal::top() const
{
    QByteArray lines;
    Event watching;
    watching.time = m_book.watchBegin();
    if (!watching.time.isValid())
        return lines;
    lines += JournalFile::line(JournalFile::Record::Watching, watching);
    for (const Event& event : m_book.open())
        lines += JournalFile::line(JournalFile::Record::Noticed, event);
    return lines;
}

void Journal::follow(InstallationEvents& source)
{
    if (m_source)
        endFollowing();
    m_source = &source;
    connect(&source, &InstallationEvents::happened, this, &Journal::takeTold);
    connect(&source, &InstallationEvents::noticed, this, &Journal::takeNoticed);
    connect(&source, &QObject::destroyed, this, &Journal::endFollowing);
    Event begin;
    begin.time = source.now();
    m_book.beginWatch(begin.time);
    if (isWriting())
        m_file->append(JournalFile::Record::WatchBegins, begin);
    for (const Event& event : source.present())
        takeNoticed(event);
    m_turn.start();
}

void Journal::endFollowing()
{
    Event end;
    end.time = m_source ? m_source->now() : QDateTime::currentDateTime();
    if (m_source)
        m_source->disconnect(this);
    m_source = nullptr;
    m_book.endWatch(end.time);
    if (isWriting())
        m_file->append(JournalFile::Record::WatchEnds, end);
    m_turn.start();
}

void Journal::take(const Event& event)
{
    takeTold(event);
}

void Journal::takeTold(const Event& event)
{
    noteState(event);
    m_pending.append(event);
    if (isWriting())
        m_file->append(JournalFile::Record::Told, event);
}

void Journal::takeNoticed(const Event& event)
{
    noteState(event);
    if (isWriting())
        m_file->append(JournalFile::Record::Noticed, event);
}

void Journal::noteState(const Event& event)
{
    if (m_book.note(event))
        m_states.append(event.subject);
    if (!m_turn.isActive())
        m_turn.start();
}

void Journal::writeBeat()
{
    if (!isWriting() || !m_source)
        return;
    Event beat;
    beat.time = m_source->now();
    m_file->append(JournalFile::Record::Watching, beat);
    m_turn.start();
}

void Journal::work()
{
    const QPointer<Journal> guard(this);
    const bool wasWriting = isWriting();
    if (wasWriting && !m_file->flush([this] { return top(); })) {
        m_problem = m_file->problem();
        Q_EMIT writingFailed();
        if (!guard)
            return;
    }
    if (!flushEntries())
        return;
    const QVector<EventSubject> states = std::exchange(m_states, {});
    if (!states.isEmpty())
        Q_EMIT statesChanged(states);
}

/// A line about the same that says the same again and again, to which the event can be added.
Journal::Line* Journal::mergeable(const Event& event, std::deque<Line>& fresh)
{
    const auto subject = m_bySubject.constFind(event.subject);
    if (event.subject.type == EventSubject::Type::None || subject == m_bySubject.constEnd())
        return nullptr;
    const auto find = [&](quint64 number) -> Line& {
        return number < endNumber() ? lineAt(number) : fresh[static_cast<std::size_t>(number - endNumber())];
    };
    std::vector<Line*> recent; // newest first
    for (auto number = subject->rbegin(); number != subject->rend() && recent.size() < kLookBack; ++number) {
        Line& line = find(*number);
        if (line.entry.last.msecsTo(event.time) > kMergeMs)
            break;
        if (line.entry.event.kind == event.kind)
            recent.push_back(&line);
    }
    const auto isRepeated = [&recent](const QString& text) {
        int said = 0;
        for (const Line* line : recent) {
            const JournalEntry& entry = line->entry;
            if (entry.event.text == text || (entry.count > 1 && entry.another == text))
                said += (entry.count + 1) / 2;
        }
        return said >= kRepeats;
    };
    Line* const newest = recent.empty() ? nullptr : recent.front();
    const bool isMerged = newest && newest->entry.event.time.msecsTo(event.time) <= kMergeMs &&
                          isRepeated(event.text) && isRepeated(newest->entry.event.text);
    return isMerged ? newest : nullptr;
}

/// The lines that the pending events become; those that are added to lines that are there are `merged`.
std::deque<Journal::Line> Journal::makeLines(QVector<quint64>& merged)
{
    std::deque<Line> fresh;
    for (const Event& event : std::exchange(m_pending, {})) {
        if (Line* const line = mergeable(event, fresh)) {
            JournalEntry& entry = line->entry;
            if (entry.event.text != event.text)
                entry.another = entry.event.text;
            const QDateTime first = entry.event.time;
            const Event::Weight weight = std::max(entry.event.weight, event.weight);
            entry.event = event;
            entry.event.time = first;
            entry.event.weight = weight;
            entry.last = event.time;
            ++entry.count;
            if (entry.number < endNumber())
                merged.append(entry.number);
            continue;
        }
        Line line;
        line.entry.number = endNumber() + fresh.size();
        line.entry.event = event;
        line.entry.last = event.time;
        const Line* const before = !fresh.empty()      ? &fresh.back()
                                   : m_entries.empty() ? nullptr
                                                       : &m_entries.back();
        line.order = std::max(event.time.toMSecsSinceEpoch(), before ? before->order : 0);
        m_bySubject[event.subject].push_back(line.entry.number);
        fresh.push_back(std::move(line));
    }
    return fresh;
}

void Journal::forget(quint64 count)
{
    for (; count > 0 && !m_entries.empty(); --count, ++m_first) {
        const auto subject = m_bySubject.find(m_entries.front().entry.event.subject);
        if (subject != m_bySubject.end()) {
            subject->pop_front();
            if (subject->empty())
                m_bySubject.erase(subject);
        }
        m_entries.pop_front();
    }
}

/// False when a slot has deleted this. What a slot adds comes in the next turn.
bool Journal::flushEntries()
{
    const QPointer<Journal> guard(this);
    QVector<quint64> merged;
    std::deque<Line> fresh = makeLines(merged);
    const auto room = static_cast<std::size_t>(m_limits.entries);
    if (!fresh.empty()) {
        Q_EMIT aboutToAdd(fresh.size());
        std::move(fresh.begin(), fresh.end(), std::back_inserter(m_entries));
        Q_EMIT added();
        if (!guard)
            return false;
    }
    if (m_entries.size() > room) {
        const quint64 surplus = m_entries.size() - room;
        Q_EMIT aboutToForget(surplus);
        forget(surplus);
        Q_EMIT forgotten();
        if (!guard)
            return false;
    }
    std::sort(merged.begin(), merged.end());
    merged.erase(std::unique(merged.begin(), merged.end()), merged.end());
    merged.erase(merged.begin(), std::lower_bound(merged.begin(), merged.end(), m_first));
    if (!merged.isEmpty())
        Q_EMIT changed(merged);
    return guard;
}

const JournalEntry* Journal::entry(quint64 number) const
{
    if (number < m_first || number >= endNumber())
        return nullptr;
    return &m_entries[static_cast<std::size_t>(number - m_first)].entry;
}

quint64 Journal::numberAt(const QDateTime& time) const
{
    const auto line = std::lower_bound(m_entries.begin(), m_entries.end(), time.toMSecsSinceEpoch(),
                                       [](const Line& candidate, qint64 at) { return candidate.order < at; });
    return m_first + static_cast<quint64>(line - m_entries.begin());
}

QVector<quint64> Journal::entriesOf(const EventSubject& subject, const QDateTime& from,
                                    const QDateTime& to) const
{
    QVector<quint64> numbers;
    const auto found = m_bySubject.constFind(subject);
    if (found == m_bySubject.constEnd())
        return numbers;
    const quint64 end = std::min(numberAt(to), endNumber());
    for (auto number = std::lower_bound(found->begin(), found->end(), numberAt(from));
         number != found->end() && *number < end; ++number)
        numbers.append(*number);
    return numbers;
}

} // namespace Kolta
