#include "completion.h"

#include "commandtable.h"

#include <kolta/cli/commandline.h>

#include <algorithm>

namespace KoltaCli {

namespace {

QStringList firstWords()
{
    QStringList words{QStringLiteral("exit"), QStringLiteral("help"), QStringLiteral("quit")};
    for (const Command& command : allCommands())
        words.append(QLatin1String(command.name));
    return words;
}

int commonLength(const QString& a, const QString& b)
{
    const auto end = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first;
    return static_cast<int>(end - a.begin());
}

} // namespace

Completion completeLine(const QString& line)
{
    const int start = line.lastIndexOf(QLatin1Char(' ')) + 1;
    const QString word = line.mid(start);
    const QStringList before = line.left(start).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QStringList words;
    if (before.isEmpty())
        words = firstWords();
    else if (const Command* const command = findCommand(before.first());
             command && word.startsWith(QLatin1Char('-')))
        words = CommandLine::optionsOf(command->run, before.mid(1));

    Completion completion;
    for (const QString& candidate : qAsConst(words)) {
        if (candidate.startsWith(word))
            completion.candidates.append(candidate);
    }
    completion.candidates.sort();
    if (completion.candidates.isEmpty())
        return completion;
    const QString& first = completion.candidates.first();
    // In sorted order what the first and the last share is shared by all.
    const int common = commonLength(first, completion.candidates.last());
    completion.missing = first.mid(word.size(), common - word.size());
    if (completion.candidates.size() == 1)
        completion.missing += QLatin1Char(' ');
    return completion;
}

} // namespace KoltaCli
