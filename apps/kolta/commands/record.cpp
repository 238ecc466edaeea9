#include "commands.h"

#include <common/linkoptions.h>
#include <common/terminationsignals.h>
#include <kolta/application/treemirror.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <koltacommon/shorttimevalues.h>

#include <distribution/replay.h>
#include <distribution/treelink.h>
#include <distribution/treerecorder.h>

#include <optional>

namespace KoltaCli {

namespace {

using distribution::TreeRecorder;

constexpr int kMostSeconds = 2000000;
constexpr int kMostMib = 1000000;

std::optional<distribution::LinkOptions> optionsOf(const CommandLine& line)
{
    using namespace distribution;
    const QString url = TreeMirror::urlOf(line);
    QString error = QStringLiteral("there is no tree to record; name one with --tree");
    const bool isRecording = ReplayAddress::IsMeant(url);
    if (isRecording)
        error = QStringLiteral("a recording is not recorded again; copy its file");
    const bool fits =
        !url.isEmpty() && !isRecording && (!line.isSet("tree") || BrokerAddress::FromCommandLine(url, error));
    auto options = fits ? KoltaApps::linkOptions(url, error) : std::nullopt;
    if (!options)
        line.usageError(error);
    return options;
}

void tellEnd(const CommandLine& line, const TreeRecorder& recorder)
{
    const double seconds = static_cast<double>(recorder.durationMs()) / 1000;
    if (line.json())
        printJson({{QStringLiteral("file"), line.argument(0)},
                   {QStringLiteral("seconds"), seconds},
                   {QStringLiteral("messages"), static_cast<double>(recorder.messages())},
                   {QStringLiteral("bytes"), static_cast<double>(recorder.bytes())},
                   {QStringLiteral("segmentsDropped"), static_cast<double>(recorder.segmentsDropped())}});
    else
        printLine(QStringLiteral("%1: %2 messages in %3, %4 KiB")
                      .arg(line.argument(0), QString::number(recorder.messages()),
                           secondsText(static_cast<int>(recorder.durationMs())),
                           QString::number((recorder.bytes() + 1023) / 1024)));
}

/// Without a broker there is nothing to record; its servers may come later.
bool hasJoined(const CommandLine& line, distribution::TreeLink& link)
{
    QString problem = QStringLiteral("there is no answer from the broker");
    QObject::connect(&link, &distribution::TreeLink::si_LinkChanged,
                     [&problem](bool, const QString& reason) { problem = reason; });
    link.waitForLive({}, line.number("tree-timeout") * 1000);
    QObject::disconnect(&link, &distribution::TreeLink::si_LinkChanged, nullptr, nullptr);
    if (problem.isEmpty())
        return true;
    printError(problem);
    return false;
}

int record(const CommandLine& line)
{
    const auto options = optionsOf(line);
    if (!options)
        return eExitUsage;
    Kolta::registerShortTimeValues();
    TerminationSignals termination;
    bool isOver = false;
    bool hasFailed = false;
    QObject::connect(&termination, &TerminationSignals::terminationRequested, [&isOver] { isOver = true; });
    TreeRecorder recorder(*options, line.argument(0), quint64(line.number("size")) << 20U);
    QObject::connect(&recorder, &TreeRecorder::si_Failed, [&hasFailed](const QString& reason) {
        hasFailed = true;
        printError(reason);
    });
    if (!hasJoined(line, recorder.link()))
        return eExitNoTree;
    QString error;
    if (!recorder.start(error)) {
        printError(error);
        return eExitFailed;
    }
    QObject::connect(&recorder.link(), &distribution::TreeLink::si_LinkChanged,
                     [](bool isUp, const QString& reason) {
                         printError(isUp ? QStringLiteral("the broker is back") : reason);
                     });
    printError(QStringLiteral("recording %1 into %2, Ctrl-C ends")
                   .arg(options->mqtt.address.ToText(), line.argument(0)));
    waitUntil([&] { return isOver || hasFailed; },
              line.isSet("for") ? line.number("for") * 1000 : kWaitForever);
    recorder.stop(QStringLiteral("recorded as long as was wanted"));
    tellEnd(line, recorder);
    return hasFailed ? eExitFailed : eExitOk;
}

} // namespace

Command recordCommand()
{
    return {
        "record",
        "record what the servers of a tree say",
        "Records into a new file what the log of a tree says, with times, until Ctrl-C; \"kolta replay\" "
        "plays it. Beyond the bound the oldest is dropped. What was recorded can be played even when this "
        "program or its machine has crashed.",
        {{"FILE", "File that is made; it must not exist.", Argument::eOnce, {}, checkKeptFile}},
        QVector<Option>{whole("for", "seconds", "End after so many seconds.", 1, kMostSeconds),
                        whole("size", "MiB", "Largest size of the file ({preset}).", 1, kMostMib, 256)} +
            TreeMirror::options(),
        record};
}

} // namespace KoltaCli
