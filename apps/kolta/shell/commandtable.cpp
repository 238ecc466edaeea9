#include "commandtable.h"

#include <kolta/cli/output.h>
#include <kolta/commands/commands.h>

#include <algorithm>

namespace KoltaCli {

const QVector<Command>& allCommands()
{
    // One line each, those of one job together.
    static const QVector<Command> commands{
        {"demo", "the main job against a simulated installation, step by step", runDemo},
        {"shell", "run commands one after another on one installation", runShell},

        {"describe", "ask a server who it is", runDescribe},
        {"send", "send the message in a file, print the reply", runSend},
        {"listen", "print broadcasts and faults until Ctrl-C", runListen},
        {"ping", "measure round trips", runPing},

        {"demand-classes", "list the demand classes that an application may use", runDemandClasses},
        {"classes", "draw the tree of tuner classes", runClasses},
        {"select", "choose the tuner of a class, and tell why that one", runSelect},
        {"plan", "give tuners to several classes at once", runPlan},

        {"status", "tell how the servers are", runStatus},
        {"watch", "print what happens on the servers until Ctrl-C", runWatch},
        {"produce", "start a production, with the tuner that it needs", runProduce},
        {"productions", "list what runs", runProductions},
        {"move", "move an FFP to another MCP", runMove},
        {"stop", "stop productions", runStop},
        {"power", "switch units on or off", runPower},

        {"profiles", "import, list, show, export or compare short-time profiles", runProfiles},
        {"assignments", "list, show or set what FFPs are to look for", runAssignments},
        {"conversions", "list, start, finish or tidy up conversions of recordings", runConversions},

        {"rights", "list what the user may do", runRights},
    };
    return commands;
}

const Command* findCommand(const QString& name)
{
    const QVector<Command>& commands = allCommands();
    const auto it = std::find_if(commands.begin(), commands.end(), [&name](const Command& command) {
        return name == QLatin1String(command.name);
    });
    return it == commands.end() ? nullptr : &*it;
}

QString commandList()
{
    QString text = QStringLiteral("Commands:\n");
    for (const Command& command : allCommands())
        text += QStringLiteral("  %1%2\n")
                    .arg(QLatin1String(command.name), -16)
                    .arg(QLatin1String(command.summary));
    return text;
}

int runCommand(const QStringList& words, const QString& help)
{
    const QString name = words.value(0);
    if (const Command* const command = findCommand(name))
        return command->run(words.mid(1));
    printError(QStringLiteral("there is no command \"%1\". Try \"%2\".").arg(name, help));
    return eExitUsage;
}

} // namespace KoltaCli
