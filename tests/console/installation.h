#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

#include <csignal>

/// `kolta up`: a broker and servers, each a process.
class Installation
{
public:
    /// `options`: "--restart", for instance.
    explicit Installation(int servers, const QStringList& options = {})
    {
        m_process.start(
            QStringLiteral(KOLTA_PROGRAM),
            QStringList{QStringLiteral("up"), QStringLiteral("--servers"), QString::number(servers)} +
                options);
        m_url = told(QStringLiteral("tree"));
        m_broker = told(QStringLiteral("broker")).toInt();
    }
    ~Installation()
    {
        m_process.terminate();
        m_process.waitForFinished(20000);
    }
    bool isUp() const { return !m_url.isEmpty() && m_broker > 0; }
    const QString& url() const { return m_url; }
    /// For who skips a test.
    const QString& said() const { return m_said; }
    /// Asks the process of that server to end: it leaves by itself.
    bool sendAway(const QString& server) { return ::kill(told(server).toInt(), SIGTERM) == 0; }
    bool killBroker() { return ::kill(m_broker, SIGKILL) == 0; }

private:
    /// What stands behind that word at the beginning of a line.
    QString told(const QString& word)
    {
        for (int i = 0; i < 100; ++i) {
            for (const QString& line :
                 m_said.split(QLatin1Char('\n')).mid(0, m_said.count(QLatin1Char('\n')))) {
                if (line.startsWith(word + QLatin1Char(' ')))
                    return line.section(QLatin1Char(' '), 1, 1);
            }
            m_process.waitForReadyRead(100);
            m_said += QString::fromUtf8(m_process.readAllStandardOutput());
        }
        return QString();
    }

    QProcess m_process;
    QString m_said;
    QString m_url;
    int m_broker = 0;
};
