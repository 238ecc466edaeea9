#pragma once

#include <xmlmessaging/xmlmessage.h>

#include <QByteArray>

namespace KoltaSimulation {

/// `message` as it travels: encoded and framed.
QByteArray framedBytes(const XmlCommon::CXmlMessage& message);

/// Replies that are well-formed and wrong; each for one misbehaviour.
XmlCommon::CXmlMessage withWrongId(const XmlCommon::CXmlMessage& reply);
XmlCommon::CXmlMessage withWrongComponent(const XmlCommon::CXmlMessage& reply);
XmlCommon::CXmlMessage withForgedText(const XmlCommon::CXmlMessage& reply);

/// Bytes that look like `reply` but are wrong; each for one misbehaviour.
QByteArray brokenFrame(const XmlCommon::CXmlMessage& reply, int variant);
QByteArray brokenXml(const XmlCommon::CXmlMessage& reply);
QByteArray oversizeReply(const XmlCommon::CXmlMessage& reply, int dataBytes);
QByteArray deepReply(const XmlCommon::CXmlMessage& reply, int levels);
QByteArray nonUtf8Reply(const XmlCommon::CXmlMessage& reply);

/// Number of variants of brokenFrame().
constexpr int kBrokenFrameVariants = 5;

} // namespace KoltaSimulation
