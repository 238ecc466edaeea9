#pragma once

#include <QString>
#include <QUuid>

namespace Kolta {

/// The GUID that `text` holds; letter case, missing braces and white space around it do not matter. Null when
/// it is anything else, also when a GUID is only a part of it.
inline QUuid guidFromText(const QString& text)
{
    const QString trimmed = text.trimmed();
    const bool braced =
        trimmed.size() == 38 && trimmed.front() == QLatin1Char('{') && trimmed.back() == QLatin1Char('}');
    // What follows a GUID, QUuid does not look at.
    return braced || trimmed.size() == 36 ? QUuid(trimmed) : QUuid();
}

/// Whether `text` is a GUID other than the null one.
inline bool isGuid(const QString& text)
{
    return !guidFromText(text).isNull();
}

/// Whether both texts are the same GUID. What is none is the same as nothing, not even as itself.
inline bool isSameGuid(const QString& a, const QString& b)
{
    return isGuid(a) && guidFromText(a) == guidFromText(b);
}

} // namespace Kolta
