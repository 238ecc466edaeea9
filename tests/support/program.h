#pragma once

#include <QByteArray>
#include <QPair>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QVector>

#include <csignal>

/// A program in a process of its own, which ends with this object. Whatever it is waited for, kPatienceMs is
/// the limit and events are handled meanwhile, so that what it talks to may live in the test. What it has
/// said is printed when that is in vain, and when the test fails.
class Program : public QProcess
{
public:
    /// Of the environment, which is the test's for all others; a null text takes one away.
    using Variables = QVector<QPair<const char*, QString>>;

    Program() = default;
    explicit Program(const QString& path, const QStringList& arguments = {}, const Variables& variables = {})
    {
        begin(path, arguments, variables);
    }
    ~Program() override;

    void begin(const QString& path, const QStringList& arguments = {}, const Variables& variables = {});
    /// Gives it all of its standard input.
    void feed(const QByteArray& input);
    bool signal(int number) const
    {
        const auto process = static_cast<pid_t>(processId());
        return process > 0 && ::kill(process, number) == 0;
    }

    /// All of its standard output so far, and with merged channels its errors.
    const QByteArray& said();
    const QByteArray& complaints();
    /// The same output, and from here on none of it.
    QByteArray taken();
    /// Whether it says that, so often, before it ends.
    bool says(const QByteArray& text, int times = 1);
    bool complains(const QByteArray& text, int times = 1);
    /// The next line of its output; null when there is none before it ends.
    QString line();
    bool ends();
    /// Its exit code, once it has ended; -1 when it never does, or not by itself.
    int result();

private:
    bool isOver() const { return state() == NotRunning; }
    bool show(); ///< false

    QByteArray m_said;
    QByteArray m_complaints;
    int m_linesEnd = 0; ///< of those in m_said that line() has told
};
