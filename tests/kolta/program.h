#pragma once

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include <csignal>

inline QString words(const char* text)
{
    return QString::fromUtf8(text);
}

/// The objects of an output with one on each line.
inline QVector<QJsonObject> jsonLines(const QString& text)
{
    QVector<QJsonObject> objects;
    for (const QString& line : text.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        objects.append(QJsonDocument::fromJson(line.toUtf8()).object());
    return objects;
}

/// One run of the command line.
class Kolta : public QProcess
{
public:
    explicit Kolta(const QStringList& arguments, const QByteArray& input = QByteArray())
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(QStringLiteral("KOLTA_CONFIG"));
        setProcessEnvironment(environment);
        start(QStringLiteral(KOLTA_PROGRAM), arguments);
        write(input);
        closeWriteChannel();
    }
    ~Kolta() override
    {
        kill();
        waitForFinished();
    }

    void interrupt() { ::kill(static_cast<pid_t>(processId()), SIGINT); }
    /// The event loop runs while this waits, so the server may live in this process.
    bool ends()
    {
        return QTest::qWaitFor([this] { return state() == NotRunning; }, 20000);
    }
    QString output()
    {
        m_output += QString::fromUtf8(readAllStandardOutput());
        return m_output;
    }
    QString errors()
    {
        m_errors += QString::fromUtf8(readAllStandardError());
        return m_errors;
    }

private:
    QString m_output;
    QString m_errors;
};

/// A run that has ended by itself, or was killed because it would not.
class KoltaRun : public Kolta
{
public:
    explicit KoltaRun(const QStringList& arguments, const QByteArray& input = QByteArray())
        : Kolta(arguments, input)
    {
        if (ends())
            return;
        qWarning("the program does not end");
        kill();
    }
};

/// A simulated server as a process of its own.
class Server : public QProcess
{
public:
    explicit Server(const QStringList& options = QStringList(),
                    const QString& listen = QStringLiteral("127.0.0.1:0"))
    {
        start(QStringLiteral(KOLTASIM_PROGRAM),
              QStringList{QStringLiteral("--installation"), QStringLiteral(KOLTA_INSTALLATION_DIR),
                          QStringLiteral("--listen"), listen} +
                  options);
        if (QTest::qWaitFor([this] { return canReadLine(); }, 10000))
            address = QString::fromUtf8(readLine()).trimmed().section(QLatin1Char(' '), -1);
    }
    ~Server() override
    {
        kill();
        waitForFinished();
    }

    QString port() const { return address.section(QLatin1Char(':'), -1); }

    QString address; ///< empty when the server has not come up
};
