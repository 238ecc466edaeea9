#include "place.h"

#include <QChar>

namespace XmlText {

namespace {

bool continuesCharacter(uchar unit)
{
    return (unit & 0xC0) == 0x80;
}

bool continuesCharacter(char16_t unit)
{
    return QChar::isLowSurrogate(unit);
}

/// A byte order mark is not seen, so it is no column.
int sizeOfMark(const uchar* text, int position)
{
    return position >= 3 && text[0] == 0xEF && text[1] == 0xBB && text[2] == 0xBF ? 3 : 0;
}

int sizeOfMark(const char16_t* text, int position)
{
    return position >= 1 && text[0] == QChar::ByteOrderMark ? 1 : 0;
}

template<class Unit>
QString describe(const Unit* text, int position)
{
    int line = 1;
    int column = 1;
    for (int i = sizeOfMark(text, position); i < position; ++i) {
        const bool pair = text[i] == '\n' && i > 0 && text[i - 1] == '\r';
        if (text[i] == '\r' || text[i] == '\n') {
            line += pair ? 0 : 1;
            column = 1;
        } else if (!continuesCharacter(text[i])) {
            ++column;
        }
    }
    return QStringLiteral("line %1, column %2").arg(line).arg(column);
}

} // namespace

QString placeOf(const uchar* text, int position)
{
    return describe(text, position);
}

QString placeOf(const char16_t* text, int position)
{
    return describe(text, position);
}

} // namespace XmlText
