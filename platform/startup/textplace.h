#pragma once

#include <startup/export.h>

#include <QString>

class QXmlStreamReader;

namespace Startup {

/// A place in a text. Both count from 1.
struct KOLTA_STARTUP_EXPORT TextPlace
{
    qint64 line = 1;
    qint64 column = 1;

    /// In the words of every message: "line 3, column 7".
    QString toString() const;
    /// One line of what is wrong there: "users.xml, line 3, column 7: <complaint>".
    QString message(const QString& file, const QString& complaint) const;
    /// The place at which `text`, which begins at this one, ends.
    TextPlace behind(const QString& text) const;
    /// Up to where `xml` has read.
    static TextPlace of(const QXmlStreamReader& xml);
};

} // namespace Startup
