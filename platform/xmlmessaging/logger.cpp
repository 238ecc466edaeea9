#include "logger.h"

#include "linklog.h"
#include "messagecodec.h"

#include <startup/cfgcenter.h>
#include <startup/onelinetext.h>
#include <startup/tracesource.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <cstdio>
#include <sys/file.h>
#include <sys/stat.h>
#include <unordered_map>

using XmlCommon::CMsgFragment;
using XmlCommon::CXmlMessage;

namespace XmlCommunication::logger {

namespace {

enum eTracePoint : int { eGivenUp = 10 };
constexpr Startup::TraceSource kTrace("platform/xmlmessaging/logger");

constexpr qint64 kDefaultMaxFileBytes = 10000000;

QString timeOfNow()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
}

/// "2024-05-01 12:00:00.123 > Query        ID 17  Resources, Faults  (412 bytes)"
QString shortLine(eDirection direction, const CXmlMessage& message, int size)
{

    QStringList components;
    for (int i = 0; i < message.getNumberOfFragments(); ++i) {
        const CMsgFragment& fragment = message.getFragment(i);
        const QString name = Startup::oneLineText(fragment.getComponentName());
        components.append(fragment.hasFaultTree() ? QString(name + QLatin1String(" (fault)")) : name);
    }
    return QStringLiteral("%1 %2 %3 ID %4  %5  (%6 bytes%7)\n")
        .arg(timeOfNow(), direction == eSent ? QStringLiteral(">") : QStringLiteral("<"),
             message.servicetypeToString().leftJustified(12), QString::number(message.getMessageID()),
             components.join(QLatin1String(", ")), QString::number(size),
             direction == eSent && message.isSentAgain() ? QStringLiteral(", sent again") : QString());
}

} // namespace

QString logFileName(const QString& directory, const QString& name)
{
    QString file = name.isEmpty() ? QStringLiteral("_") : name;
    for (QChar& c : file) {
        if (c < QLatin1Char(' ') || QStringLiteral("/\\:*?\"<>|").contains(c))
            c = QLatin1Char('_');
    }
    return QDir(directory).filePath(file + QLatin1String(".log"));
}

LinkLog::LinkLog(const QString& name, int mode, const QString& directory, qint64 maxFileBytes)
    : m_name(name), m_mode(mode), m_maxFileBytes(maxFileBytes)
{
    setDirectory(directory);
}

void LinkLog::setDirectory(const QString& directory)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_file.close();
    m_path = directory.isEmpty() ? QString() : logFileName(directory, m_name);
    m_writing.store(!m_path.isEmpty() && m_mode != eLogOff, std::memory_order_relaxed);
}

void LinkLog::note(const QString& text) noexcept
{
    if (!m_writing.load(std::memory_order_relaxed))
        return;
    try {
        append(QStringLiteral("%1 = %2\n").arg(timeOfNow(), Startup::oneLineText(text)).toUtf8());
    } catch (...) {
        // A log that cannot be written must not cost the link.
    }
}

void LinkLog::write(eDirection direction, const CXmlMessage& message, int size) noexcept
{
    if (!m_writing.load(std::memory_order_relaxed))
        return;
    try {
        QByteArray text = shortLine(direction, message, size).toUtf8();
        if (m_mode >= eLogFull)
            text += XmlCommon::MessageCodec::toReadable(message).toUtf8();
        append(text);
    } catch (...) {
        // A log that cannot be written must not cost the link.
    }
}

void LinkLog::append(const QByteArray& text)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_path.isEmpty() || !openFor(text.size()))
        return;
    const bool isWritten = m_file.write(text) == text.size() && m_file.flush();
    flock(m_file.handle(), LOCK_UN);
    if (!isWritten)
        giveUp(QStringLiteral("cannot write"));
}

/// Opens the file and locks it for the next bytes; when these would make it too large, puts it aside first.
/// Another link of the same name, or another process with the same folder, may write the file too: who holds
/// the lock of the file that has the name may write it or put it aside, and who finds that the name means
/// another file by now opens that one.
bool LinkLog::openFor(qint64 size)
{
    for (;;) {
        if (!m_file.isOpen() && !open()) {
            giveUp(QStringLiteral("cannot open"));
            return false;
        }
        flock(m_file.handle(), LOCK_EX);
        if (!hasItsName()) {
            m_file.close();
        } else if (m_file.size() == 0 || m_file.size() + size <= m_maxFileBytes) {
            return true;
        } else if (!putAside()) {
            giveUp(QStringLiteral("cannot rotate"));
            return false;
        }
    }
}

bool LinkLog::open()
{
    QDir().mkpath(QFileInfo(m_path).path());
    m_file.setFileName(m_path);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    // What is said on a link concerns nobody else on the machine; a file of before is closed to others too.
    m_file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    return true;
}

/// Whether the open file is still the one that the path names.
bool LinkLog::hasItsName() const
{
    struct stat open = {};
    struct stat named = {};
    return fstat(m_file.handle(), &open) == 0 && stat(QFile::encodeName(m_path).constData(), &named) == 0 &&
           open.st_ino == named.st_ino && open.st_dev == named.st_dev;
}

/// Closes the file, which ends the lock, with its new name.
bool LinkLog::putAside()
{
    const QByteArray path = QFile::encodeName(m_path);
    const bool isAside = std::rename(path.constData(), QByteArray(path + ".1").constData()) == 0;
    m_file.close();
    return isAside;
}

void LinkLog::giveUp(const QString& what)
{
    const QString why = m_file.error() == QFile::NoError ? qt_error_string() : m_file.errorString();
    kTrace(eGivenUp, QStringLiteral("%1 message log \"%2\": %3").arg(what, m_path, why));
    m_file.close();
    m_path.clear();
    m_writing.store(false, std::memory_order_relaxed);
}

struct Logger::Private
{
    std::mutex mutex;
    QString directory;
    qint64 maxFileBytes = kDefaultMaxFileBytes;
    std::unordered_map<CConnectionThread*, std::shared_ptr<LinkLog>> logs;
};

Logger& Logger::instance()
{
    // Never destroyed: links may end after the statics of this library.
    static Logger* const logger = new Logger;
    return *logger;
}

Logger::Logger() : d(std::make_unique<Private>())
{
    const QString group = QStringLiteral("MessageLogger");
    d->directory = Startup::CfgCenter::Instance().Text(group, QStringLiteral("Directory"));
    bool ok = false;
    const qint64 bytes = Startup::CfgCenter::Instance()
                             .Value(group, QStringLiteral("MaxFileBytes"), kDefaultMaxFileBytes)
                             .toLongLong(&ok);
    if (ok && bytes > 0)
        d->maxFileBytes = bytes;
}

Logger::~Logger() = default;

void Logger::registerConnection(CConnectionThread* thread, int mode, const QString& name)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->logs[thread] = std::make_shared<LinkLog>(name, mode, d->directory, d->maxFileBytes);
}

void Logger::unregisterConnection(CConnectionThread* thread)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->logs.erase(thread);
}

std::shared_ptr<LinkLog> Logger::logOf(CConnectionThread* thread) const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    const auto found = d->logs.find(thread);
    return found == d->logs.end() ? nullptr : found->second;
}

void Logger::setDirectory(const QString& directory)
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    d->directory = directory;
    for (const auto& entry : d->logs)
        entry.second->setDirectory(directory);
}

QString Logger::directory() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    return d->directory;
}

QString Logger::fileName(const QString& name) const
{
    return logFileName(directory(), name);
}

} // namespace XmlCommunication::logger
