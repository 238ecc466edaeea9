#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

/// Copies the installation in `from` to `to`; there `file` holds `content` then.
inline bool copyInstallation(const QString& from, const QString& to, const char* file,
                             const QByteArray& content)
{
    for (const QString& name : QDir(from).entryList(QDir::Files)) {
        if (name != QLatin1String(file) &&
            !QFile::copy(from + QLatin1Char('/') + name, to + QLatin1Char('/') + name))
            return false;
    }
    QFile other(to + QLatin1Char('/') + QLatin1String(file));
    return other.open(QIODevice::WriteOnly) && other.write(content) == content.size();
}
