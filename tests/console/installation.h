#pragma once

#ifdef KOLTA_WITH_DISTRIBUTION
#include <distribution/localbroker.h>
#endif

#include <QDeadlineTimer>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <csignal>

/// Whether there is what an installation needs; who finds that there is not skips the test. One that does not
/// come up all the same is a failure.
inline bool isInstallationPossible()
{
#ifdef KOLTA_WITH_DISTRIBUTION
    return distribution::LocalBroker::IsInstalled();
#else
    return false;
#endif
}

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
        letBrokerReturn();
        m_process.terminate();
        m_process.waitForFinished(20000);
    }
    bool isUp() const { return !m_url.isEmpty() && m_broker > 0; }
    const QString& url() const { return m_url; }
    /// All that it has printed so far, for whoever it does not come up for.
    QString said()
    {
        m_errors += QString::fromUtf8(m_process.readAllStandardError());
        return QStringLiteral("kolta up says:\n") + m_said + m_errors;
    }
    /// Asks the process of that server to end: it leaves by itself.
    bool sendAway(const QString& server) { return ::kill(told(server).toInt(), SIGTERM) == 0; }
    /// It stays away until it is let return: `kolta up`, which would start another one, is held meanwhile.
    bool killBroker() { return signalUp(SIGSTOP) && ::kill(m_broker, SIGKILL) == 0; }
    bool letBrokerReturn() { return signalUp(SIGCONT); }

private:
    static constexpr int kPatienceMs = 60000;

    bool signalUp(int number)
    {
        const qint64 pid = m_process.processId();
        return pid > 0 && ::kill(static_cast<pid_t>(pid), number) == 0;
    }

    /// What stands behind that word at the beginning of a line; empty when it ends without, or never says so.
    QString told(const QString& word)
    {
        const QDeadlineTimer patience(kPatienceMs);
        for (bool isOver = false;;
             isOver = patience.hasExpired() || m_process.state() == QProcess::NotRunning) {
            for (const QString& line :
                 m_said.split(QLatin1Char('\n')).mid(0, m_said.count(QLatin1Char('\n')))) {
                if (line.startsWith(word + QLatin1Char(' ')))
                    return line.section(QLatin1Char(' '), 1, 1);
            }
            if (isOver)
                return QString();
            m_process.waitForReadyRead(100);
            m_said += QString::fromUtf8(m_process.readAllStandardOutput());
        }
    }

    QProcess m_process;
    QString m_said;
    QString m_errors;
    QString m_url;
    int m_broker = 0;
};
