#include "linewords.h"

#include <common/shellwords.h>
#include <kolta/cli/commandline.h>
#include <kolta/cli/commandtable.h>
#include <kolta/commands/commands.h>
#include <koltaconsole/session/session.h>

namespace KoltaConsole {

std::optional<LineWords> readLine(const QString& line, const Session& session)
{
    static const KoltaCli::CommandTable commands(KoltaCli::allCommands(), QString(), QString(), QString());
    const QStringList words = KoltaApps::shellWords(line);
    const KoltaCli::Command* const command =
        words.value(0) == QLatin1String("kolta") ? commands.find(words.value(1)) : nullptr;
    if (!command)
        return std::nullopt;
    KoltaCli::CommandLine read(*command, commands);
    if (!read.read(words.mid(2)).isEmpty() || read.isSet("help"))
        return std::nullopt;
    const QStringList servers = read.values("server");
    if (servers.size() > 1 || (read.isSet("tree") && read.value("tree") != session.treeUrl()))
        return std::nullopt;
    QStringList asked{words.at(1)};
    if (!read.action().isEmpty())
        asked.append(read.action());
    QStringList options = read.given();
    options.sort();
    for (const QString& option : qAsConst(options)) {
        if (option != QLatin1String("server") && option != QLatin1String("tree"))
            asked.append(QStringLiteral("--") + option);
    }
    QString server = servers.value(0);
    if (servers.isEmpty() && session.facts().size() == 1)
        server = session.facts().first().address;
    return LineWords{asked.join(QLatin1Char(' ')), read.arguments(), server};
}

} // namespace KoltaConsole
