#include "journalfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QList>

#include <algorithm>
#include <iterator>
#include <utility>

namespace Kolta {

namespace {

constexpr char kHeader[] = "kolta-journal 1\n";
constexpr char kLetters[] = {'B', 'E', 'W', 'e', 's'}; // of the records
constexpr int kTimeFields = 2;
constexpr int kEventFields = 14;
constexpr qint64 kLongestLine = 1 << 20;
/// Clocks differ; one line of years ahead would be later than all that is ever told.
constexpr qint64 kMostAheadSeconds = 24 * 3600;

QString tr(const char* text)
{
    return QCoreApplication::translate("Kolta::Journal", text);
}

void appendField(QByteArray& line, const QString& text)
{
    line += '\t';
    for (const char character : text.toUtf8()) {
        switch (character) {
        case '\t':
            line += "\\t";
            break;
        case '\n':
            line += "\\n";
            break;
        case '\\':
            line += "\\\\";
            break;
        default:
            line += character;
        }
    }
}

void appendField(QByteArray& line, qint64 number)
{
    line += '\t';
    line += QByteArray::number(number);
}

QString textOf(const QByteArray& field)
{
    if (!field.contains('\\'))
        return QString::fromUtf8(field);
    QByteArray text;
    text.reserve(field.size());
    for (int i = 0; i < field.size(); ++i) {
        const char next = field[i] == '\\' && i + 1 < field.size() ? field[++i] : '\0';
        text += next == 't' ? '\t' : next == 'n' ? '\n' : next ? next : field[i];
    }
    return QString::fromUtf8(text);
}

/// Refuses what is no number of the enumeration.
template<class Enum>
bool enumOf(const QByteArray& field, Enum last, Enum& value)
{
    bool isNumber = false;
    const int number = field.toInt(&isNumber);
    if (!isNumber || number < 0 || number > static_cast<int>(last))
        return false;
    value = static_cast<Enum>(number);
    return true;
}

bool timeOf(const QByteArray& field, QDateTime& time)
{
    bool isNumber = false;
    const qint64 milliseconds = field.toLongLong(&isNumber);
    time = QDateTime::fromMSecsSinceEpoch(milliseconds);
    return isNumber && milliseconds >= 0 && time.isValid();
}

bool eventOf(const QList<QByteArray>& fields, Event& event)
{
    bool isNumber = false;
    event.state = fields[7].toInt(&isNumber);
    if (!isNumber || !enumOf(fields[2], Event::Weight::Alarm, event.weight) ||
        !enumOf(fields[3], Event::Kind::Program, event.kind) ||
        !enumOf(fields[4], EventSubject::Type::User, event.subject.type))
        return false;
    event.subject.server = textOf(fields[5]);
    event.subject.guid = textOf(fields[6]);
    event.sawBegin = fields[8] != "0";
    event.name = textOf(fields[9]);
    event.text = textOf(fields[10]);
    event.production = textOf(fields[11]);
    event.tuner = textOf(fields[12]);
    event.holder = textOf(fields[13]);
    return true;
}

} // namespace

QByteArray JournalFile::line(Record record, const Event& event)
{
    QByteArray line(1, kLetters[static_cast<int>(record)]);
    appendField(line, event.time.toMSecsSinceEpoch());
    if (record == Record::Told || record == Record::Noticed) {
        appendField(line, static_cast<int>(event.weight));
        appendField(line, static_cast<int>(event.kind));
        appendField(line, static_cast<int>(event.subject.type));
        appendField(line, event.subject.server);
        appendField(line, event.subject.guid);
        appendField(line, event.state);
        appendField(line, event.sawBegin ? 1 : 0);
        for (const QString* text : {&event.name, &event.text, &event.production, &event.tuner, &event.holder})
            appendField(line, *text);
    }
    return line + '\n';
}

bool JournalFile::parse(const QByteArray& line, Record& record, Event& event)
{
    event = Event();
    const QList<QByteArray> fields = line.split('\t');
    const char* const letter = fields[0].size() == 1
                                   ? std::find(std::begin(kLetters), std::end(kLetters), fields[0][0])
                                   : std::end(kLetters);
    if (letter == std::end(kLetters) || fields.size() < kTimeFields || !timeOf(fields[1], event.time))
        return false;
    record = static_cast<Record>(letter - std::begin(kLetters));
    if (record != Record::Told && record != Record::Noticed)
        return fields.size() == kTimeFields;
    return fields.size() == kEventFields && eventOf(fields, event);
}

JournalFile::JournalFile(const QString& path, qint64 room) : m_path(path), m_room(room), m_file(path) {}

JournalFile::~JournalFile() = default;

bool JournalFile::fail(const QString& what)
{
    m_problem = what;
    m_file.close();
    m_lock.reset();
    m_buffer.clear();
    return false;
}

bool JournalFile::read(const Reader& reader)
{
    m_damage.clear();
    return readOne(olderPath(), reader) && readOne(m_path, reader);
}

bool JournalFile::readOne(const QString& path, const Reader& reader)
{
    QFile file(path);
    if (!file.exists())
        return true;
    if (!file.open(QIODevice::ReadOnly))
        return fail(tr("%1 cannot be read: %2").arg(path, file.errorString()));
    const QByteArray header = file.readLine(sizeof kHeader);
    if (!QByteArray::fromRawData(kHeader, sizeof kHeader - 1).startsWith(header))
        return fail(tr("%1 is no journal").arg(path));
    const QDateTime latest = QDateTime::currentDateTimeUtc().addSecs(kMostAheadSeconds);
    int damaged = 0;
    int firstDamaged = 0;
    for (int number = 2; !file.atEnd(); ++number) {
        QByteArray line = file.readLine(kLongestLine);
        const bool isWhole = line.endsWith('\n');
        line.chop(isWhole ? 1 : 0);
        Record record;
        Event event;
        if (isWhole && parse(line, record, event) && event.time <= latest)
            reader(record, event);
        else if (!damaged++)
            firstDamaged = number;
    }
    if (damaged)
        m_damage = tr("%1, line %2: %3 lines cannot be read")
                       .arg(path, QString::number(firstDamaged), QString::number(damaged));
    return true;
}

bool JournalFile::open()
{
    QDir().mkpath(QFileInfo(m_path).path());
    m_lock = std::make_unique<QLockFile>(m_path + QStringLiteral(".lock"));
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock())
        return fail(tr("%1 is written by another process").arg(m_path));
    if (!m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        return fail(tr("%1 cannot be written: %2").arg(m_path, m_file.errorString()));
    m_size = m_file.size();
    if (m_size == 0) {
        m_buffer = kHeader;
        return true;
    }
    // A line that a crash has cut ends here.
    m_file.seek(m_size - 1);
    char last = '\n';
    m_file.getChar(&last);
    m_buffer = last == '\n' ? QByteArray() : QByteArray(1, '\n');
    return true;
}

void JournalFile::append(Record record, const Event& event)
{
    if (isOpen())
        m_buffer += line(record, event);
}

bool JournalFile::begin()
{
    m_file.close();
    QFile::remove(olderPath());
    if (!QFile::rename(m_path, olderPath()) || !m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        return fail(tr("%1 cannot be written: %2").arg(m_path, m_file.errorString()));
    m_size = 0;
    return true;
}

bool JournalFile::flush(const std::function<QByteArray()>& top)
{
    if (!isOpen() || m_buffer.isEmpty())
        return isOpen();
    if (m_size > 0 && m_size + m_buffer.size() > m_room / 2) {
        if (!begin())
            return false;
        m_buffer.prepend(kHeader + top());
    }
    const QByteArray buffer = std::exchange(m_buffer, QByteArray());
    for (qint64 written = 0, more = 0; written < buffer.size(); written += more) {
        more = m_file.write(buffer.constData() + written, buffer.size() - written);
        if (more <= 0) // after a part of it was, the reason is known here
            return fail(tr("%1 cannot be written: %2").arg(m_path, m_file.errorString()));
    }
    m_size += buffer.size();
    return true;
}

} // namespace Kolta
