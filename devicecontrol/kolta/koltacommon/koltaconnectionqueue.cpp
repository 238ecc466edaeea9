// The queue of a connection: what waits, in which order it is sent, and who hears that it was let go of.
#include <koltacommon/koltaconnection.h>

#include "koltaconnectiontrace.h"
#include "linkaccount.h"

#include <startup/clock.h>
#include <xmlmessaging/connectionthread.h>
#include <xmlmessaging/converters.h>

#include <QPointer>

using XmlCommon::CXmlMessage;
using XmlCommon::ptrCXmlMessage;

namespace Kolta {

namespace {

/// Every multiple of this queue length is worth a warning.
constexpr int kQueueWarningStep = 1000;

} // namespace

void KoltaConnection::executeRequest(Kolta::ptrKoltaRequest request)
{
    if (request)
        execute(request, false);
}

void KoltaConnection::execute(const ptrKoltaRequest& request, bool isStartUp)
{
    const Entry entry{request, isStartUp, false, Startup::Clock::instance().now()};
    try {
        return enqueue(entry);
    } catch (...) {
        kTrace.caught(eExecuteException, eExecuteUnknownException, "KoltaRequest::executeRequest");
    }
    abandon({entry}, Abandonment::Refused);
}

void KoltaConnection::executeRequest(KoltaRequest* request)
{
    executeRequest(ptrKoltaRequest(request));
}

void KoltaConnection::enqueue(const Entry& entry)
{
    const QPointer<KoltaConnection> guard(this);
    const ptrCXmlMessage message = entry.request->getMessage();
    if (!guard || closing || !message || message->getNumberOfFragments() == 0)
        return abandon({entry}, Abandonment::Refused);
    queue.append(entry);
    const int length = queue.size();
    if (length % kQueueWarningStep == 0)
        kTrace(eQueueLength, QStringLiteral("!!! Warning: %1 requests in connection queue (%2) !!!")
                                 .arg(QString::number(length), name));
    sendNextRequest();
}

/// Needs the connection no more: the first of them may delete it.
void KoltaConnection::abandon(const Entries& entries, Abandonment why)
{
    for (const Entry& entry : entries) {
        try {
            entry.request->abandoned(why, entry.wasSent);
        } catch (...) {
            kTrace(eAbandonedException, QStringLiteral("caught exception from KoltaRequest::abandoned"));
        }
    }
}

bool KoltaConnection::withdrawRequest(const ptrKoltaRequest& request)
{
    for (int place = queue.size() - 1; place >= (busy ? 1 : 0); --place) {
        if (queue.at(place).request == request && !queue.at(place).wasSent) {
            const Entry released = queue.takeAt(place);
            return true;
        }
    }
    return false;
}

/// A link that is lost again and again before its start-up exchange was sent must not make the queue grow.
/// The head stays: it may be in the server's hands.
void KoltaConnection::dropStaleStartUp()
{
    Entries released;
    for (int place = queue.size() - 1; place > 0; --place) {
        if (queue.at(place).isStartUp)
            released.append(queue.takeAt(place));
    }
}

bool KoltaConnection::isReply(const ptrCXmlMessage& message)
{
    const CXmlMessage::eSERVICE_TYPES kind = message->getServiceType();
    return kind == CXmlMessage::eSERVICE_QUERY_REPLY || kind == CXmlMessage::eSERVICE_COMMAND_REPLY;
}

/// Tells the server how this client wants its request trees handled; the first message on every link.
ptrCXmlMessage KoltaConnection::makeStartUpMessage()
{
    XmlCommunication::CRequestTreeConverter converter;
    converter.setRequestTreeSuppression(false);
    const ptrCXmlMessage message(new CXmlMessage(CXmlMessage::eSERVICE_COMMAND));
    message->setMessageID_byGenerator();
    message->addFragment(converter.makeFragment(), -1);
    return message;
}

void KoltaConnection::transmit(const ptrCXmlMessage& message)
{
    // A request that was answered before holds that reply; it goes out as the request that it was.
    if (isReply(message))
        clearMessageReply(message);
    // Until it is answered a command keeps its token, by which the server knows it when it comes again.
    if (message->getServiceType() == CXmlMessage::eSERVICE_COMMAND && message->getToken().isEmpty())
        message->setToken_byGenerator();
    message->setMessageID_byGenerator();
    if (message->getAvailableTime() == 0)
        message->setAvailableTime(availableTime(replyLimitMs));
    thread->sendMessage(message, 0);
    message->setSentAgain(true);
    account->noteSent(message);
}

/// Hands the messages of all queued requests to the link, which is about to end. This may be gone afterwards.
void KoltaConnection::transmitAll()
{
    const QPointer<KoltaConnection> guard(this);
    const auto link = thread;
    const Entries pending = queue;
    if (!connected && !pending.isEmpty())
        transmit(makeStartUpMessage());
    for (const Entry& entry : pending) {
        try {
            const ptrCXmlMessage message = entry.request->getMessage();
            if (guard && message && thread == link) {
                transmit(message);
                if (!guard)
                    return;
                for (Entry& queued : queue)
                    queued.wasSent = queued.wasSent || queued.request == entry.request;
            }
        } catch (...) {
            kTrace(eSendException, QStringLiteral("exception caught in sendNextRequest"));
        }
        if (!guard)
            return;
    }
}

void KoltaConnection::sendNextRequest()
{
    const QPointer<KoltaConnection> guard(this);
    while (!busy && connected && thread && !queue.isEmpty()) {
        if (sendHead() || !guard)
            return;
    }
    if (closing)
        exitThread();
}

/// False when the head could not be sent. It would block the queue for ever and is therefore dropped.
bool KoltaConnection::sendHead()
{
    const QPointer<KoltaConnection> guard(this);
    const ptrKoltaRequest head = queue.first().request;
    busy = true;
    try {
        const ptrCXmlMessage message = head->getMessage();
        if (!guard)
            return false;
        if (message && thread) {
            if (!queue.isEmpty() && queue.first().request == head)
                queue.first().wasSent = true;
            transmit(message);
            return true;
        }
    } catch (...) {
        kTrace(eSendException, QStringLiteral("exception caught in sendNextRequest"));
    }
    if (!guard)
        return false;
    busy = false;
    if (!queue.isEmpty() && queue.first().request == head) {
        const Entries released{queue.takeFirst()};
        abandon(released, Abandonment::Refused);
    }
    return false;
}

/// A head that cannot even name its message when its reply has come would block the queue for ever.
ptrCXmlMessage KoltaConnection::messageOfHead(const ptrKoltaRequest& head)
{
    const QPointer<KoltaConnection> guard(this);
    try {
        return head->getMessage();
    } catch (...) {
        if (guard && !queue.isEmpty() && queue.first().request == head) {
            const Entries released{queue.takeFirst()};
            busy = false;
            abandon(released, Abandonment::Refused);
            if (guard)
                sendNextRequest();
        }
        throw;
    }
}

void KoltaConnection::clearMessageReply(const ptrCXmlMessage& message)
{
    const CXmlMessage::eSERVICE_TYPES kind = message->getServiceType();
    for (int i = 0; i < message->getNumberOfFragments(); ++i) {
        message->getFragment(i).setDataTree(XmlCommon::CDataTree());
        message->getFragment(i).setFaultTree(XmlCommon::CFaultTree());
    }
    message->removeReplyFragments();
    if (kind == CXmlMessage::eSERVICE_QUERY_REPLY)
        message->setServiceType(CXmlMessage::eSERVICE_QUERY);
    else if (kind == CXmlMessage::eSERVICE_COMMAND_REPLY)
        message->setServiceType(CXmlMessage::eSERVICE_COMMAND);
}

} // namespace Kolta
