#include "completion.h"

#include <common/shellwords.h>
#include <kolta/cli/commandtable.h>

#include <algorithm>

namespace KoltaCli {

namespace {

/// What may stand in a place of a line.
struct Place
{
    QString prefix;    ///< that the last word has already, and keeps
    QStringList words; ///< some of what may stand there
    NameKind kind = NameKind::None;
};

QStringList namesOf(const CommandTable& table)
{
    QStringList names;
    for (const Command& command : table.all()) {
        if (!command.isHidden)
            names.append(QLatin1String(command.name));
    }
    return names;
}

const Option* findOption(const QVector<Option>& options, const QString& typed)
{
    const auto it = std::find_if(options.begin(), options.end(),
                                 [&typed](const Option& option) { return option.typed() == typed; });
    return it == options.end() ? nullptr : &*it;
}

Place placeOf(const Option& option, const QString& prefix, const QString& value)
{
    Place place{prefix, option.choices, kindOf(option)};
    if (place.kind == NameKind::ProfileList)
        place.prefix += value.left(value.lastIndexOf(QLatin1Char(',')) + 1);
    return place;
}

/// The words behind the name of a command, up to the one that is being typed.
class CommandWords
{
public:
    CommandWords(const Command& command, const QStringList& words)
        : m_command(command), m_options(command.options + commonOptions())
    {
        for (const QString& word : words)
            take(word);
    }

    /// What belongs to the command that is an argument of this one, with that; empty where there is none.
    QStringList innerWords() const { return m_inner; }
    Place placeOf(const QString& word) const
    {
        if (m_open)
            return KoltaCli::placeOf(*m_open, QString(), word);
        const int equals = word.indexOf(QLatin1Char('='));
        if (word.startsWith(QLatin1Char('-')) && equals < 0)
            return {QString(), KoltaApps::spellingsOf(m_options), NameKind::None};
        const Option* const option = findOption(m_options, word.left(equals));
        if (option && equals > 0)
            return KoltaCli::placeOf(*option, word.left(equals + 1), word.mid(equals + 1));
        return placeOfArgument();
    }
    /// Whether the next word is the name of a command.
    bool wantsCommand() const { return m_inner.isEmpty() && isInner(m_arguments.size()); }

private:
    /// Whether from this argument on the words are those of a command.
    bool isInner(int place) const
    {
        const QVector<Argument>& all = m_command.arguments;
        return !all.isEmpty() && all.last().count == Argument::eWords && place >= all.size() - 1;
    }

    void take(const QString& word)
    {
        const bool isOption = word.startsWith(QLatin1Char('-')) && word.size() > 1;
        if (m_open)
            m_open = nullptr;
        else if (!m_inner.isEmpty() || (!isOption && isInner(m_arguments.size())))
            m_inner.append(word);
        else if (!isOption)
            m_arguments.append(word);
        else if (const Option* const option = findOption(m_options, word))
            m_open = option->value == Value::None ? nullptr : option;
    }

    Place placeOfArgument() const
    {
        QVector<Argument> wanted = m_command.arguments;
        int index = m_arguments.size();
        if (!m_command.actions.isEmpty() && index == 0) {
            Place place;
            for (const Action& action : m_command.actions)
                place.words.append(QLatin1String(action.name));
            return place;
        }
        for (const Action& action : m_command.actions) {
            if (m_arguments.first() == QLatin1String(action.name)) {
                wanted = action.arguments;
                --index;
            }
        }
        if (index >= wanted.size() && !wanted.isEmpty() &&
            (wanted.last().count == Argument::eAny || wanted.last().count == Argument::eSeveral))
            index = wanted.size() - 1;
        return index < wanted.size() ? Place{QString(), wanted.at(index).choices, kindOf(wanted.at(index))}
                                     : Place();
    }

    const Command& m_command;
    const QVector<Option> m_options;
    const Option* m_open = nullptr; ///< whose value comes next
    QStringList m_arguments;
    QStringList m_inner;
};

Place placeOf(const QStringList& before, const QString& word, const CommandTable& table)
{
    const int name = CommandTable::placeOfName(before);
    if (name < 0) {
        const Option* const open = before.isEmpty() ? nullptr : findOption(commonOptions(), before.last());
        if (open && open->value != Value::None)
            return {};
        return {QString(),
                word.startsWith(QLatin1Char('-')) ? KoltaApps::spellingsOf(commonOptions()) : namesOf(table),
                NameKind::None};
    }
    const Command* const command = table.find(before.at(name));
    if (!command)
        return {};
    const CommandWords words(*command, before.mid(0, name) + before.mid(name + 1));
    return words.innerWords().isEmpty() && !words.wantsCommand() ? words.placeOf(word)
                                                                 : placeOf(words.innerWords(), word, table);
}

QString commonBegin(const QStringList& sorted)
{
    const QString& first = sorted.first();
    const QString& last = sorted.last();
    // In sorted order what the first and the last share is shared by all.
    const auto end = std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first;
    return first.left(static_cast<int>(end - first.begin()));
}

} // namespace

QStringList completionsOf(const QStringList& words, const CommandTable& table, const NameSource& names)
{
    const QString word = words.last();
    const Place place = placeOf(words.mid(0, words.size() - 1), word, table);
    const QString begin = word.mid(place.prefix.size());
    QStringList possible = place.words;
    if (place.kind == NameKind::Command)
        possible += namesOf(table);
    else if (place.kind != NameKind::None)
        possible += names(place.kind, begin, words);
    QStringList found;
    for (const QString& each : qAsConst(possible)) {
        if (!each.isEmpty() && each.startsWith(begin))
            found.append(place.prefix + each);
    }
    found.sort();
    found.removeDuplicates();
    return found;
}

Completion completeLine(const QString& line, const CommandTable& table, const NameSource& names)
{
    const KoltaApps::ShellParts parts = KoltaApps::shellParts(line);
    Completion completion;
    completion.candidates = completionsOf(parts.words, table, names);
    completion.text = line.mid(parts.lastStart);
    completion.typed = completion.text.size();
    if (completion.candidates.isEmpty())
        return completion;
    const QString common = commonBegin(completion.candidates);
    const bool isWhole = completion.candidates.size() == 1 && !common.endsWith(QLatin1Char('/'));
    if (isWhole)
        completion.text = KoltaApps::typedWord(common, true) + QLatin1Char(' ');
    else if (common.size() > parts.words.last().size())
        completion.text = KoltaApps::typedWord(common, false);
    return completion;
}

} // namespace KoltaCli
