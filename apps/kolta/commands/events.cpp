#include "commands.h"

#include <common/clocktimes.h>
#include <common/eventcsv.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/output.h>
#include <kolta/cli/table.h>

#include <koltacommon/eventmodel.h>
#include <koltacommon/journal.h>

#include <QFileInfo>

#include <algorithm>

namespace KoltaCli {

using Kolta::Event;
using Kolta::JournalEntry;

namespace {

constexpr int kMostLines = 1000000000;

QStringList kindWords()
{
    QStringList words;
    for (int kind = 0; kind < Event::kKindCount; ++kind)
        words << Event::word(static_cast<Event::Kind>(kind));
    return words;
}

QStringList weightWords()
{
    return {Event::word(Event::Weight::Note), Event::word(Event::Weight::Attention),
            Event::word(Event::Weight::Alarm)};
}

Kolta::EventFilter filterOf(const CommandLine& line)
{
    Kolta::EventFilter filter;
    filter.servers = line.values("server");
    if (line.isSet("kind"))
        filter.kinds = {static_cast<Event::Kind>(line.choice("kind"))};
    if (line.isSet("weight"))
        filter.least = static_cast<Event::Weight>(line.choice("weight"));
    filter.from = KoltaApps::momentOf(line.value("from"));
    filter.to = KoltaApps::momentOf(line.value("to"));
    filter.words = line.values("word");
    filter.without = line.values("without");
    return filter;
}

QJsonObject objectOf(const JournalEntry& entry)
{
    QJsonObject object = entry.event.toJson();
    if (entry.count > 1) {
        object[QStringLiteral("count")] = entry.count;
        object[QStringLiteral("last")] = entry.last.toString(Qt::ISODateWithMs);
    }
    return object;
}

/// The newest last, as in every log.
void print(const CommandLine& line, const Kolta::Journal& journal)
{
    const Kolta::EventFilter filter = filterOf(line);
    const int most = line.number("count");
    const bool isCsv = line.isSet("csv");
    QVector<const JournalEntry*> entries;
    for (quint64 number = journal.endNumber(); number-- > journal.firstNumber();) {
        const JournalEntry* const entry = journal.entry(number);
        if (filter.matches(entry->event))
            entries.append(entry);
        if (most > 0 && entries.size() == most)
            break;
    }
    std::reverse(entries.begin(), entries.end());
    Table table({QStringLiteral("TIME"), QStringLiteral("SERVER"), QStringLiteral("WEIGHT"),
                 QStringLiteral("WHAT HAPPENED")});
    if (isCsv)
        printLine(QLatin1String(KoltaApps::kEventTitles));
    for (const JournalEntry* const entry : qAsConst(entries)) {
        if (line.json())
            printJson(objectOf(*entry));
        else if (isCsv)
            printLine(KoltaApps::eventAsCsv(entry->event, entry->text()));
        else
            table.addRow({entry->event.timeText(), entry->event.server(), Event::word(entry->event.weight),
                          entry->text()});
    }
    if (!line.json() && !isCsv)
        table.print();
}

int events(const CommandLine& line)
{
    if (line.json() && line.isSet("csv"))
        return line.usageError(QStringLiteral("--csv and --json are two formats"));
    const QString path = line.argument(0);
    if (!QFileInfo::exists(path)) {
        printError(QStringLiteral("%1: there is no such file").arg(path));
        return eExitFailed;
    }
    Kolta::Journal journal;
    if (!journal.read(path)) {
        printError(journal.problem());
        return eExitFailed;
    }
    if (!journal.problem().isEmpty()) // what a crash has cut; the rest is good
        printError(journal.problem());
    print(line, journal);
    return eExitOk;
}

} // namespace

Command eventsCommand()
{
    return {"events",
            "print what a journal has kept of what happened",
            "Prints the newest events of a journal that \"watch --journal\" or the console has written, the "
            "newest last. Repeated ones are one line.",
            {{"FILE", "The journal.", Argument::eOnce}},
            {text("server", "name", "Of this server; may be given several times."),
             choice("kind", "kind", "Of this kind.", kindWords()),
             choice("weight", "weight", "At least this heavy.", weightWords()),
             text("word", "text", "With this word or beginning of one; may be given several times."),
             text("without", "text", "Without this word; may be given several times."),
             checked(text("from", "time", "From this time on: a date and time, or a time of today."),
                     KoltaApps::problemOfMoment),
             checked(text("to", "time", "Before this time."), KoltaApps::problemOfMoment),
             whole("count", "number", "So many at most (0: all).", 0, kMostLines, 100),
             flag("csv", "Print a table for spreadsheets, with commas.")},
            events};
}

} // namespace KoltaCli
