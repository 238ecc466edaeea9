#pragma once

#include "actions.h"

#include <koltacommon/actionrights.h>
#include <koltacommon/terminationjob.h>

#include <QObject>

#include <functional>

class QMenu;
class QPoint;

namespace Kolta {
class ServerOperation;
}

namespace KoltaConsole {

/// What can be done to a server as a whole: the one that is selected, or the one whose menu is open.
class ServerActions : public QObject
{
    Q_OBJECT

public:
    /// The actions work in all of `window`, which owns this.
    ServerActions(Session& session, ActionTable& actions, QWidget* window);

    /// Empty: none.
    void select(const QString& address);
    void showMenu(const QString& address, const QPoint& place);

Q_SIGNALS:
    /// With that of this server chosen, if it is not empty.
    void si_LinksWanted(const QString& server);
    void si_ServerWanted(const QString& address);
    /// What was asked for has this `kolta` line.
    void si_Line(const QString& line);

private:
    /// What is done to the server of that name, and why it cannot be.
    using Deed = std::function<void(const QString& address)>;
    using Objection = std::function<QString(const QString& address)>;
    ActionTable::Entry entry(const char* id, const QString& text, Kolta::UserAction action, const Deed& deed,
                             const Objection& objection) const;
    void makeActions();
    void makeTermination(const char* id, const QString& text, const QString& question,
                         Kolta::TerminationJob::Action action);
    /// The one that is meant; empty for none.
    const QString& target() const { return m_menuServer.isEmpty() ? m_selected : m_menuServer; }
    QString problemOf(const QString& address) const;
    QStringList runningOn(const QString& address) const;
    void offerPower(const QString& address);
    void addSwitch(QMenu& menu, const QString& address, const QString& name, const QString& guid, bool isOn);
    void switchPower(const QString& address, const QString& name, const QString& guid, bool isOn);
    void follow(Kolta::ServerOperation& operation, const QString& address, const QString& purpose);
    void stopAll(const QString& address);
    void terminate(const QString& address, Kolta::TerminationJob::Action action);
    bool isPossible(const QString& id, const QString& address);

    Session& m_session;
    ActionTable& m_actions;
    QWidget* const m_window;
    QString m_selected;
    QString m_menuServer;
    int m_menuNumber = 0; ///< of the latest menu
};

} // namespace KoltaConsole
