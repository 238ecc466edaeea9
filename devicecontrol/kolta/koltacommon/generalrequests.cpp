#include <koltacommon/generalrequests.h>

#include <startup/tracesource.h>
#include <xmlmessaging/converters.h>

#include <QByteArray>
#include <QObject>

using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;
using XmlCommunication::CAppDescription;

namespace Kolta {

namespace {

/// Numbers of the trace points. Support tools match on them.
enum eTracePoint : int {
    eParameterReceiverGone = 122,
    eSlotNotCallable = 140,
    eAppReceiverGone = 201,
    eAppSlotNotCallable = 215
};
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/generalrequests",
                                      Startup::eTraceDetail);

void traceReceiverGone(eTracePoint point)
{
    kTrace(point, QStringLiteral("Object that was expected to be notified on ParameterRequest reply has been "
                                 "deleted in the meantime."));
}

void traceNotCallable(eTracePoint point, const QMetaMethod& slot)
{
    kTrace(point, QStringLiteral("Slot %1 cannot be called with the arguments of a reply.")
                      .arg(QString::fromLatin1(slot.methodSignature())));
}

/// Whether all parameters are texts, which the call itself would not check.
bool takesTexts(const QMetaMethod& slot)
{
    for (int i = 0; i < slot.parameterCount(); ++i) {
        if (slot.parameterType(i) != QMetaType::QString)
            return false;
    }
    return slot.isValid();
}

QMetaMethod findSlot(const QObject* object, const char* slot)
{
    if (!object || !slot)
        return QMetaMethod();
    // SLOT() puts '1' in front. The '2' of SIGNAL() is not accepted: only slots are looked up.
    if (*slot == '0' || *slot == '1')
        ++slot;
    const QMetaObject* const type = object->metaObject();
    return type->method(type->indexOfSlot(slot));
}

ptrCXmlMessage makeAppDescriptionQuery()
{
    const ptrCXmlMessage message(new CXmlMessage(CXmlMessage::eSERVICE_QUERY));
    message->addFragment(CAppDescription::makeFragment());
    return message;
}

bool hasFragments(const ptrCXmlMessage& message)
{
    return message && message->getNumberOfFragments() > 0;
}

} // namespace

KoltaRequest::~KoltaRequest() = default;

bool KoltaRequest::handleFault()
{
    return false;
}

bool KoltaRequest::propagateFaults()
{
    return true;
}

void KoltaRequest::abandoned(Abandonment, bool) {}

QString KoltaRequest::getReceiver()
{
    return QString();
}

GeneralRequest::GeneralRequest() : message(new CXmlMessage) {}

GeneralRequest::GeneralRequest(ptrCXmlMessage preparedMessage) : message(std::move(preparedMessage)) {}

GeneralRequest::GeneralRequest(const GeneralRequest& other) = default;

ptrCXmlMessage& GeneralRequest::getMessage()
{
    return message;
}

ptrKoltaRequest GeneralRequest::processReply(ptrCXmlMessage reply)
{
    reply.reset();
    return ptrKoltaRequest();
}

ParameterRequest::ParameterRequest(ptrCXmlMessage preparedMessage, QObject* notifiedObject, const char* slot)
    : message(std::move(preparedMessage)), receiver(notifiedObject), method(findSlot(notifiedObject, slot))
{
}

ptrCXmlMessage& ParameterRequest::getMessage()
{
    return message;
}

ptrKoltaRequest ParameterRequest::processReply(ptrCXmlMessage received)
{
    reply = received;
    QObject* const object = receiver;
    if (!object || !method.isValid()) {
        traceReceiverGone(eParameterReceiverGone);
        return ptrKoltaRequest();
    }
    const QList<QByteArray> types = method.parameterTypes();
    const QByteArray type = types.isEmpty() ? QByteArray() : types.first();
    const QMetaMethod slot = method;
    bool called = false;
    if (type == "Kolta::ptrKoltaRequest")
        called = slot.invoke(object, Qt::AutoConnection,
                             Q_ARG(Kolta::ptrKoltaRequest, Kolta::ptrKoltaRequest(this)));
    else if (type == "XmlCommon::ptrCXmlMessage")
        called = slot.invoke(object, Qt::AutoConnection, Q_ARG(XmlCommon::ptrCXmlMessage, received));
    else
        called = slot.invoke(object, Qt::AutoConnection);
    if (!called)
        traceNotCallable(eSlotNotCallable, slot);
    return ptrKoltaRequest();
}

bool ParameterRequest::handleFault()
{
    return true;
}

AppDescription::AppDescription() : GeneralRequest(makeAppDescriptionQuery()) {}

ptrKoltaRequest AppDescription::processReply(ptrCXmlMessage reply)
{
    if (!hasFragments(reply))
        return ptrKoltaRequest();
    const CAppDescription description(reply->getFragment(0));
    if (description.isCompatible()) {
        appName = description.getAppName();
        appGuid = description.getAppGuid();
    }
    return ptrKoltaRequest();
}

AppDescriptionSlotInvoke::AppDescriptionSlotInvoke(QObject* notifiedObject, const char* slot,
                                                   const QString& nameOfReceiver)
    : ParameterRequest(makeAppDescriptionQuery(), notifiedObject, slot), receiverName(nameOfReceiver)
{
}

ptrKoltaRequest AppDescriptionSlotInvoke::processReply(ptrCXmlMessage received)
{
    setReply(received);
    QObject* const object = receiverObject();
    if (!object) {
        traceReceiverGone(eAppReceiverGone);
        return ptrKoltaRequest();
    }
    if (!hasFragments(received))
        return ptrKoltaRequest();
    const CAppDescription description(received->getFragment(0));
    if (!description.isCompatible())
        return ptrKoltaRequest();
    const QMetaMethod slot = receiverMethod();
    if (!takesTexts(slot) ||
        !slot.invoke(object, Qt::QueuedConnection, Q_ARG(QString, description.getAppName()),
                     Q_ARG(QString, description.getAppGuid()), Q_ARG(QString, description.getVersion()),
                     Q_ARG(QString, description.getBuild()), Q_ARG(QString, description.getInterface())))
        traceNotCallable(eAppSlotNotCallable, slot);
    return ptrKoltaRequest();
}

QString AppDescriptionSlotInvoke::getReceiver()
{
    return receiverName;
}

} // namespace Kolta
