#pragma once

#include <kolta/cli/commandtable.h>
#include <kolta/shell/completion.h>

#include <QFrame>
#include <QStringList>

class QLabel;
class QLineEdit;
class QListWidget;

namespace KoltaConsole {

class ActionTable;
class Session;

/// Ctrl+K: the console's actions, the servers, and the words of the command line, completed from the same
/// table as in a terminal; behind "kolta " these alone. An action is done by Enter, also when a line of
/// `kolta` asks for it; any other line is put below the page, to be copied for a terminal.
class Palette : public QFrame
{
    Q_OBJECT

public:
    Palette(Session& session, ActionTable& actions, QWidget* parent);

    void open();
    /// The actions of the page that is shown come first.
    void openForPage();

Q_SIGNALS:
    /// A `kolta` line was put together.
    void si_Line(const QString& line);
    /// That server is to be shown alone.
    void si_ServerWanted(const QString& address);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fill();
    bool isLine() const;
    QString typed() const;
    void addActions(const QString& words);
    void addServers(const QString& words);
    QStringList orderedActions() const;
    QStringList namesOf(KoltaCli::NameKind kind, const QString& begin, const QStringList& words) const;
    QString effectOf(const QString& id, const QString& object) const;
    QString wantedLine() const;
    bool isWhole() const;
    QString effectOfLine() const;
    void takeLine();
    void addCompletions(const QString& line);
    void take();
    void keepTyped();
    bool recall(int step);
    void tell();

    Session& m_session;
    ActionTable& m_actions;
    const KoltaCli::CommandTable m_commands;
    QLineEdit* m_line;
    QListWidget* m_list;
    QLabel* m_told;
    QStringList m_history;  ///< newest last
    int m_historyPlace = 0; ///< of the line that is shown; behind the last: none of them
    QString m_typed;        ///< what stood there before one was shown
    bool m_isForPage = false;
};

} // namespace KoltaConsole
