#pragma once

#include <QString>

namespace XmlCommon::detail {

/// More attributes than this in one element are refused; it also bounds the search for duplicates.
constexpr int kMaxAttributes = 64;

/// Whether the bytes are one well-formed XML document in UTF-8, as far as the tree parser does not see to it
/// itself (which leaves only the matching of start and end tags to it). Refused too: a document type
/// declaration, processing instructions, elements nested deeper than `maxDepth`. `error` then says what is
/// wrong, at which byte, and what was expected. Goes over the bytes once, without recursion.
/// `text[size]` must be zero, as it is behind the bytes of a QByteArray.
bool checkXml(const char* text, int size, int maxDepth, QString& error);

/// "<what> at byte <n>, expected <expected>": the one form of every complaint about received bytes.
QString malformed(const char* what, quint64 position, const char* expected);

} // namespace XmlCommon::detail
