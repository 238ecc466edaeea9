#pragma once

#include <QString>

namespace XmlText {

/// Where in a text, in the words of every message: "line 3, column 7". Both count from 1; a column is a
/// character, whatever it takes in its encoding. A line ends with a line feed, a carriage return, or both in
/// that order.
QString placeOf(const uchar* text, int position);
QString placeOf(const char16_t* text, int position);

/// What is wrong with a text, where, and what was expected instead.
struct Complaint
{
    int position = 0; ///< in units of the text
    QString what;
    QString expected;
};

/// The one form of every complaint about an XML text: "line 3, column 7: <what>, expected <expected>".
template<class Unit>
QString toMessage(const Complaint& complaint, const Unit* text)
{
    return QStringLiteral("%1: %2, expected %3")
        .arg(placeOf(text, complaint.position), complaint.what, complaint.expected);
}

} // namespace XmlText
