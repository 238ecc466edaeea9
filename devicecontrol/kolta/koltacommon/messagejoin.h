#pragma once

#include <QString>

namespace Kolta {

/// Stands between messages that are collected for the user: the line separator.
constexpr QChar kMessageSeparator = QChar(0x2028);

/// Appends `message` to the messages collected in `text`, with one separator between them: none in front of
/// the first, and none where `text` ends in one already. An empty message adds nothing.
inline void addMessage(QString& text, const QString& message)
{
    if (message.isEmpty())
        return;
    if (!text.isEmpty() && !text.endsWith(kMessageSeparator))
        text += kMessageSeparator;
    text += message;
}

} // namespace Kolta
