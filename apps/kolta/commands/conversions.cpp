#include "commands.h"

#include <common/clocktimes.h>
#include <kolta/application/shorttimecollection.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/conversionjob.h>

#include <QDateTime>
#include <QUuid>

#include <algorithm>
#include <limits>

namespace KoltaCli {

using Kolta::ConvertProductionResult;
using Kolta::ConvertProductionResultMap;
using Kolta::UserAction;
using sorel::RecordIdentifier;

namespace {

using Texts = Kolta::ConvertProductionResult_TextAdapter;
using Conversions = ShortTimeCollection<ConvertProductionResultMap>;

QString timeText(const ConvertProductionResult& result)
{
    return result.creationTime().toUTC().toString(Qt::ISODate);
}

void print(const ConvertProductionResult& result)
{
    printJson({{QStringLiteral("record"), result.GetKey().toString()},
               {QStringLiteral("state"), Texts::stateText(result)},
               {QStringLiteral("created"), timeText(result)},
               {QStringLiteral("production"), result.productionName()},
               {QStringLiteral("type"), result.resultType()},
               {QStringLiteral("result"), result.result()}});
}

/// The oldest first.
int list(const CommandLine& line, const Conversions& known)
{
    QVector<ConvertProductionResult> results;
    for (const auto& entry : known.map().data())
        results.append(entry.second);
    std::sort(results.begin(), results.end(), [](const auto& a, const auto& b) {
        return a.creationTime() == b.creationTime() ? a.GetKey().toString() < b.GetKey().toString()
                                                    : a.creationTime() < b.creationTime();
    });
    Table table({QStringLiteral("RECORD"), QStringLiteral("STATE"), QStringLiteral("CREATED"),
                 QStringLiteral("PRODUCTION"), QStringLiteral("TYPE"), QStringLiteral("RESULT")});
    for (const ConvertProductionResult& result : qAsConst(results)) {
        table.addRow({result.GetKey().toString(), Texts::stateText(result), timeText(result),
                      result.productionName(), result.resultType(), result.result()});
        if (line.json())
            print(result);
    }
    if (!line.json())
        printTable(table, QStringLiteral("there are no conversions"));
    return eExitOk;
}

QString problemOfRecord(const QString& text)
{
    return RecordIdentifier::fromString(text).valid()
               ? QString()
               : QStringLiteral("\"%1\" is no record, expected SUBSYSTEM/DEVICE/RECORD").arg(text);
}

int tell(const ConvertProductionResultMap& map, const RecordIdentifier& record, bool json)
{
    if (!map.contains(record)) {
        printError(QStringLiteral("the conversion of %1 has gone").arg(record.toString()));
        return eExitFailed;
    }
    const ConvertProductionResult& result = map.At(record);
    if (json)
        print(result);
    else
        printLine(QStringLiteral("%1: %2").arg(record.toString(), Texts::stateText(result)));
    return eExitOk;
}

/// Asks for it and plays the production that begins it. What is finished is converted anew.
int start(const CommandLine& line, const Conversions& known)
{
    const RecordIdentifier record = RecordIdentifier::fromString(line.argument(0));
    ConvertProductionResultMap& map = known.map();
    Kolta::ConvertProductionResultRequest request;
    request.record = record;
    request.productionID = QUuid::createUuid().toString();
    request.productionName = line.value("production");
    request.pirmID = QStringLiteral("kolta");
    request.resultType = line.value("type");
    Kolta::ConversionJob job(map, request, nullptr);
    const auto isThere = [&] {
        return job.isFinished() ||
               (map.contains(record) && map.At(record).productionID() == request.productionID);
    };
    if (waitUntil(isThere, line.timeoutMs()) && !job.isFinished())
        map.startConverting(record);
    if (line.isSet("wait"))
        await(job, line.timeoutMs());
    if (job.state() == Kolta::Operation::State::Done || (!job.isFinished() && !line.isSet("wait")))
        return tell(map, record, line.json());
    printError(problemOf(job));
    return eExitFailed;
}

int finish(const CommandLine& line, const Conversions& known)
{
    const RecordIdentifier record = RecordIdentifier::fromString(line.argument(0));
    ConvertProductionResultMap& map = known.map();
    if (!map.contains(record) || map.At(record).state() != ConvertProductionResult::eConverting) {
        printError(QStringLiteral("%1 is not being converted").arg(record.toString()));
        return eExitFailed;
    }
    map.setFinished(record, !line.isSet("failed"), line.value("result"));
    return tell(map, record, line.json());
}

int tidy(const CommandLine& line, const Conversions& known)
{
    const int erased =
        known.map().tidyUp(static_cast<quint64>(line.number("keep")),
                           KoltaApps::momentOf(line.value("older-than")), line.isSet("failed"));
    const int left = static_cast<int>(known.map().Size());
    if (line.json())
        printJson({{QStringLiteral("erased"), erased}, {QStringLiteral("left"), left}});
    else
        printLine(QStringLiteral("%1 erased, %2 left")
                      .arg(counted(erased, QStringLiteral("result")), QString::number(left)));
    return eExitOk;
}

} // namespace

Command conversionsCommand()
{
    const Argument record{"RECORD", "SUBSYSTEM/DEVICE/RECORD.", Argument::eOnce, {}, problemOfRecord};
    const auto on = [](auto use) { return onShortTime<ConvertProductionResultMap>(use); };
    const auto change = [](UserAction action, auto use) {
        return changeShortTime<ConvertProductionResultMap>(action, use);
    };
    return {
        "conversions",
        "list, start, finish or tidy up conversions of recordings",
        "Works on the results of conversions of recordings on a server of the installation. "
        "start and finish play the conversion production. RECORD is "
        "SUBSYSTEM/DEVICE/RECORD.",
        {},
        Servers::options(
            {text("type", "text", "start: kind of result."),
             flag("wait", "start: wait until it has ended, at most --timeout seconds."),
             text("production", "name", "start: name of the production ({preset}).", QStringLiteral("kolta")),
             text("result", "text", "finish: the result."),
             flag("failed", "finish: the conversion failed; tidy: erase such results too."),
             whole("keep", "number", "tidy: results that are left ({preset}).", 0,
                   std::numeric_limits<int>::max(), 0),
             checked(text("older-than", "time", "tidy: erase only results made before this time."),
                     KoltaApps::problemOfMoment),
             Users::option()}),
        nullptr,
        {{"list", {}, "Lists all, the oldest first.", on(list)},
         {"start", {record}, "Begins one.", change(UserAction::Convert, start)},
         {"finish", {record}, "Ends one.", change(UserAction::Convert, finish)},
         {"tidy", {}, "Erases results, the oldest first.", change(UserAction::RemoveConversions, tidy)}}};
}

} // namespace KoltaCli
