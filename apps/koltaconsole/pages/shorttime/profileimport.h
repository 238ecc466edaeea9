#pragma once

#include <koltacommon/shorttimeprofileitemmap.h>

#include <QList>
#include <QStringList>
#include <QVector>

namespace KoltaConsole {

/// What a file of short-time profiles would change, before it does.
struct ProfileImport
{
    struct Line
    {
        QString what; ///< "new: UHF burst 5"
        QString now;
        QString becomes;
        bool isRefused = false;

        bool operator==(const Line& other) const
        {
            return what == other.what && now == other.now && becomes == other.becomes &&
                   isRefused == other.isRefused;
        }
    };

    QString file;
    QString error; ///< the file cannot be read; nothing else is there then
    QVector<Line> lines;
    QList<Kolta::ShortTimeProfile> wanted; ///< what is new or other, and can be taken over
    int refused = 0;                       ///< profiles

    int count() const { return wanted.size() + refused; }
    /// Compares the file with what is there. What KoltaApps::importable() leaves out is refused; known
    /// profiles keep what files do not have.
    static ProfileImport read(const QString& file, const Kolta::ShortTimeProfileItemMap& map);
};

} // namespace KoltaConsole
