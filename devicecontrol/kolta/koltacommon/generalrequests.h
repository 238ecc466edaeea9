#pragma once

#include <koltacommon/export.h>
#include <xmlmessaging/xmlmessage.h>

#include <QExplicitlySharedDataPointer>
#include <QMetaMethod>
#include <QMetaType>
#include <QPointer>
#include <QSharedData>
#include <QString>

namespace Kolta {

class KoltaRequest;
/// Shared handle of a request.
using ptrKoltaRequest = QExplicitlySharedDataPointer<KoltaRequest>;

/// Why a request is let go of without its reply.
enum class Abandonment {
    Refused,   ///< there is nothing to send, or nobody who takes it
    Closed,    ///< the connection was closed or destroyed
    LinkEnded, ///< the link failed and is not opened again
    TimeOver   ///< whoever limits the waiting for replies gave it up
};

/// One outgoing message and what is to be done with its reply.
///
/// Creating a request never sends it: hand it to KoltaConnection::executeRequest(), which takes a share of
/// it. The connection calls getMessage(), handleFault() and processReply() in this order, on its owner's
/// thread; exceptions from them are traced there. The reply arrives in the request's own message object:
/// service type, data and fault trees become the reply's, the request trees stay.
class KOLTA_COMMON_EXPORT KoltaRequest : public QSharedData
{
public:
    virtual ~KoltaRequest();

    /// The request's message; null or without a fragment, the request is never sent.
    virtual XmlCommon::ptrCXmlMessage& getMessage() = 0;
    /// Handles the reply. A request that is returned is executed behind those already queued; null for none.
    virtual ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage reply) = 0;
    /// Whether processReply() also gets replies that carry a fault. When false (as here) the connection emits
    /// its signal Fault instead of calling it.
    virtual bool handleFault();
    /// Whether faults go on to whoever waits for this request; true here. The connection does not ask.
    virtual bool propagateFaults();
    /// Name of the receiver, for people; empty here.
    virtual QString getReceiver();
    /// It was let go of without a reply; nothing here. `wasSent`: the server may have executed it.
    virtual void abandoned(Abandonment why, bool wasSent);
};

/// Sends a prepared message and ignores the reply. Faults surface through the connection's signal.
class KOLTA_COMMON_EXPORT GeneralRequest : public KoltaRequest
{
public:
    /// Makes an empty message, to be filled through getMessage().
    GeneralRequest();
    /// Shares `preparedMessage`.
    explicit GeneralRequest(XmlCommon::ptrCXmlMessage preparedMessage);
    /// Shares the other request's message.
    GeneralRequest(const GeneralRequest& other);
    GeneralRequest& operator=(const GeneralRequest&) = delete;

    XmlCommon::ptrCXmlMessage& getMessage() override;
    ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage reply) override;

private:
    XmlCommon::ptrCXmlMessage message;
};

/// Sends a prepared message and calls a slot of a receiver with the reply, faulty or not: the receiver looks
/// itself.
class KOLTA_COMMON_EXPORT ParameterRequest : public KoltaRequest
{
public:
    /// `slot` is a signature as SLOT() or plain text gives it, normalised:
    /// "sl_reply(Kolta::ptrKoltaRequest)". The type of its first parameter, spelled exactly so, chooses the
    /// argument: "Kolta::ptrKoltaRequest" this request, "XmlCommon::ptrCXmlMessage" the reply, anything else
    /// none. `notifiedObject` may die at any time; it, or `slot`, may be null: the reply is then dropped with
    /// a trace line, and so it is for a slot that cannot be called with that argument.
    ParameterRequest(XmlCommon::ptrCXmlMessage preparedMessage, QObject* notifiedObject, const char* slot);

    XmlCommon::ptrCXmlMessage& getMessage() override;
    /// Calls the slot: at once when the receiver lives on this thread, else queued.
    ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage received) override;
    bool handleFault() override;

    /// The reply; null until it has come.
    const XmlCommon::ptrCXmlMessage& getReply() const noexcept { return reply; }

protected:
    void setReply(const XmlCommon::ptrCXmlMessage& received) { reply = received; }
    /// Null when it has died.
    QObject* receiverObject() const { return receiver; }
    const QMetaMethod& receiverMethod() const noexcept { return method; }

private:
    XmlCommon::ptrCXmlMessage message;
    XmlCommon::ptrCXmlMessage reply;
    QPointer<QObject> receiver;
    QMetaMethod method;
};

/// Asks the server for its application description and keeps name and GUID.
class KOLTA_COMMON_EXPORT AppDescription : public GeneralRequest
{
public:
    AppDescription();

    ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage reply) override;
    /// Empty until a compatible reply has come.
    const QString& getAppName() const noexcept { return appName; }
    /// Empty until a compatible reply has come.
    const QString& getAppGuid() const noexcept { return appGuid; }

private:
    QString appName;
    QString appGuid;
};

/// Asks the server for its application description and calls `slot` of the receiver, queued, with five texts:
/// name, GUID, version, build, interface; a slot may take fewer. A reply that holds no description is
/// dropped, and one for a slot that takes anything else is dropped with a trace line.
class KOLTA_COMMON_EXPORT AppDescriptionSlotInvoke : public ParameterRequest
{
public:
    AppDescriptionSlotInvoke(QObject* notifiedObject, const char* slot, const QString& nameOfReceiver);

    ptrKoltaRequest processReply(XmlCommon::ptrCXmlMessage received) override;
    /// The name given at construction.
    QString getReceiver() override;

private:
    QString receiverName;
};

} // namespace Kolta

Q_DECLARE_METATYPE(Kolta::ptrKoltaRequest)
