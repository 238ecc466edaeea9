#pragma once

#include <xmlmessaging/xmlmessage.h>

#include <QFile>
#include <QString>

#include <atomic>
#include <mutex>

namespace XmlCommunication {
namespace logger {

enum eDirection { eSent, eReceived };

/// The traffic log of one link: one file, written by the link's thread.
class LinkLog
{
public:
    LinkLog(const QString& name, int mode, const QString& directory, qint64 maxFileBytes);

    const QString& name() const noexcept { return m_name; }
    /// An empty directory stops the writing.
    void setDirectory(const QString& directory);
    /// Appends a line on the link itself, such as its end. Never throws.
    void note(const QString& text) noexcept;
    /// Appends one message of `size` bytes. Never throws.
    void write(eDirection direction, const XmlCommon::CXmlMessage& message, int size) noexcept;

private:
    void append(const QByteArray& text);
    bool openFor(qint64 size);
    bool open();
    bool hasItsName() const;
    bool putAside();
    void giveUp(const QString& what);

    const QString m_name;
    const int m_mode;
    const qint64 m_maxFileBytes;
    std::atomic<bool> m_writing{false};
    std::mutex m_mutex;
    QString m_path;
    QFile m_file;
};

/// The file of a link with that name in `directory`.
QString logFileName(const QString& directory, const QString& name);

} // namespace logger
} // namespace XmlCommunication
