#pragma once

#include <xmlmessaging/export.h>
#include <xmlmessaging/xmlmessage.h>

#include <QString>

#include <memory>

namespace XmlCommunication {

class CConnectionThread;

namespace logger {

class LinkLog;

/// How much of a link's traffic is written.
enum eLogMode : int {
    eLogOff = 0,
    eLogShort = 1, ///< one line per message: time, direction, kind, ID, components, size
    eLogFull = 2   ///< the same line followed by the message's indented XML
};

/// Writes the traffic of registered links into "<directory>/<name>.log", readable for people.
/// The directory is the configuration value "MessageLogger"/"Directory"; without one nothing is written. A
/// file that would grow over "MessageLogger"/"MaxFileBytes" (default 10,000,000) is renamed to
/// "<name>.log.1", replacing the one before. Links of one name, and processes with one directory, share the
/// file, whole lines in the order of writing. Thread-safe; writes happen on the links' threads.
class KOLTA_XMLMESSAGING_EXPORT Logger
{
public:
    static Logger& instance();

    /// To be called before the thread is started; the registration ends with the thread object.
    void registerConnection(CConnectionThread* thread, int mode, const QString& name);
    void unregisterConnection(CConnectionThread* thread);

    /// Overrides the configured directory; an empty one switches logging off.
    void setDirectory(const QString& directory);
    QString directory() const;
    /// The file that a link of that name writes; characters that a file name cannot carry become "_".
    QString fileName(const QString& name) const;

    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

private:
    Logger();
    ~Logger();
    friend class XmlCommunication::CConnectionThread;
    std::shared_ptr<LinkLog> logOf(CConnectionThread* thread) const;

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace logger
} // namespace XmlCommunication
