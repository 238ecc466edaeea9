#pragma once

#include "command.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace KoltaCli {

/// The commands of a program or a prompt.
class CommandTable
{
public:
    /// `prefix` stands before the commands where help shows how they are typed; `intro` and `outro` around
    /// their list.
    CommandTable(const QVector<Command>& commands, const QString& prefix, const QString& intro,
                 const QString& outro);

    /// In the order in which help lists them.
    const QVector<Command>& all() const noexcept { return m_commands; }
    const QString& prefix() const noexcept { return m_prefix; }
    /// Null when there is none of that name.
    const Command* find(const QString& name) const;
    /// Says that there is none of that name, and which one may have been meant.
    QString problemOf(const QString& name) const;
    /// Where the command's name stands among words: options that every command has may come first. -1 when
    /// there is none.
    static int placeOfName(const QStringList& words);
    /// What help shows.
    QString overview() const;

    /// Runs the command that `words` name, with options before or behind the name; returns an eExitCode. What
    /// is wrong is told.
    int run(const QStringList& words) const;

private:
    QVector<Command> m_commands;
    QString m_prefix;
    QString m_intro;
    QString m_outro;
};

} // namespace KoltaCli
