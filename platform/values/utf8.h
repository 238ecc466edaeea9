#pragma once

#include <values/bytestream.h>
#include <values/export.h>

#include <QString>

#include <string>

/// \file
/// Texts as UTF-8, for contents and names that are long or travel often. A lone surrogate, which UTF-8 has no
/// form for, is written as the three bytes that its number would have, so that every text comes back equal.

namespace values {

/// Appends the bytes of the text, without a length.
KOLTA_VALUES_EXPORT void AppendUtf8(std::string& out, const QString& text);
/// Reads a text up to the end of `in`; false, and both stay as they are, for bytes that AppendUtf8() would
/// not have written, overlong forms and two halves of one character for instance.
KOLTA_VALUES_EXPORT bool ReadUtf8(ByteReader& in, QString& text);

/// One part of a text's bytes that gives way to others.
struct TextSplice
{
    std::size_t offset = 0;
    std::string removed;
    std::string inserted;
    std::size_t formerBytes = 0; ///< of the whole text before
};
/// Makes `text` what ReadUtf8() would read after the splice, in its place and without reading it all. False,
/// and it stays as it is, when the splice does not fit or cuts characters. `isChanged`: it is another text
/// now.
KOLTA_VALUES_EXPORT bool SpliceUtf8(QString& text, const TextSplice& splice, bool& isChanged);

/// The same with the number of bytes, a u32, before them.
KOLTA_VALUES_EXPORT void AppendShortText(std::string& out, const QString& text);
KOLTA_VALUES_EXPORT bool ReadShortText(ByteReader& in, QString& text);

} // namespace values
