#include "commandline.h"
#include "commands.h"
#include "messagejson.h"
#include "output.h"
#include "session.h"

#include <common/terminationsignals.h>

#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/messagecodec.h>

#include <QDateTime>

namespace KoltaCli {

namespace {

QString now()
{
    return QDateTime::currentDateTime().toString(Qt::ISODateWithMs);
}

void printBroadcast(const XmlCommon::ptrCXmlMessage& message, bool json)
{
    if (json) {
        QJsonObject object = toJson(message);
        object[QStringLiteral("time")] = now();
        printJson(object);
    } else {
        printLine(now() + QLatin1Char(' ') + Kolta::KoltaConnection::getShortInfo(message));
        printLine(XmlCommon::MessageCodec::toReadable(*message).trimmed());
    }
}

void printFault(const QString& text, bool json)
{
    if (json)
        printJson({{QStringLiteral("time"), now()}, {QStringLiteral("fault"), text}});
    else
        printLine(QStringLiteral("%1 Fault: %2").arg(now(), text));
}

int listen(Session& session, const CommandLine& line, int count)
{
    int broadcasts = 0;
    bool interrupted = false;
    bool lost = false;
    TerminationSignals termination;
    Kolta::KoltaConnection& connection = session.connection();
    const bool json = line.json();
    // Either of these ends the event loop of the wait below.
    QObject::connect(&termination, &TerminationSignals::terminationRequested, &session,
                     [&interrupted] { interrupted = true; });
    QObject::connect(&connection, &Kolta::KoltaConnection::ConnectionClosed, &session, [&lost] { lost = true; });
    QObject::connect(&connection, &Kolta::KoltaConnection::Fault, &session,
                     [json](const QString& text) { printFault(text, json); });
    QObject::connect(&connection, &Kolta::KoltaConnection::ConnectionError, &session,
                     [](const QString& error) { printError(QStringLiteral("the link failed: %1").arg(error)); });
    QObject::connect(&connection, &Kolta::KoltaConnection::ConnectionOpened, &session,
                     [] { printError(QStringLiteral("the link is up again")); });
    QObject::connect(&connection, &Kolta::KoltaConnection::Broadcast, &session,
                     [&broadcasts, json](const XmlCommon::ptrCXmlMessage& message) {
                         ++broadcasts;
                         printBroadcast(message, json);
                     });
    const auto done = [&] { return interrupted || (count > 0 && broadcasts >= count); };
    while (!lost && !session.waitFor(done, 3600 * 1000)) {
    }
    return lost ? eExitFailed : eExitOk;
}

} // namespace

int runListen(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("listen"),
                     QStringLiteral("Prints a server's broadcasts and faults until Ctrl-C. A link that fails is "
                                    "opened again."));
    line.addArgument(QStringLiteral("HOST:PORT"), QStringLiteral("The server's address."));
    line.addOption({QStringLiteral("count"), QStringLiteral("End after so many broadcasts; 0 for never."),
                    QStringLiteral("number"), QStringLiteral("0")});
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto endpoint = line.endpoint(0);
    const auto timeout = line.timeoutMs();
    const auto count = line.number(QStringLiteral("count"), 0, 1000000000);
    if (!endpoint || !timeout || !count)
        return eExitUsage;

    Session session(*endpoint);
    if (!session.open(*timeout)) {
        printError(session.errorText());
        return eExitFailed;
    }
    if (!line.json())
        printLine(QStringLiteral("Listening to %1. Ctrl-C ends.").arg(endpoint->toString()));
    return listen(session, line, *count);
}

} // namespace KoltaCli
