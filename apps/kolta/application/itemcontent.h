#pragma once

#include <QString>
#include <QStringList>

namespace values {
class TreeItem;
}

namespace KoltaCli {

/// What an item of the value tree holds, for people and programs: the same for equal items of all processes,
/// and different for different ones. What would forge lines, and halves of a pair of surrogates, stand there
/// as \uXXXX, a backslash is doubled.
struct ItemContent
{
    QString type;      ///< "Node" for one without a value
    QStringList lines; ///< a text; the choice and the items of a selection; else bytes in hexadecimal digits
    QString json;      ///< a string, an object, an array of strings; null for a node

    static ItemContent of(values::TreeItem& item);
};

/// `text` as it stands in the lines.
QString escaped(const QString& text);
/// The same as a string of JSON, with its quotation marks.
QString jsonString(const QString& text);

} // namespace KoltaCli
