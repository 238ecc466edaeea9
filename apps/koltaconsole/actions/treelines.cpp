#include "treelines.h"

#include <common/shellwords.h>
#include <kolta/cli/commandtable.h>
#include <kolta/commands/commands.h>

#include <algorithm>

namespace KoltaConsole {

namespace {

bool looksAtTree(const QString& command)
{
    static const KoltaCli::CommandTable commands(KoltaCli::allCommands(), QString(), QString(), QString());
    const KoltaCli::Command* const found = commands.find(command);
    return found && std::any_of(found->options.begin(), found->options.end(),
                                [](const auto& option) { return qstrcmp(option.name, "tree") == 0; });
}

bool namesOne(const QStringList& words)
{
    return std::any_of(words.begin(), words.end(), [](const QString& word) {
        return word == QLatin1String("--tree") || word.startsWith(QLatin1String("--tree=")) ||
               word == QLatin1String("--installation") || word.startsWith(QLatin1String("--installation="));
    });
}

QString lineOnTree(const QString& line, const QString& url)
{
    const QStringList words = KoltaApps::shellWords(line);
    const QString command = words.value(1);
    if (!looksAtTree(command) || namesOne(words))
        return line;
    const QString begin = QStringLiteral("kolta ") + command;
    return line.startsWith(begin) ? QStringLiteral("%1 --tree %2%3")
                                        .arg(begin, KoltaApps::shellQuoted(url), line.mid(begin.size()))
                                  : line;
}

} // namespace

QString linesOnTree(const QString& lines, const QString& url)
{
    if (url.isEmpty() || lines.isEmpty())
        return lines;
    QStringList result;
    for (const QString& line : lines.split(QLatin1Char('\n')))
        result.append(lineOnTree(line, url));
    return result.join(QLatin1Char('\n'));
}

} // namespace KoltaConsole
