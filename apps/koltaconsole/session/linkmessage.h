#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <functional>

class QObject;

namespace KoltaConsole {

/// One message of a link, or about a branch, as people read it.
struct LinkMessage
{
    /// Bytes of a text that are kept.
    static constexpr int kMostText = 32 * 1024;

    QDateTime time;
    bool isSent = false;
    QString sentence;
    int bytes = 0; ///< of the message
    qint64 tookMs = -1;
    QByteArray text;          ///< UTF-8
    bool isShortened = false; ///< `text` is the beginning alone
};

/// Gives `take` each message, on this thread, until `context` goes; false when there is no such link any
/// more.
using MessageTap = std::function<bool(QObject* context, std::function<void(LinkMessage)> take)>;

/// The beginning of a UTF-8 text, no longer than what is kept.
inline QByteArray beginningOf(const QByteArray& utf8)
{
    int end = LinkMessage::kMostText;
    if (utf8.size() <= end)
        return utf8;
    while (end > 0 && (static_cast<unsigned char>(utf8.at(end)) & 0xC0U) == 0x80U) // within a character
        --end;
    return utf8.left(end);
}

} // namespace KoltaConsole
