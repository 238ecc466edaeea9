#pragma once

#include <distribution/export.h>

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <QVector>

#include <memory>

namespace distribution {

/// A broker of one's own: the program "mosquitto" as a child process, at a port of the loopback interface
/// that is free, with its files in a folder that only this user can read and that goes with it. For an
/// installation on one machine and for tests; it ends when this process does, however that comes about.
class KOLTA_DISTRIBUTION_EXPORT LocalBroker : public QObject
{
    Q_OBJECT

public:
    struct User
    {
        QByteArray name;
        QByteArray password;
    };
    struct Settings
    {
        QVector<User> users;        ///< none: everybody is admitted
        QByteArray accessList;      ///< as AccessList() makes it; empty: everything is allowed
        QString certificateFile;    ///< PEM; empty: no TLS
        QString keyFile;            ///< PEM
        QByteArray furtherSettings; ///< lines of a configuration file
    };

    explicit LocalBroker(Settings settings, QObject* parent = nullptr);
    /// Ends it.
    ~LocalBroker() override;

    /// Whether this machine has the program.
    static bool IsInstalled();
    /// Starts it and waits until it listens; false, with the reason in one line, when it does not. After
    /// kill() and stop() it may be started again and has the port that it had before.
    bool start(QString& error);
    bool isRunning() const;
    qint64 pid() const;
    quint16 port() const noexcept { return m_port; }
    /// `mqtt[s]://127.0.0.1:PORT`
    QString url() const;
    /// Like a crash: nothing is said to the clients. Returns when it is over.
    void kill();
    /// Tells the clients and ends. Returns when it is over.
    void stop();

    /// Rights for `servers`, each of which publishes the branch of its name as the user "server-NAME", and
    /// for all users as clients of every branch. `prefix` without the version of the encoding.
    static QByteArray AccessList(const QByteArray& prefix, const QVector<QByteArray>& servers);
    /// Settings that a broker needs to carry a value tree; share/mosquitto/kolta.conf explains them.
    static QByteArray NeededSettings();

Q_SIGNALS:
    /// It has ended, though neither kill() nor stop() was called.
    void si_Ended();

private:
    class Process;
    bool writeFiles(QString& error);
    bool waitUntilItListens(QString& error);
    QString filePath(const char* name) const;
    void end(bool gently);

    Settings m_settings;
    QTemporaryDir m_folder;
    std::unique_ptr<Process> m_process;
    quint16 m_port = 0;
};

} // namespace distribution
