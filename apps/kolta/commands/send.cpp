#include "commands.h"

#include <kolta/application/messagejson.h>
#include <kolta/application/session.h>
#include <kolta/application/temporaryconfiguration.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/generalrequests.h>
#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/messagecodec.h>

#include <QFile>

namespace KoltaCli {

namespace {

using XmlCommon::CXmlMessage;

bool isStandardInput(const QString& path)
{
    return path == QLatin1String("-");
}

QString nameOf(const QString& path)
{
    return isStandardInput(path) ? QStringLiteral("standard input") : path;
}

bool readFile(const QString& path, qint64 maxBytes, QByteArray& bytes)
{
    QFile file(path);
    const bool opened =
        isStandardInput(path) ? file.open(stdin, QIODevice::ReadOnly) : file.open(QIODevice::ReadOnly);
    if (!opened) {
        printError(QStringLiteral("cannot read %1: %2").arg(nameOf(path), file.errorString()));
        return false;
    }
    // Piece by piece and not by the file's size: a pipe has none and gives what it has.
    QByteArray piece;
    do {
        piece = file.read(maxBytes + 1 - bytes.size());
        bytes += piece;
    } while (!piece.isEmpty() && bytes.size() <= maxBytes);
    if (file.error() != QFile::NoError) {
        printError(QStringLiteral("cannot read %1: %2").arg(nameOf(path), file.errorString()));
        return false;
    }
    if (bytes.size() <= maxBytes)
        return true;
    printError(QStringLiteral("%1 holds more than the %2 bytes that a message may have")
                   .arg(nameOf(path))
                   .arg(maxBytes));
    return false;
}

bool isRequest(const CXmlMessage& message)
{
    return message.getServiceType() == CXmlMessage::eSERVICE_QUERY ||
           message.getServiceType() == CXmlMessage::eSERVICE_COMMAND;
}

XmlCommon::ptrCXmlMessage readMessage(const QString& path)
{
    const XmlCommon::MessageLimits limits;
    QByteArray bytes;
    if (!readFile(path, limits.maxMessageBytes, bytes))
        return {};
    QString error;
    const XmlCommon::ptrCXmlMessage message = XmlCommon::MessageCodec::decode(bytes.trimmed(), error, limits);
    if (message && message->getNumberOfFragments() == 0)
        error = QStringLiteral("no Fragment, expected at least one");
    else if (message && !isRequest(*message) && message->getServiceType() != CXmlMessage::eSERVICE_BROADCAST)
        error = QStringLiteral("service %1, expected 1 (query), 2 (command) or 5 (broadcast)")
                    .arg(message->getServiceType());
    if (error.isEmpty())
        return message;
    printError(QStringLiteral("%1: %2").arg(nameOf(path), error));
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

int sendAndPrint(Session& session, const XmlCommon::ptrCXmlMessage& message, int timeoutMs, bool json)
{
    const XmlCommon::ptrCXmlMessage reply = session.request(message, timeoutMs);
    if (!reply) {
        printError(session.errorText());
        return eExitFailed;
    }
    if (json)
        printJson(toJson(reply));
    else
        printLine(XmlCommon::MessageCodec::toReadable(*reply).trimmed());
    if (!Kolta::KoltaConnection::hasFault(reply))
        return eExitOk;
    printError(Kolta::KoltaConnection::getFaultText(reply));
    return eExitFailed;
}

} // namespace

int runSend(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("send"),
                     QStringLiteral("Sends a message and prints the reply. The message gets a new ID."));
    line.addArgument(QStringLiteral("HOST:PORT"), QStringLiteral("The server's address."));
    line.addArgument(QStringLiteral("FILE"),
                     QStringLiteral("One <Message> element in UTF-8; \"-\" for standard input."));
    line.addFaultsOption();
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto timeout = line.timeoutMs();
    if (!timeout)
        return eExitUsage;
    Endpoint endpoint;
    if (const auto exitCode = line.readEndpoint(0, endpoint))
        return *exitCode;
    const XmlCommon::ptrCXmlMessage message = readMessage(line.argument(1));
    if (!message)
        return eExitFailed;

    std::optional<TemporaryConfiguration> configuration;
    if (line.faults())
        configuration.emplace();
    Session session(endpoint);
    if (!session.open(*timeout) || (line.faults() && !session.loadFaultTexts(*timeout))) {
        printError(session.errorText());
        return eExitFailed;
    }
    return isRequest(*message) ? sendAndPrint(session, message, *timeout, line.json())
                               : sendOnly(session, message, *timeout);
}

} // namespace KoltaCli
