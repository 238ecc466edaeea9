#pragma once

#include <koltacommon/event.h>

#include <QByteArray>
#include <QDateTime>
#include <QFile>
#include <QLockFile>
#include <QString>

#include <functional>
#include <memory>

namespace Kolta {

/// A journal on disk: lines of text that are only ever appended, in two files that replace each other, so
/// that the newest half of the room at least is there. What a crash leaves is read up to the line that it
/// cut.
class JournalFile
{
public:
    /// What a line says.
    enum class Record {
        WatchBegins,
        WatchEnds,
        Watching, ///< somebody still watches, or, at the top of a file, has watched before
        Told,     ///< an event for people
        Noticed   ///< a state
    };
    using Reader = std::function<void(Record, const Event&)>; ///< of the first three only the time counts

    JournalFile(const QString& path, qint64 room);
    ~JournalFile();

    /// Reads what is there, the older file first; a time more than a day ahead is a damaged line. False, with
    /// problem(), when there is a file that is none.
    bool read(const Reader& reader);
    /// Opens it for appending. False, with problem(), also when another process does that.
    bool open();
    void append(Record record, const Event& event);
    /// Writes what was appended: a crash of this process does not lose it any more. When the file is full,
    /// the older one is dropped and a new one begins with the lines that `top` gives, see line().
    bool flush(const std::function<QByteArray()>& top);
    bool isOpen() const { return m_file.isOpen(); }
    const QString& path() const noexcept { return m_path; }

    const QString& problem() const noexcept { return m_problem; }
    /// Lines that could not be read, and where the first stands; empty for none.
    const QString& damage() const noexcept { return m_damage; }

    static QByteArray line(Record record, const Event& event);
    /// False when it is none.
    static bool parse(const QByteArray& line, Record& record, Event& event);

private:
    bool readOne(const QString& path, const Reader& reader);
    bool begin();
    bool fail(const QString& what);
    QString olderPath() const { return m_path + QStringLiteral(".1"); }

    const QString m_path;
    const qint64 m_room;
    QFile m_file;
    std::unique_ptr<QLockFile> m_lock;
    QByteArray m_buffer;
    qint64 m_size = 0;
    QString m_problem;
    QString m_damage;
};

} // namespace Kolta
