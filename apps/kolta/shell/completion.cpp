#include "completion.h"

#include <kolta/cli/commandtable.h>

#include <algorithm>

namespace KoltaCli {

namespace {

QStringList optionsOf(const Command& command)
{
    QStringList words{QStringLiteral("-h")};
    for (const QVector<Option>& options : {commonOptions(), command.options}) {
        for (const Option& option : options)
            words.append(option.typed());
    }
    return words;
}

/// What the argument at `place`, counted from 0, may be; empty when it may be anything.
QStringList argumentsOf(const Command& command, int place)
{
    QStringList words;
    for (const Action& action : command.actions)
        words.append(place == 0 ? QStringList{QLatin1String(action.name)} : QStringList());
    return words + (place < command.arguments.size() ? command.arguments.at(place).choices : QStringList());
}

QStringList namesOf(const CommandTable& table)
{
    QStringList names;
    for (const Command& command : table.all())
        names.append(QLatin1String(command.name));
    return names;
}

/// The words that may stand behind those of `before`.
QStringList wordsBehind(const QStringList& before, const QString& word, const CommandTable& table)
{
    const Command* const command = table.find(before.value(0));
    if (before.isEmpty() || (before.first() == QLatin1String("help") && before.size() == 1))
        return namesOf(table);
    if (!command)
        return {};
    return word.startsWith(QLatin1Char('-')) ? optionsOf(*command) : argumentsOf(*command, before.size() - 1);
}

int commonLength(const QString& a, const QString& b)
{
    const auto end = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first;
    return static_cast<int>(end - a.begin());
}

} // namespace

Completion completeLine(const QString& line, const CommandTable& table)
{
    const int start = line.lastIndexOf(QLatin1Char(' ')) + 1;
    const QString word = line.mid(start);
    const QStringList before = line.left(start).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QStringList words = wordsBehind(before, word, table);

    Completion completion;
    for (const QString& candidate : words) {
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
