#include "commands.h"

#include <kolta/application/shorttimecommands.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>

#include <koltacommon/convertproductionresultmap.h>

#include <QDateTime>

#include <algorithm>
#include <limits>

namespace KoltaCli {

using Kolta::ConvertProductionResult;
using Kolta::ConvertProductionResultMap;
using sorel::RecordIdentifier;

namespace {

const QString typeOption = QStringLiteral("type");
const QString productionOption = QStringLiteral("production");
const QString resultOption = QStringLiteral("result");
const QString failedOption = QStringLiteral("failed");
const QString keepOption = QStringLiteral("keep");
const QString olderOption = QStringLiteral("older-than");

ConvertProductionResultMap* findConversions(const std::optional<ShortTimeServer>& server)
{
    return server ? server->find<ConvertProductionResultMap>(QStringLiteral("Conversions")) : nullptr;
}

QString stateText(const ConvertProductionResult& result)
{
    switch (result.state()) {
    case ConvertProductionResult::eNotStarted:
        return QStringLiteral("not started");
    case ConvertProductionResult::eConverting:
        return QStringLiteral("converting");
    case ConvertProductionResult::eFinished:
        return result.sucessfullyFinished() ? QStringLiteral("finished") : QStringLiteral("failed");
    }
    return QString::number(int(result.state()));
}

QString timeText(const ConvertProductionResult& result)
{
    return result.creationTime().toUTC().toString(Qt::ISODate);
}

void print(const ConvertProductionResult& result)
{
    printJson({{QStringLiteral("record"), result.GetKey().toString()},
               {QStringLiteral("state"), stateText(result)},
               {QStringLiteral("created"), timeText(result)},
               {QStringLiteral("production"), result.productionName()},
               {QStringLiteral("type"), result.resultType()},
               {QStringLiteral("result"), result.result()}});
}

/// The oldest first.
int list(const CommandLine& line, const QStringList&)
{
    const auto server = ShortTimeServer::startUp(line);
    const ConvertProductionResultMap* const map = findConversions(server);
    if (!map)
        return eExitFailed;
    QVector<ConvertProductionResult> results;
    for (const auto& entry : map->data())
        results.append(entry.second);
    std::sort(results.begin(), results.end(), [](const auto& a, const auto& b) {
        return a.creationTime() == b.creationTime() ? a.GetKey().toString() < b.GetKey().toString()
                                                    : a.creationTime() < b.creationTime();
    });
    Table table({QStringLiteral("RECORD"), QStringLiteral("STATE"), QStringLiteral("CREATED"),
                 QStringLiteral("PRODUCTION"), QStringLiteral("TYPE"), QStringLiteral("RESULT")});
    for (const ConvertProductionResult& result : qAsConst(results)) {
        table.addRow({result.GetKey().toString(), stateText(result), timeText(result),
                      result.productionName(), result.resultType(), result.result()});
        if (line.json())
            print(result);
    }
    if (!line.json())
        printLine(results.isEmpty() ? QStringLiteral("there are no conversions") : table.toText());
    return eExitOk;
}

/// Nothing for a text that names no record, which is told.
std::optional<RecordIdentifier> readRecord(const CommandLine& line, const QString& text)
{
    const RecordIdentifier record = RecordIdentifier::fromString(text);
    if (record.valid())
        return record;
    line.usageError(QStringLiteral("\"%1\" is no record, expected SUBSYSTEM/DEVICE/RECORD").arg(text));
    return std::nullopt;
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
        printLine(QStringLiteral("%1: %2").arg(record.toString(), stateText(result)));
    return eExitOk;
}

int refuse(const RecordIdentifier& record, const char* problem)
{
    printError(QStringLiteral("%1 %2").arg(record.toString(), QLatin1String(problem)));
    return eExitFailed;
}

/// What is finished is converted anew.
int start(const CommandLine& line, const QStringList& arguments)
{
    const auto record = readRecord(line, arguments.first());
    if (!record)
        return eExitUsage;
    const auto server = ShortTimeServer::startUp(line);
    ConvertProductionResultMap* const map = findConversions(server);
    if (!map)
        return eExitFailed;
    if (map->contains(*record) && map->At(*record).state() == ConvertProductionResult::eConverting)
        return refuse(*record, "is being converted already");
    Kolta::ConvertProductionResultRequest request;
    request.record = *record;
    request.productionID = QUuid::createUuid().toString();
    request.productionName = line.value(productionOption);
    request.pirmID = QStringLiteral("kolta");
    request.resultType = line.value(typeOption);
    map->Add(ConvertProductionResult(request));
    map->startConverting(*record);
    return tell(*map, *record, line.json());
}

int finish(const CommandLine& line, const QStringList& arguments)
{
    const auto record = readRecord(line, arguments.first());
    if (!record)
        return eExitUsage;
    const auto server = ShortTimeServer::startUp(line);
    ConvertProductionResultMap* const map = findConversions(server);
    if (!map)
        return eExitFailed;
    if (!map->contains(*record) || map->At(*record).state() != ConvertProductionResult::eConverting)
        return refuse(*record, "is not being converted");
    map->setFinished(*record, !line.isSet(failedOption), line.value(resultOption));
    return tell(*map, *record, line.json());
}

int tidy(const CommandLine& line, const QStringList&)
{
    const auto keep = line.number(keepOption, 0, std::numeric_limits<int>::max());
    if (!keep)
        return eExitUsage;
    const QDateTime olderThan = QDateTime::fromString(line.value(olderOption), Qt::ISODate);
    if (line.isSet(olderOption) && !olderThan.isValid())
        return line.usageError(QStringLiteral("--older-than wants a time such as 2031-05-04T03:02:01Z, "
                                              "not \"%1\"")
                                   .arg(line.value(olderOption)));
    const auto server = ShortTimeServer::startUp(line);
    ConvertProductionResultMap* const map = findConversions(server);
    if (!map)
        return eExitFailed;
    const int erased = map->tidyUp(static_cast<quint64>(*keep), olderThan, line.isSet(failedOption));
    const int left = static_cast<int>(map->Size());
    if (line.json())
        printJson({{QStringLiteral("erased"), erased}, {QStringLiteral("left"), left}});
    else
        printLine(QStringLiteral("%1 erased, %2 left")
                      .arg(counted(erased, QStringLiteral("result")), QString::number(left)));
    return eExitOk;
}

} // namespace

int runConversions(const QStringList& arguments)
{
    CommandLine line(QStringLiteral("conversions"),
                     QStringLiteral("Works on the results of conversions of recordings on a server in a "
                                    "simulated installation inside this process: list, start RECORD, "
                                    "finish RECORD, tidy. start and finish play the conversion production."));
    line.addArgument(QStringLiteral("ACTION"), QStringLiteral("list, start, finish or tidy."));
    line.addOptionalArguments(QStringLiteral("RECORD"), QStringLiteral("SUBSYSTEM/DEVICE/RECORD."));
    line.addOption({typeOption, QStringLiteral("start: kind of result."), QStringLiteral("text")});
    line.addOption({productionOption, QStringLiteral("start: name of the production (kolta)."),
                    QStringLiteral("name"), QStringLiteral("kolta")});
    line.addOption({resultOption, QStringLiteral("finish: the result."), QStringLiteral("text")});
    line.addOption({failedOption, QStringLiteral("finish: the conversion failed; tidy: erase such results "
                                                 "too.")});
    line.addOption({keepOption, QStringLiteral("tidy: results that are left (0)."), QStringLiteral("number"),
                    QStringLiteral("0")});
    line.addOption({olderOption, QStringLiteral("tidy: erase only results made before this time."),
                    QStringLiteral("time")});
    Servers::declareOptions(line);
    if (const auto exitCode = line.parse(arguments))
        return *exitCode;
    return runAction(
        line,
        {{"list", "", list}, {"start", "RECORD", start}, {"finish", "RECORD", finish}, {"tidy", "", tidy}});
}

} // namespace KoltaCli
