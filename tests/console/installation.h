#pragma once

#ifdef KOLTA_WITH_DISTRIBUTION
#include <distribution/localbroker.h>
#endif

#include <support/patience.h>
#include <support/program.h>

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
class Installation : public Program
{
public:
    /// `options`: "--restart", for instance.
    explicit Installation(int servers, const QStringList& options = {})
    {
        begin(QStringLiteral(KOLTA_PROGRAM),
              QStringList{QStringLiteral("up"), QStringLiteral("--servers"), QString::number(servers)} +
                  options);
        m_url = told(QStringLiteral("tree"));
        m_broker = told(QStringLiteral("broker")).toInt();
    }
    ~Installation() override
    {
        letBrokerReturn();
        terminate();
        waitForFinished(kPatienceMs);
    }
    bool isUp() const { return !m_url.isEmpty() && m_broker > 0; }
    const QString& url() const { return m_url; }
    /// Asks the process of that server to end: it leaves by itself.
    bool sendAway(const QString& server) { return ::kill(told(server).toInt(), SIGTERM) == 0; }
    /// It stays away until it is let return: `kolta up`, which would start another one, is held meanwhile.
    bool killBroker() { return signal(SIGSTOP) && ::kill(m_broker, SIGKILL) == 0; }
    bool letBrokerReturn() { return signal(SIGCONT); }

private:
    /// What stands behind that word at the beginning of a line; empty when it ends without, or never says so.
    QString told(const QString& word)
    {
        for (const QString begin = word + QLatin1Char(' ');;) {
            for (const QString& line : qAsConst(m_lines)) {
                if (line.startsWith(begin))
                    return line.mid(begin.size()).section(QLatin1Char(' '), 0, 0);
            }
            const QString next = line();
            if (next.isNull())
                return next;
            m_lines.append(next);
        }
    }

    QStringList m_lines; ///< that it has told
    QString m_url;
    int m_broker = 0;
};
