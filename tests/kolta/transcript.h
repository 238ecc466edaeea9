#pragma once

#include <support/program.h>

#include <QHash>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QVector>

#include <memory>
#include <vector>

/// A command in a document with what it prints, standard output and errors as they come.
///
/// Examples are in lines that begin with "$ ", which the shell runs, or "kolta> ", which one "kolta shell"
/// runs until the next "$ kolta shell". What follows is what they print: "..." stands for anything in a line,
/// and for any number of lines where it is all of a line. "[1]" at the end is the exit code; a transcript
/// without means 0, a page of the documentation any. "$ cat FILE" makes that file where there is none. "$
/// koltasim ... &" starts a server at a free port, which stands for the named one from then on.
struct Example
{
    int line = 0; ///< of the document, from 1
    bool inShell = false;
    QString command;
    QStringList expected;
    int exitCode = -1; ///< -1: any
};

/// Those of a Markdown page, which are set in by four blanks, or of a transcript, where "#" begins a comment.
QVector<Example> readExamples(const QString& fileName);

/// Runs the examples of one document, one after another in one folder, which has the project's share/.
class ExampleRunner
{
public:
    /// `strict`: GUIDs are those that are expected, and not any that stay the same.
    ExampleRunner(const QString& sourceFolder, bool strict);
    ~ExampleRunner() { endShell(); }

    /// What is wrong with what it prints; empty when nothing is.
    QString check(const Example& example);
    /// What the last one has printed, as its document would have it, with the exit code of a transcript.
    QStringList printed() const;

private:
    QString translated(const QString& text) const;
    int run(const Example& example);
    void endShell();
    int runInShell(const QString& command);
    bool startServer(const QString& command);
    bool matches(const QStringList& expected, const QStringList& printed, int e = 0, int p = 0);
    bool matchesLine(const QString& expected, const QString& printed);
    bool learn(const QString& expected, const QString& printed);

    QTemporaryDir m_folder;
    bool m_strict;
    std::vector<std::unique_ptr<Program>> m_servers;
    std::unique_ptr<Program> m_shell;
    QString m_shellCommand;
    QHash<QString, QString> m_places; ///< addresses and GUIDs of the document, and those of this run
    QStringList m_printed;
    int m_exitCode = 0;
};
