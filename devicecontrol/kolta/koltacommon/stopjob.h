#pragma once

#include <koltacommon/export.h>
#include <koltacommon/serveroperation.h>

#include <QVector>

namespace Kolta {

/// Stops productions of one server, named by their own GUIDs or by those of their processors.
///
/// Done when all have stopped: by the server's notice, or because their processors are announced as stopped;
/// an overview that is merely empty does not count. Refused when the server says that it cannot stop one;
/// effect() tells whether others have stopped, targets() which. After the server's return what it still runs
/// is stopped once more, and what it does not run any more has stopped. A stop cannot be taken back.
class KOLTA_COMMON_EXPORT StopJob : public ServerOperation
{
    Q_OBJECT

public:
    struct Target
    {
        QUuid guid;                   ///< as it was named
        QString processor;            ///< GUID; empty for what no mirror shows
        State state = State::Running; ///< Done and Refused are final
        QString text;                 ///< why it was refused
    };

    StopJob(KoltaServerInterface& server, const QVector<QUuid>& guids, QObject* parent);
    /// All productions that run when it begins; done when there are none.
    static StopJob* all(KoltaServerInterface& server, QObject* parent);

    /// In the order in which they were named.
    const QVector<Target>& targets() const noexcept { return m_targets; }

protected:
    void ask() override;
    void cancelBegun() override { settleGivenUp(Effect::Unknown, QString()); }
    void timeIsOver() override { settleGivenUp(Effect::Unknown, QString()); }
    void cleanUp() override;
    Effect effectSoFar() const override;

private:
    void ended(const QUuid& production) override;
    void processorsStopped(const QSet<QString>& processors) override;
    void mirrorChanged(ServerDesk::Mirror mirror) override;
    void operational(bool on) override;
    void statusSaid(const QString& text) override;

    void collectAll();
    void askForOpen();
    bool runs(const Target& target) const;
    template<class Condition>
    void settleTargets(State state, const QString& text, Condition condition);
    void askAgain();

    QVector<Target> m_targets;
    bool m_all = false;
    bool m_awaitsReturn = false; ///< the server was away, and not everything has been seen since
    Startup::ptrAlarm m_return;
};

} // namespace Kolta
