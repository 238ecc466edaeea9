#include "replayverbs.h"

#include <kolta/cli/commandline.h>
#include <kolta/cli/commandtable.h>
#include <kolta/cli/eventwait.h>
#include <kolta/cli/output.h>

#include <distribution/replay.h>

#include <functional>
#include <optional>

namespace KoltaCli {

namespace {

using distribution::Replay;
using distribution::ReplayAddress;

constexpr int kMostSteps = 1000000;

QString checkSpeed(const QString& text)
{
    bool isNumber = false;
    const double speed = text.toDouble(&isNumber);
    return isNumber && speed > 0 && speed <= ReplayAddress::kMostSpeed
               ? QString()
               : QStringLiteral("expected a number above 0 and at most %1").arg(ReplayAddress::kMostSpeed);
}

double secondsSince(qint64 beginMs, qint64 timeMs)
{
    return static_cast<double>(timeMs - beginMs) / 1000;
}

int tellPosition(const CommandLine& line, const Replay& replay)
{
    const QString time = replay.timeAt(replay.position()).toString(Qt::ISODateWithMs);
    const double played = secondsSince(replay.begin(), replay.position());
    const double all = secondsSince(replay.begin(), replay.end());
    const QString state = replay.isAtEnd()    ? QStringLiteral("at its end")
                          : replay.isPaused() ? QStringLiteral("paused")
                                              : QStringLiteral("going");
    if (line.json())
        printJson({{QStringLiteral("time"), time},
                   {QStringLiteral("second"), played},
                   {QStringLiteral("seconds"), all},
                   {QStringLiteral("speed"), replay.speed()},
                   {QStringLiteral("state"), state}});
    else
        printLine(QStringLiteral("%1, %2 s of %3 s, speed %4, %5")
                      .arg(time, QString::number(played, 'f', 1), QString::number(all, 'f', 1),
                           QString::number(replay.speed()), state));
    return eExitOk;
}

int whenMoved(const CommandLine& line, const Replay& replay)
{
    waitUntil([&replay] { return !replay.isMoving(); }, kWaitForever);
    return tellPosition(line, replay);
}

/// Nothing, and told, for a time that was not recorded.
std::optional<qint64> timeOf(const QString& text, const Replay& replay)
{
    QString error;
    const auto time = replay.find(text, error);
    if (!time)
        printError(error);
    return time;
}

int go(const CommandLine& line, Replay& replay)
{
    if (line.arguments().isEmpty()) {
        replay.go();
        return tellPosition(line, replay);
    }
    const auto until = timeOf(line.argument(0), replay);
    if (!until)
        return eExitFailed;
    if (*until < replay.position()) {
        printError(QStringLiteral("that has been played already; jump there"));
        return eExitFailed;
    }
    replay.goUntil(*until);
    waitUntil([&replay] { return replay.isPaused() && !replay.isMoving(); }, kWaitForever);
    replay.pause();
    return tellPosition(line, replay);
}

int step(const CommandLine& line, Replay& replay)
{
    replay.step(line.number("number"));
    return whenMoved(line, replay);
}

int jump(const CommandLine& line, Replay& replay)
{
    const auto time = timeOf(line.argument(0), replay);
    if (!time)
        return eExitFailed;
    replay.jump(*time);
    return whenMoved(line, replay);
}

int pause(const CommandLine& line, Replay& replay)
{
    replay.pause();
    return tellPosition(line, replay);
}

int speed(const CommandLine& line, Replay& replay)
{
    replay.setSpeed(line.argument(0).toDouble());
    return tellPosition(line, replay);
}

int position(const CommandLine& line, Replay& replay)
{
    return tellPosition(line, replay);
}

int replayFile(const CommandLine& line)
{
    ReplayAddress address;
    address.file = line.argument(0);
    address.speed = line.value("speed").toDouble();
    address.from = line.value("from");
    QStringList words{QStringLiteral("shell"), QStringLiteral("--tree"), address.ToUrl()};
    for (const char* const option : {"keep-going", "json", "trace"}) {
        if (line.isSet(option))
            words.append(QStringLiteral("--") + QLatin1String(option));
    }
    if (line.isSet("timeout"))
        words += QStringList{QStringLiteral("--timeout"), line.value("timeout")};
    return line.table().run(words);
}

Argument timeArgument(Argument::Count count)
{
    Argument time{"TIME", "begin, end, a time of day such as 12:03:10, with its date before it and a T or "
                          "not, or +SECONDS and -SECONDS from here."};
    time.count = count;
    time.check = [](const QString& text) {
        return text.isEmpty() ? QStringLiteral("expected a time") : QString();
    };
    return time;
}

/// Makes the run of a command from what one of these does with the recording.
using Own = std::function<Run(int (*verb)(const CommandLine&, Replay&))>;

QVector<Command> verbsOfPlaying(const Own& own)
{
    return {{"pause",
             "let the time of the recording stand still",
             "Lets the time of the recording stand still.",
             {},
             {},
             own(pause)},
            {"go",
             "let the recording go on",
             "Lets the recording go on. With a TIME it waits until that is reached, and pauses there.",
             {timeArgument(Argument::eOptional)},
             {},
             own(go)},
            {"step",
             "play the next message and pause",
             "Plays up to the next message that is no mere sign of life, and pauses.",
             {},
             {whole("number", "number", "So many messages ({preset}).", 1, kMostSteps, 1)},
             own(step)}};
}

QVector<Command> verbsOfTime(const Own& own)
{
    return {{"jump",
             "go to another time of the recording",
             "Goes to another time of the recording, also an earlier one.",
             {timeArgument(Argument::eOnce)},
             {},
             own(jump)},
            {"speed",
             "play the recording faster or slower",
             "Plays the recording so many times as fast.",
             {{"N", "1 is as fast as it was.", Argument::eOnce, {}, checkSpeed}},
             {},
             own(speed)},
            {"position",
             "tell where the recording is played",
             "Tells where the recording is played, and how.",
             {},
             {},
             own(position)}};
}

} // namespace

QVector<Command> replayVerbs(Replay* replay)
{
    if (!replay)
        return {};
    const Own own = [replay](int (*verb)(const CommandLine&, Replay&)) {
        return [replay, verb](const CommandLine& line) { return verb(line, *replay); };
    };
    return verbsOfPlaying(own) + verbsOfTime(own);
}

QString replayGreeting(const Replay& replay)
{
    return QStringLiteral("%1 plays from %2.\npause, go, step, jump, speed and position control it.\n")
        .arg(replay.file(), replay.timeAt(replay.position()).toString(Qt::ISODate));
}

Command replayCommand()
{
    return {
        "replay",
        "play a recording as an installation of its own",
        "Opens a shell on a file that \"kolta record\" has made: all commands see what the servers said "
        "then, and pause, go, step, jump, speed and position control the time. Nothing can be changed in it. "
        "Other commands see the recording with --tree replay:FILE?speed=N&from=TIME.",
        {{"FILE", "The recording."}},
        {checked(text("speed", "N", "So many times as fast as it was ({preset}).",
                      QString::number(ReplayAddress().speed)),
                 checkSpeed),
         text("from", "TIME", "Begin there: begin, end, a time of day or +SECONDS."),
         flag("keep-going", "Go on with a script when one of its commands has failed.")},
        replayFile};
}

} // namespace KoltaCli
