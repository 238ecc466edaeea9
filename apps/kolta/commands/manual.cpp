#include "commands.h"

#include <common/manualpage.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/commandtable.h>
#include <kolta/cli/output.h>

#include <QCoreApplication>

namespace KoltaCli {

using KoltaApps::ManualPage;

namespace {

constexpr struct
{
    const char* name;
    const char* meaning;
} kEnvironment[] = {
    {"KOLTA_TREE", "URL of the tree to look at, as --tree takes it."},
    {"KOLTA_CONFIG", "The configuration file."},
    {"KOLTA_TRACE_MASK", "Which trace channels --trace writes, the sum of their numbers."},
    {"COLUMNS", "Width of tables, where it is not that of the terminal."},
    {"NO_COLOR", "When set, nothing is coloured."},
};

QString program()
{
    return QCoreApplication::applicationName();
}

QString pageOf(const Command& command)
{
    return program() + QLatin1Char('-') + QLatin1String(command.name);
}

void addEnd(ManualPage& page, const QStringList& references)
{
    page.addSection(QStringLiteral("EXIT STATUS"));
    for (const ExitCode& code : exitCodes())
        page.addEntry(QString::number(code.code), QLatin1String(code.meaning) + QLatin1Char('.'));
    page.addSection(QStringLiteral("ENVIRONMENT"));
    for (const auto& variable : kEnvironment)
        page.addEntry(QLatin1String(variable.name), QString::fromUtf8(variable.meaning));
    page.addReferences(references);
}

ManualPage manualOf(const Command& command)
{
    ManualPage page(pageOf(command), QString::fromUtf8(command.summary),
                    QCoreApplication::applicationVersion());
    page.addSection(QStringLiteral("SYNOPSIS"));
    page.addUsage(program() + QLatin1Char(' ') + QLatin1String(command.name), command.usage());
    page.addSection(QStringLiteral("DESCRIPTION"));
    page.addText(QString::fromUtf8(command.description));
    if (!command.arguments.isEmpty())
        page.addSection(QStringLiteral("ARGUMENTS"));
    for (const Argument& argument : command.arguments)
        page.addEntry(QLatin1String(argument.name), argument.fullHelp());
    if (!command.actions.isEmpty())
        page.addSection(QStringLiteral("ACTIONS"));
    for (const Action& action : command.actions)
        page.addEntry(action.shown(), QString::fromUtf8(action.help));
    page.addSection(QStringLiteral("OPTIONS"));
    page.addOptions(command.options + commonOptions());
    addEnd(page, {program()});
    return page;
}

ManualPage overviewOf(const CommandTable& table)
{
    ManualPage page(program(), QStringLiteral("talk to the servers of a monitoring installation"),
                    QCoreApplication::applicationVersion());
    page.addSection(QStringLiteral("SYNOPSIS"));
    page.addUsage(program(), QStringLiteral("COMMAND [ARGUMENT]..."));
    page.addSection(QStringLiteral("DESCRIPTION"));
    page.addText(
        QStringLiteral("Each command has a page of its own, which \"man %1-COMMAND\" shows; \"%1 help "
                       "COMMAND\" tells the same in short.")
            .arg(program()));
    page.addSection(QStringLiteral("COMMANDS"));
    QStringList pages;
    for (const Command& command : table.all()) {
        if (command.isHidden)
            continue;
        page.addEntry(QLatin1String(command.name), QString::fromUtf8(command.summary));
        pages.append(pageOf(command));
    }
    page.addSection(QStringLiteral("OPTIONS"));
    page.addText(QStringLiteral("Every command has these:"));
    page.addOptions(commonOptions());
    page.addEntry(QStringLiteral("-v, --version"),
                  QStringLiteral("Print the version, in the place of a command."));
    addEnd(page, pages + QStringList{QStringLiteral("koltasim")});
    return page;
}

int manual(const CommandLine& line)
{
    QString error;
    bool done = overviewOf(line.table()).write(line.argument(0), error);
    for (const Command& command : line.table().all())
        done = done && (command.isHidden || manualOf(command).write(line.argument(0), error));
    if (done)
        return eExitOk;
    printError(error);
    return eExitFailed;
}

} // namespace

Command manualCommand()
{
    Command command{"manual",
                    "write the manual pages",
                    "Writes the manual page of each command into a folder.",
                    {{"FOLDER", "Where to; made where it is missing."}},
                    {},
                    manual};
    command.isHidden = true;
    return command;
}

} // namespace KoltaCli
