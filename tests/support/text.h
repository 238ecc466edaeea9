#pragma once

#include <QString>
#include <QStringList>

/// A text from UTF-8. Lone surrogates and texts that must be null need QStringLiteral and QString().
inline QString operator""_s(const char* text, std::size_t size)
{
    return QString::fromUtf8(text, static_cast<int>(size));
}

/// The words of a text that stand between blanks.
inline QStringList words(const QString& text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}
inline QStringList words(const char* text)
{
    return words(QString::fromUtf8(text));
}
