#pragma once

#include <QString>
#include <QUuid>

namespace Kolta {

/// The GUID that `text` holds; letter case, missing braces and white space around it do not matter. Null when
/// it is anything else, also when a GUID is only a part of it.
inline QUuid guidFromText(const QString& text)
{
    const QString trimmed = text.trimmed();
    const QUuid guid(trimmed);
    const auto isForm = [&](QUuid::StringFormat format) {
        return trimmed.compare(guid.toString(format), Qt::CaseInsensitive) == 0;
    };
    return isForm(QUuid::WithBraces) || isForm(QUuid::WithoutBraces) ? guid : QUuid();
}

} // namespace Kolta
