#pragma once

#include <QString>
#include <QStringList>

namespace KoltaCli {

/// What a shell tells beside the output of its commands.
class Teller
{
public:
    virtual ~Teller() = default;
    /// A line that begins with "#", without that.
    virtual void comment(const QString& text) = 0;
    /// A command is to run; OutputManner::eManner says how it prints.
    virtual int begin(const QString& line) = 0;
    /// It has ended.
    virtual void end(const QString& line, int lineNumber, int exitCode, const QStringList& printed) = 0;
};

/// What a script tells: of its commands only those that have failed.
class ScriptTeller : public Teller
{
public:
    void comment(const QString&) override {}
    int begin(const QString&) override;
    void end(const QString& line, int lineNumber, int exitCode, const QStringList&) override;
};

/// At a terminal everybody sees what has happened.
class TerminalTeller : public ScriptTeller
{
public:
    void end(const QString&, int, int, const QStringList&) override {}
};

} // namespace KoltaCli
