#include "commands.h"

#include <kolta/application/roundtripstatistics.h>
#include <kolta/application/session.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaconnection.h>
#include <xmlmessaging/converters.h>

#include <QElapsedTimer>

namespace KoltaCli {

namespace {

constexpr int maxCount = 1000000;

struct PingResult
{
    int sent = 0;
    int faults = 0;
    RoundTripStatistics times;
    bool complete() const { return sent == times.count() && faults == 0; }
};

PingResult ping(Session& session, int count, int timeoutMs)
{
    PingResult result;
    QElapsedTimer timer;
    while (result.sent < count) {
        const auto query = makeMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY,
                                       XmlCommunication::CAppDescription::makeFragment());
        ++result.sent;
        timer.start();
        const auto reply = session.request(query, timeoutMs);
        if (!reply)
            break; // requests go one at a time: behind an unanswered one nothing would move
        result.times.add(static_cast<double>(timer.nsecsElapsed()) / 1000.0);
        if (Kolta::KoltaConnection::hasFault(reply)) {
            if (result.faults++ == 0)
                printError(Kolta::KoltaConnection::getFaultText(reply));
        }
    }
    return result;
}

void print(const PingResult& result, const Session& session, bool json)
{
    if (json) {
        QJsonObject object = result.times.toJson();
        object[QStringLiteral("sent")] = result.sent;
        object[QStringLiteral("received")] = result.times.count();
        object[QStringLiteral("faults")] = result.faults;
        object[QStringLiteral("reconnects")] = session.reconnects();
        printJson(object);
        return;
    }
    printLine(QStringLiteral("%1: sent %2, answered %3, faults %4, reconnects %5")
                  .arg(session.endpoint().toString())
                  .arg(result.sent)
                  .arg(result.times.count())
                  .arg(result.faults)
                  .arg(session.reconnects()));
    if (result.times.count() > 0)
        printLine(result.times.toText());
}

} // namespace

int runPing(const QStringList& arguments)
{
    CommandLine line(
        QStringLiteral("ping"),
        QStringLiteral("Measures round trips: asks for the application description, one at a time."));
    line.addArgument(QStringLiteral("HOST:PORT"), QStringLiteral("The server's address."));
    line.addOption({QStringLiteral("n"), QStringLiteral("Number of round trips, 1 to 1000000 (10)."),
                    QStringLiteral("count"), QStringLiteral("10")});
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    const auto timeout = line.timeoutMs();
    const auto count = timeout ? line.number(QStringLiteral("n"), 1, maxCount) : std::nullopt;
    if (!timeout || !count)
        return eExitUsage;
    Endpoint endpoint;
    if (const auto exitCode = line.readEndpoint(0, endpoint))
        return *exitCode;

    Session session(endpoint);
    if (!session.open(*timeout)) {
        printError(session.errorText());
        return eExitFailed;
    }
    const PingResult result = ping(session, *count, *timeout);
    print(result, session, line.json());
    if (result.sent != result.times.count())
        printError(session.errorText());
    return result.complete() ? eExitOk : eExitFailed;
}

} // namespace KoltaCli
