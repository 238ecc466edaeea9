#pragma once

#include <QStringList>
#include <QWidget>

class QLineEdit;
class QSettings;

namespace KoltaConsole {

class ActionTable;
class Session;

/// One page of the console. It knows no other page, and neither paints nor counts while it is hidden.
class Page : public QWidget
{
    Q_OBJECT

public:
    Page(Session& session, ActionTable& actions, QWidget* parent)
        : QWidget(parent), m_session(session), m_actions(actions)
    {
    }

    /// Whether it shows what there is, for a picture.
    virtual bool isFilled() const = 0;
    /// The `kolta` line that tells what the page shows.
    virtual QString commandLine() const = 0;
    /// Shows only what belongs to that server; empty: all.
    void showServer(const QString& address);
    /// Shows only tuners of these classes, where it shows tuners at all; empty: all.
    virtual void showClasses(const QStringList& /*names*/) {}
    /// Brings the part of that name to the front, "links" of the events for one, where it has such a part.
    virtual void showPart(const QString& /*name*/) {}
    /// What of its layout is remembered beside tables, splitters, tabs and filters, below its own name.
    virtual void save(QSettings& /*settings*/) const {}
    virtual void restore(const QSettings& /*settings*/) {}
    /// What "/" goes to and Esc clears: of the part that is in front. Null for none.
    virtual QLineEdit* filterLine() const { return nullptr; }

Q_SIGNALS:
    /// commandLine() is another.
    void si_CommandLineChanged();
    /// The user wants to know what can be done to that server, at that place of the screen.
    void si_ServerMenuWanted(const QString& address, const QPoint& place);
    /// The user wants to see that server alone.
    void si_ServerWanted(const QString& address);

protected:
    Session& session() const { return m_session; }
    ActionTable& actions() const { return m_actions; }
    /// The one that is shown alone; empty: all are.
    const QString& server() const { return m_server; }
    /// server() is another.
    virtual void followServer() {}
    /// Tells of commandLine(), which then stands below the page whatever stood there.
    void tellCommandLine();
    /// The same when it is another than was told last: the line of what somebody did stays otherwise.
    void tellOtherCommandLine();
    /// The `kolta` line of a command that looks at what is shown.
    QString lineOf(const char* command) const;

private:
    Session& m_session;
    ActionTable& m_actions;
    QString m_server;
    QString m_toldLine;
};

} // namespace KoltaConsole
