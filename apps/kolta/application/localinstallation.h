#pragma once

#include <distribution/linkoptions.h>
#include <distribution/localbroker.h>

#include <QElapsedTimer>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <vector>

namespace KoltaCli {

/// A whole installation on this machine: a broker of its own and simulated servers, each a process. The
/// broker admits whoever has the access file, which only this user can read; programs of this user find it by
/// the broker's URL. All of it ends with this object.
class LocalInstallation : public QObject
{
    Q_OBJECT

public:
    struct Settings
    {
        int servers = 1;
        int tuners = 0; ///< of each server; 0: those of the sample
        bool tls = false;
        bool restart = false; ///< what dies is started again
    };
    explicit LocalInstallation(const Settings& settings);
    ~LocalInstallation() override;

    /// Starts everything and waits until all servers are published; false, with the reason in one line, when
    /// that does not come about within `milliseconds`, when it cannot any more, and when `isUnwanted()`.
    bool start(int milliseconds, const std::function<bool()>& isUnwanted, QString& error);

    QString url() const { return m_broker->url(); }
    qint64 brokerPid() const { return m_broker->pid(); }
    struct Server
    {
        int number = 0;
        QString name;
        QString endpoint; ///< HOST:PORT, once it listens
        bool isPublished = false;
        QString problem;  ///< why it will not be published, while all are started
        QString said;     ///< its last line on standard error
        int pauseMs = 0;  ///< before it was started last; 0: it had been up
        QElapsedTimer up; ///< since it was started
        std::unique_ptr<QProcess> process;
    };
    const std::vector<Server>& servers() const noexcept { return m_servers; }

Q_SIGNALS:
    /// Something has ended, or was started again; one line.
    void si_Told(const QString& text);

private:
    bool makeBroker(QString& error);
    bool makeCertificates(distribution::LocalBroker::Settings& settings, QString& error) const;
    bool writeAccess(QString& error) const;
    void startServer(Server& server);
    void readOutput(Server& server);
    void readErrors(Server& server);
    void onServerEnd(Server& server);
    void onServerEnd(Server& server, const QString& how);
    QString whyNotUp(int milliseconds) const;
    void onBrokerEnd();
    void startBrokerAgain();
    QString path(const QString& name) const { return m_folder.filePath(name); }

    const Settings m_settings;
    QTemporaryDir m_folder;
    std::unique_ptr<distribution::LocalBroker> m_broker;
    distribution::LocalBroker::Settings m_brokerSettings;
    std::vector<Server> m_servers;
    QString m_accessFile;
    bool m_isStarting = false;
    bool m_isEnding = false;
};

} // namespace KoltaCli
