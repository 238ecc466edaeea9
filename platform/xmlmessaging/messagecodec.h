#pragma once

#include <xmlmessaging/export.h>
#include <xmlmessaging/xmlmessage.h>

#include <QByteArray>
#include <QString>

namespace XmlCommon {

/// What one message may be at most; a peer that sends more is cut off.
struct MessageLimits
{
    int maxMessageBytes = 16 * 1024 * 1024;
    int maxDepth = 64;       ///< levels of elements, the message element included
    int maxFragments = 4096; ///< per message
};

/// The one place where messages become XML text and XML text becomes messages.
///
///     <Message id="17" service="1" time="6000000">
///       <Fragment component="Resources">
///         <Request>…one element…</Request> <Data>…one element…</Data> <Fault …/>
///       </Fragment>
///     </Message>
///
/// All functions are thread-safe.
class KOLTA_XMLMESSAGING_EXPORT MessageCodec
{
public:
    /// Appends the message's UTF-8 text to `out`.
    static void encode(const CXmlMessage& message, QByteArray& out);
    /// Builds a message from its UTF-8 text, which is parsed in place and then belongs to the message's
    /// trees. Null on malformed input; `error` then says what is wrong, where (byte offset) and what was
    /// expected. Refused: text that is not well-formed UTF-8 XML, a document type declaration, content behind
    /// the root, elements nested deeper than the limit, an unknown structure, numbers out of range.
    static ptrCXmlMessage decode(QByteArray text, QString& error,
                                 const MessageLimits& limits = MessageLimits());
    /// The message as indented text for people.
    static QString toReadable(const CXmlMessage& message);

private:
    class Encoder;
    class Decoder;
};

} // namespace XmlCommon
