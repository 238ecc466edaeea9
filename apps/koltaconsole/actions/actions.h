#pragma once

#include "linewords.h"

#include <koltacommon/userrights.h>

#include <QHash>
#include <QKeySequence>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>
#include <optional>

class QAction;
class QPushButton;
class QWidget;

namespace KoltaConsole {

class Session;

/// What can be done in the console, in one place: menus, buttons, the palette and tool tips come from here.
class ActionTable : public QObject
{
    Q_OBJECT

public:
    /// What an action would do to those whom a line of `kolta` names.
    struct Asked
    {
        QString problem;           ///< why it cannot; empty: it can
        QString object;            ///< whom it would hit, by name
        std::function<void()> run; ///< null: what the action does now is the same
    };

    struct Entry
    {
        QString id;
        QString text;
        QKeySequence shortcut;
        Kolta::UserRights::eManagementRights rights; ///< all of them; none: everybody may
        bool needsLink = false;
        /// The `kolta` line that does the same, several for several objects; empty for none.
        std::function<QString()> line;
        bool tellsAfterwards = false; ///< the line says what came of it
        std::function<void()> run;
        std::function<QString()> problem; ///< a further reason why it cannot be done now; empty: none
        std::function<QString()> object;  ///< whom it would hit now, by name
        bool changes = false;             ///< the installation, which --read-only forbids
        /// The command that asks for it with its flags, "own --force", and what it then does to those whom
        /// the line names; nothing for a line that it cannot do.
        QString command;
        std::function<std::optional<Asked>(const LineWords& words)> asked;
    };

    /// A line of `kolta` that an action does.
    struct Request
    {
        QString id;
        QString line;
        Asked asked;
    };

    ActionTable(Session& session, QObject* parent);

    /// Adds an action; one with the same ID is replaced. The shortcut works within `owner` and below.
    void add(const Entry& entry, QWidget* owner);
    QStringList ids() const;
    /// Asks for the line of that action once it has run.
    void tellAfterwards(const QString& id) { m_entries[id].tellsAfterwards = true; }
    /// Null when there is none.
    const Entry* find(const QString& id) const;
    /// For menus and buttons; null when there is none.
    QAction* action(const QString& id) const;
    /// A button that does it, and says why it cannot. The action must be there.
    QPushButton* makeButton(const QString& id, QWidget* parent) const;
    /// The title of the page that it belongs to; empty for those of the window.
    QString pageOf(const QString& id) const;
    /// Whether somebody sees the page that it belongs to.
    bool isInSight(const QString& id) const;
    /// The reason why the action cannot be done now, as a sentence; empty when it can.
    QString enabledBecause(const QString& id) const;
    /// Of these reasons those that hold whatever it would be done to: link, rights, looking only.
    QString whyNobodyCan(const Entry& entry) const;
    /// Shows the page that it belongs to before: it is done to what is selected there.
    bool run(const QString& id);
    /// Which action does what that line asks for: of those whom it names, or of what is chosen now, when that
    /// has this line. Nothing when there is none.
    std::optional<Request> requestOf(const QString& line) const;
    QString enabledBecause(const Request& request) const;
    bool run(const Request& request);
    /// Asks anew what can be done; for those whose reasons have changed.
    void refresh();

Q_SIGNALS:
    /// An action was triggered; `line` is what does the same in a terminal, empty for none.
    void si_Ran(const QString& id, const QString& line);

private:
    void tellIfRefused(const QString& id) const;

    Session& m_session;
    QStringList m_ids;
    QHash<QString, Entry> m_entries;
    QHash<QString, QAction*> m_actions;
};

} // namespace KoltaConsole
