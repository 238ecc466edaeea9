#include "commands.h"

#include <kolta/application/roundtripstatistics.h>
#include <kolta/application/session.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/koltaconnection.h>
#include <koltacommon/requestoperation.h>
#include <xmlmessaging/converters.h>

#include <QElapsedTimer>

#include <memory>
#include <vector>

namespace KoltaCli {

using Kolta::Operation;
using Kolta::RequestOperation;

namespace {

constexpr int kMaxCount = 1000000;

struct PingResult
{
    int sent = 0;
    int answered = 0;
    int faults = 0;
    bool inOrder = true;
    RoundTripStatistics times; ///< of requests that went one at a time
    bool complete() const { return sent == answered && faults == 0 && inOrder; }
};

XmlCommon::ptrCXmlMessage makeQuery()
{
    return makeMessage(XmlCommon::CXmlMessage::eSERVICE_QUERY,
                       XmlCommunication::CAppDescription::makeFragment());
}

PingResult askOneAtATime(Session& session, int count, int timeoutMs)
{
    PingResult result;
    QElapsedTimer timer;
    while (result.sent < count) {
        ++result.sent;
        timer.start();
        const auto reply = session.request(makeQuery(), timeoutMs);
        if (!reply)
            break; // behind an unanswered one nothing would move
        ++result.answered;
        result.times.add(static_cast<double>(timer.nsecsElapsed()) / 1000.0);
        const QString problem = Kolta::KoltaConnection::getReplyProblem(reply);
        if (!problem.isEmpty() && result.faults++ == 0)
            printError(problem);
    }
    return result;
}

/// Hands all over to the link, which keeps them in line.
PingResult askAtOnce(Session& session, int count, int timeoutMs)
{
    PingResult result;
    int answeredLast = -1;
    std::vector<std::unique_ptr<RequestOperation>> requests;
    QVector<Operation*> open;
    while (result.sent < count) {
        requests.push_back(std::make_unique<RequestOperation>(session.keeper(), makeQuery(), nullptr));
        RequestOperation* const request = requests.back().get();
        request->setRepeatable(true);
        QObject::connect(request, &Operation::finished, request, [&, request, number = result.sent] {
            result.inOrder = result.inOrder && (!request->reply() || number == answeredLast + 1);
            answeredLast = request->reply() ? number : answeredLast;
        });
        open.append(request);
        ++result.sent;
    }
    await(open, timeoutMs);
    for (const auto& request : requests) {
        result.answered += request->reply() ? 1 : 0;
        result.faults += request->reason() == Operation::Reason::Fault ? 1 : 0;
    }
    return result;
}

void print(const PingResult& result, const Session& session, bool json)
{
    if (json) {
        QJsonObject object = result.times.toJson();
        object[QStringLiteral("sent")] = result.sent;
        object[QStringLiteral("received")] = result.answered;
        object[QStringLiteral("faults")] = result.faults;
        object[QStringLiteral("reconnects")] = session.reconnects();
        object[QStringLiteral("inOrder")] = result.inOrder;
        printJson(object);
        return;
    }
    printLine(QStringLiteral("%1: sent %2, answered %3, faults %4, reconnects %5%6")
                  .arg(session.endpoint().toString(), QString::number(result.sent),
                       QString::number(result.answered), QString::number(result.faults),
                       QString::number(session.reconnects()),
                       result.inOrder ? QString() : QStringLiteral(", not each once and in order")));
    if (result.times.count() > 0)
        printLine(result.times.toText());
}

int ping(const CommandLine& line, Session& session)
{
    const auto askFor = line.isSet("at-once") ? askAtOnce : askOneAtATime;
    const PingResult result = askFor(session, line.number("n"), line.timeoutMs());
    print(result, session, line.json());
    if (result.sent != result.answered)
        printError(line.isSet("at-once")
                       ? QStringLiteral("%1 unanswered within %2")
                             .arg(counted(result.sent - result.answered, QStringLiteral("request")),
                                  secondsText(line.timeoutMs()))
                       : session.errorText());
    return result.complete() ? eExitOk : eExitFailed;
}

} // namespace

Command pingCommand()
{
    return {"ping",
            "measure round trips",
            "Measures round trips: asks for the application description, one at a time.",
            {Session::argument()},
            {whole("n", "count", "Number of round trips, {least} to {most} ({preset}).", 1, kMaxCount, 10),
             flag("at-once",
                  "Hand all requests over at once, so that they wait in line, instead of one at a time.")},
            with(Session::startOpen, ping)};
}

} // namespace KoltaCli
