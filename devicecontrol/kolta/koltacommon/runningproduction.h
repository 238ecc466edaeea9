#pragma once

#include <koltacommon/export.h>
#include <koltacommon/instancecount.h>
#include <koltacommon/serverdesk.h>

#include <QObject>
#include <QString>
#include <QUuid>

namespace Kolta {

class KoltaServerInterface;
class StopJob;

/// Watches one production that runs, whoever started it. It never asks for it again. Lives on the value
/// tree's thread.
class KOLTA_COMMON_EXPORT RunningProduction : public QObject, private ServerDesk::Client
{
    Q_OBJECT

public:
    enum class State {
        Running,
        Unknown, ///< the server is away, or has just come back
        Ended    ///< for good
    };
    Q_ENUM(State)

    /// `processorGuid` is that of its processor, as ProductionJob::processor() tells it; it may be empty for
    /// an SCP or MCP, which is found by its production.
    RunningProduction(KoltaServerInterface& server, const QUuid& production, const QString& processorGuid,
                      QObject* parent);

    State state() const noexcept { return m_state; }
    /// Why it is not running, for people; empty while it is.
    const QString& text() const noexcept { return m_text; }
    const QUuid& production() const noexcept { return m_production; }
    /// Empty while it is not shown.
    const QString& processor() const noexcept { return m_processor; }
    /// Asks the server to stop it. Null when the server's interface has gone.
    StopJob* stop(QObject* parent);

Q_SIGNALS:
    /// From the event loop; a state that lasts no longer than that is not told.
    void stateChanged(Kolta::RunningProduction::State state);

private:
    void ended(const QUuid& production) override;
    void processorsStopped(const QSet<QString>& processors) override;
    void mirrorChanged(ServerDesk::Mirror mirror) override;
    void operational(bool on) override;
    void serverLost() override;

    bool isShown();
    void setState(State state, const QString& text);

    QPointer<KoltaServerInterface> m_server;
    const QUuid m_production;
    QString m_processor;
    State m_state = State::Running;
    State m_told = State::Running;
    QString m_text;
    Startup::ptrAlarm m_return;
    InstanceCount<RunningProduction> m_instanceCount;
};

} // namespace Kolta
