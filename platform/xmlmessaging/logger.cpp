#include "logger.h"

#include "linklog.h"
#include "messagecodec.h"

#include <startup/cfgcenter.h>
#include <startup/onelinetext.h>
#include <startup/tracesource.h>

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

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
    if (m_file.write(text) != text.size() || !m_file.flush())
        giveUp(QStringLiteral("cannot write"));
}

/// Opens the file and, when the next bytes would make it too large, puts it aside first.
bool LinkLog::openFor(qint64 size)
{
    const auto open = [this] {
        QDir().mkpath(QFileInfo(m_path).path());
        m_file.setFileName(m_path);
        if (!m_file.isOpen() && !m_file.open(QIODevice::WriteOnly | QIODevice::Append))
            return false;
        // What is said on a link concerns nobody else on the machine; a file of before is closed to others
        // too.
        m_file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        return true;
    };
    if (!m_file.isOpen() && !open()) {
        giveUp(QStringLiteral("cannot open"));
        return false;
    }
    if (m_file.size() == 0 || m_file.size() + size <= m_maxFileBytes)
        return true;
    const QString aside = m_path + QLatin1String(".1");
    m_file.close();
    QFile::remove(aside);
    if (QFile::rename(m_path, aside) && open())
        return true;
    giveUp(QStringLiteral("cannot rotate"));
    return false;
}

void LinkLog::giveUp(const QString& what)
{
    kTrace(eGivenUp, QStringLiteral("%1 message log \"%2\": %3").arg(what, m_path, m_file.errorString()));
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
