#pragma once

#include <QProcess>
#include <QtTest>

#include <csignal>

inline QString words(const char* text)
{
    return QString::fromUtf8(text);
}

/// One run of the command line.
class KoltaProcess : public QProcess
{
public:
    explicit KoltaProcess(const QStringList& arguments, const QByteArray& input = QByteArray())
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char* const name : {"KOLTA_CONFIG", "KOLTA_TREE"})
            environment.remove(QLatin1String(name));
        setProcessEnvironment(environment);
        start(QStringLiteral(KOLTA_PROGRAM), arguments);
        write(input);
        closeWriteChannel();
    }
    ~KoltaProcess() override
    {
        kill();
        waitForFinished();
    }

    void interrupt() { ::kill(static_cast<pid_t>(processId()), SIGINT); }
    /// The event loop runs while this waits, so the server may live in this process.
    bool ends()
    {
        return QTest::qWaitFor([this] { return state() == NotRunning; }, kPatience);
    }
    /// Whether it prints that so often, or in one of its errors, however slow the machine is.
    bool prints(const QString& text, int times = 1)
    {
        return QTest::qWaitFor([&] { return output().count(text) >= times; }, kPatience);
    }
    bool complains(const QString& text, int times = 1)
    {
        return QTest::qWaitFor([&] { return errors().count(text) >= times; }, kPatience);
    }
    QString output()
    {
        m_output += QString::fromUtf8(readAllStandardOutput());
        return m_output;
    }
    /// Without the line that says that servers are simulated, which most commands begin with.
    QString errors()
    {
        m_errors += QString::fromUtf8(readAllStandardError());
        return QString(m_errors).remove(
            words("kolta: the servers are simulated and end with this command\n"));
    }

private:
    static constexpr int kPatience = 60000;
    QString m_output;
    QString m_errors;
};

/// A run that has ended by itself, or was killed because it would not.
class KoltaRun : public KoltaProcess
{
public:
    explicit KoltaRun(const QStringList& arguments, const QByteArray& input = QByteArray())
        : KoltaProcess(arguments, input)
    {
        if (ends())
            return;
        qWarning("the program does not end");
        kill();
    }
};
