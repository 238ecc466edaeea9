#pragma once

#include "document.h"

namespace XmlCommon::detail {

class XmlAppender;

/// Appends the element as XML text without added white space.
void appendXml(XmlAppender& out, const Document& document, NodeId element);
/// The element as indented text.
QString readable(const Document& document, NodeId element);

} // namespace XmlCommon::detail
