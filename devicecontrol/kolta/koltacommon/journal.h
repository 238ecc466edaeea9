#pragma once

#include <koltacommon/event.h>
#include <koltacommon/export.h>
#include <koltacommon/stretchbook.h>

#include <startup/clock.h>

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QTimer>
#include <QVector>

#include <deque>
#include <memory>

namespace Kolta {

class InstallationEvents;
class JournalFile;

/// A line of a journal: an event, or several that say the same again and again.
struct KOLTA_COMMON_EXPORT JournalEntry
{
    quint64 number = 0; ///< unlike all others of this journal; later ones have larger numbers
    Event event;        ///< the latest of them, with the time of the first and the largest weight
    int count = 1;
    QDateTime last;  ///< time of the latest
    QString another; ///< of several: what the one before the latest said

    /// The event's text, of several with "(×14 in 2 min: flutters)" behind it.
    QString text() const;
};

/// What happened in an installation and what was so from when to when, in bounded memory and, where a file is
/// given, in bounded room on disk.
///
/// Events become lines, in the order in which they came, once in a turn of the event loop, so that a thousand
/// at once are one change; the books of states are up to date at once. What is said about one subject again
/// and again within two minutes becomes one line. Slots may do anything, deleting this included, but within
/// the signals of what is about to happen. Lives on one thread, that of its source.
class KOLTA_COMMON_EXPORT Journal : public QObject
{
    Q_OBJECT

public:
    struct Limits
    {
        int entries = 100000;
        int stretches = StretchBook::kDefaultRoom;
        qint64 fileBytes = 64 * 1024 * 1024; ///< of both files together
    };
    static constexpr qint64 kMergeMs = 120000;
    /// How often a journal on disk says that somebody still watches, in milliseconds.
    static constexpr int kBeatMs = 60000;

    explicit Journal(QObject* parent = nullptr);
    explicit Journal(const Limits& limits, QObject* parent = nullptr);
    ~Journal() override;

    /// A file for the installation of that name, a URL for instance, in the user's data folder.
    static QString pathFor(const QString& installation);
    /// Reads the journal in the file, in place of what this has. False, with problem(), when it cannot be
    /// read.
    bool read(const QString& path);
    /// The same, and goes on writing there, also after what is unreadable in it. False, with problem(), when
    /// that cannot be; what is in memory works all the same.
    bool open(const QString& path);
    bool isWriting() const;
    /// The file that it writes; empty for none.
    QString path() const;
    /// Why there is no file, or what in it could not be read; empty for nothing.
    const QString& problem() const noexcept { return m_problem; }

    /// Takes down what the source tells, until the source dies or another one is followed. That is when
    /// watching begins and ends.
    void follow(InstallationEvents& source);
    /// Takes down one event.
    void take(const Event& event);

    // Lines. Their numbers go up one by one.

    quint64 firstNumber() const noexcept { return m_first; }
    quint64 endNumber() const noexcept { return m_first + m_entries.size(); }
    /// Null when there is none; good until control is back in the event loop.
    const JournalEntry* entry(quint64 number) const;
    /// The first line from that time on; endNumber() for none.
    quint64 numberAt(const QDateTime& time) const;
    /// The lines about a subject in that time, in their order.
    QVector<quint64> entriesOf(const EventSubject& subject, const QDateTime& from, const QDateTime& to) const;

    // States.

    /// Up to date, with all that has been taken down.
    const StretchBook& book() const noexcept { return m_book; }

Q_SIGNALS:
    void aboutToForget(quint64 count); ///< the oldest lines
    void forgotten();
    void aboutToAdd(quint64 count); ///< behind the newest line
    void added();
    /// These lines say something else; after what is added.
    void changed(const QVector<quint64>& numbers);
    void aboutToReset();
    void reset();
    /// The states of these subjects are others; once in a turn of the event loop.
    void statesChanged(const QVector<Kolta::EventSubject>& subjects);
    /// Writing has ended; see problem().
    void writingFailed();

private:
    struct Line
    {
        JournalEntry entry;
        qint64 order = 0; ///< its time, or that of one before it when the time of day was set back
    };

    void takeTold(const Event& event);
    void takeNoticed(const Event& event);
    void noteState(const Event& event);
    void endFollowing();
    void write(bool isTold, const Event& event);
    void writeBeat();
    void clear();
    void readRecord(int record, const Event& event);

    Line& lineAt(quint64 number) { return m_entries[static_cast<std::size_t>(number - m_first)]; }
    void work();
    bool flushEntries();
    std::deque<Line> makeLines(QVector<quint64>& merged);
    Line* mergeable(const Event& event, std::deque<Line>& fresh);
    void forget(quint64 count);
    QByteArray top() const;

    const Limits m_limits;
    QPointer<InstallationEvents> m_source;
    StretchBook m_book;
    std::deque<Line> m_entries;
    quint64 m_first = 1;
    QHash<EventSubject, std::deque<quint64>> m_bySubject;
    QVector<Event> m_pending; ///< not lines yet
    QVector<EventSubject> m_states;
    QTimer m_turn;
    std::unique_ptr<JournalFile> m_file;
    QTimer m_beat;
    QDateTime m_lastRead;
    QString m_problem;
};

} // namespace Kolta

Q_DECLARE_METATYPE(Kolta::EventSubject)
