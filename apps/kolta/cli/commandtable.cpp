#include "commandtable.h"

#include "commandline.h"
#include "output.h"

#include <algorithm>

namespace KoltaCli {

namespace {

/// A name that is meant differs from what was typed by this much at most.
constexpr int kFurthestGuess = 2;

/// How many letters must be changed, added, removed or swapped with the next to make `b` of `a`.
int distance(const QString& a, const QString& b)
{
    QVector<QVector<int>> steps(a.size() + 1, QVector<int>(b.size() + 1));
    for (int i = 0; i <= a.size(); ++i) {
        for (int k = 0; k <= b.size(); ++k) {
            int& least = steps[i][k];
            least = i == 0 || k == 0 ? i + k : steps[i - 1][k - 1] + (a[i - 1] == b[k - 1] ? 0 : 1);
            if (i > 0 && k > 0)
                least = std::min({least, steps[i - 1][k] + 1, steps[i][k - 1] + 1});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1])
                least = std::min(least, steps[i - 2][k - 2] + 1);
        }
    }
    return steps[a.size()][b.size()];
}

} // namespace

CommandTable::CommandTable(const QVector<Command>& commands, const QString& prefix, const QString& intro,
                           const QString& outro)
    : m_commands(commands), m_prefix(prefix), m_intro(intro), m_outro(outro)
{
}

const Command* CommandTable::find(const QString& name) const
{
    const auto it = std::find_if(m_commands.begin(), m_commands.end(), [&name](const Command& command) {
        return name == QLatin1String(command.name);
    });
    return it == m_commands.end() ? nullptr : &*it;
}

QString CommandTable::problemOf(const QString& name) const
{
    const Command* nearest = nullptr;
    int least = std::min(kFurthestGuess, name.size() - 1) + 1;
    for (const Command& command : m_commands) {
        const int steps = distance(name, QLatin1String(command.name));
        if (steps < least && !command.isHidden) {
            least = steps;
            nearest = &command;
        }
    }
    const QString problem = QStringLiteral("there is no command \"%1\".").arg(name);
    return nearest ? problem + QStringLiteral(" Did you mean \"%1\"?").arg(QLatin1String(nearest->name))
                   : problem;
}

int CommandTable::placeOfName(const QStringList& words)
{
    for (int place = 0; place < words.size(); ++place) {
        if (!words.at(place).startsWith(QLatin1Char('-')))
            return place;
        for (const Option& option : commonOptions()) {
            if (option.value != Value::None && words.at(place) == option.typed())
                ++place; // its value
        }
    }
    return -1;
}

QString CommandTable::overview() const
{
    QString text = m_intro + QStringLiteral("Commands:\n");
    for (const Command& command : m_commands) {
        if (!command.isHidden)
            text += QStringLiteral("  %1%2\n")
                        .arg(QLatin1String(command.name), -16)
                        .arg(QString::fromUtf8(command.summary));
    }
    return text + m_outro;
}

int CommandTable::run(const QStringList& words) const
{
    const int place = placeOfName(words);
    if (place < 0 && (words.contains(QStringLiteral("--help")) || words.contains(QStringLiteral("-h")))) {
        printLine(overview());
        return eExitOk;
    }
    const Command* const command = place < 0 ? nullptr : find(words.at(place));
    if (!command) {
        const QString problem =
            place < 0 ? QStringLiteral("a command is missing.") : problemOf(words.at(place));
        printError(QStringLiteral("%1 Try \"%2help\".").arg(problem, m_prefix));
        return eExitUsage;
    }
    return CommandLine(*command, *this).run(words.mid(0, place) + words.mid(place + 1));
}

} // namespace KoltaCli
