#include "commands.h"

#include <kolta/application/messagejson.h>
#include <kolta/application/session.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/standardstreams.h>

#include <koltacommon/generalrequests.h>
#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/messagecodec.h>

namespace KoltaCli {

namespace {

using XmlCommon::CXmlMessage;

bool isRequest(const CXmlMessage& message)
{
    return message.getServiceType() == CXmlMessage::eSERVICE_QUERY ||
           message.getServiceType() == CXmlMessage::eSERVICE_COMMAND;
}

XmlCommon::ptrCXmlMessage readMessage(const QString& path)
{
    const XmlCommon::MessageLimits limits;
    QByteArray bytes;
    QString error;
    if (!readInput(path, limits.maxMessageBytes, bytes, error)) {
        printError(error);
        return {};
    }
    const XmlCommon::ptrCXmlMessage message = XmlCommon::MessageCodec::decode(bytes.trimmed(), error, limits);
    if (message && message->getNumberOfFragments() == 0)
        error = QStringLiteral("no Fragment, expected at least one");
    else if (message && !isRequest(*message) && message->getServiceType() != CXmlMessage::eSERVICE_BROADCAST)
        error = QStringLiteral("service %1, expected 1 (query), 2 (command) or 5 (broadcast)")
                    .arg(message->getServiceType());
    if (error.isEmpty())
        return message;
    printError(QStringLiteral("%1: %2").arg(nameOfInput(path), error));
    return {};
}

/// Nothing is replied to a broadcast, so the link is closed as soon as it has been written.
int sendOnly(Session& session, const XmlCommon::ptrCXmlMessage& message, int timeoutMs)
{
    session.connection().executeRequest(new Kolta::GeneralRequest(message));
    if (session.connection().closeAndWaitForFinished(static_cast<unsigned int>(timeoutMs), false))
        return eExitOk;
    printError(QStringLiteral("cannot send to %1").arg(session.endpoint().toString()));
    return eExitFailed;
}

int sendAndPrint(Session& session, const XmlCommon::ptrCXmlMessage& message, const CommandLine& line)
{
    const XmlCommon::ptrCXmlMessage reply = session.request(message, line.timeoutMs());
    if (!reply) {
        printError(session.errorText());
        return eExitFailed;
    }
    if (line.json())
        printJson(toJson(reply));
    else if (!line.isSet("quiet"))
        printLine(XmlCommon::MessageCodec::toReadable(*reply).trimmed());
    const QString problem = Kolta::KoltaConnection::getReplyProblem(reply);
    if (problem.isEmpty())
        return eExitOk;
    printError(problem);
    return eExitFailed;
}

int send(const CommandLine& line, Session& session)
{
    const XmlCommon::ptrCXmlMessage message = readMessage(line.argument(1));
    if (!message || !session.open(line))
        return eExitFailed;
    return isRequest(*message) ? sendAndPrint(session, message, line)
                               : sendOnly(session, message, line.timeoutMs());
}

} // namespace

Command sendCommand()
{
    return {"send",
            "send the message in a file, print the reply",
            "Sends a message and prints the reply. The message gets a new ID.",
            {Session::argument(), {"FILE", "One <Message> element in UTF-8; \"-\" for standard input."}},
            {Session::faultsOption(), flag("quiet", "Print no reply, only what went wrong.")},
            with(Session::start, send)};
}

} // namespace KoltaCli
