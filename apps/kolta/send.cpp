#include "commandline.h"
#include "commands.h"
#include "messagejson.h"
#include "output.h"
#include "session.h"

#include <koltacommon/generalrequests.h>
#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/messagecodec.h>

#include <QFile>

namespace KoltaCli {

namespace {

XmlCommon::ptrCXmlMessage readMessage(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        printError(QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
        return {};
    }
    const XmlCommon::MessageLimits limits;
    if (file.size() > limits.maxMessageBytes) {
        printError(QStringLiteral("%1 holds more than the %2 bytes that a message may have")
                       .arg(path)
                       .arg(limits.maxMessageBytes));
        return {};
    }
    QString error;
    XmlCommon::ptrCXmlMessage message = XmlCommon::MessageCodec::decode(file.readAll().trimmed(), error, limits);
    if (!message) {
        printError(QStringLiteral("%1: %2").arg(path, error));
    } else if (message->getNumberOfFragments() == 0) {
        printError(QStringLiteral("%1: a message without a fragment is never sent").arg(path));
        message.reset();
    }
    return message;
}

bool isRequest(const XmlCommon::CXmlMessage& message)
{
    return message.getServiceType() == XmlCommon::CXmlMessage::eSERVICE_QUERY
           || message.getServiceType() == XmlCommon::CXmlMessage::eSERVICE_COMMAND;
}

int sendOnly(Session& session, const XmlCommon::ptrCXmlMessage& message, int timeoutMs)
{
    // Nothing is replied to this kind of message, so the link is closed as soon as it has been written.
    session.connection().executeRequest(new Kolta::GeneralRequest(message));
    session.connection().closeAndWaitForFinished(static_cast<unsigned int>(timeoutMs), true);
    return eExitOk;
}

} // namespace

int runSend(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("send"),
                     QStringLiteral("Sends the message in a file and prints the reply. The message ID is given anew."));
    line.addArgument(QStringLiteral("HOST:PORT"), QStringLiteral("The server's address."));
    line.addArgument(QStringLiteral("FILE"), QStringLiteral("One <Message> element in UTF-8."));
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto endpoint = line.endpoint(0);
    const auto timeout = line.timeoutMs();
    if (!endpoint || !timeout)
        return eExitUsage;
    const XmlCommon::ptrCXmlMessage message = readMessage(line.argument(1));
    if (!message)
        return eExitFailed;

    Session session(*endpoint);
    if (!session.open(*timeout)) {
        printError(session.errorText());
        return eExitFailed;
    }
    if (!isRequest(*message))
        return sendOnly(session, message, *timeout);
    const XmlCommon::ptrCXmlMessage reply = session.request(message, *timeout);
    if (!reply) {
        printError(session.errorText());
        return eExitFailed;
    }
    if (line.json())
        printJson(toJson(reply));
    else
        printLine(XmlCommon::MessageCodec::toReadable(*reply).trimmed());
    if (!Kolta::KoltaConnection::hasFault(reply))
        return eExitOk;
    printError(Kolta::KoltaConnection::getFaultText(reply));
    return eExitFailed;
}

} // namespace KoltaCli
