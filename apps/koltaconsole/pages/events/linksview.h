#pragma once

#include <koltacommon/linksmodel.h>
#include <koltaconsole/session/linkmessage.h>

#include <QHash>
#include <QTimer>
#include <QWidget>

class QLabel;
class QLineEdit;
class QSplitter;
class QTreeView;

namespace KoltaConsole {

class ActionTable;
class FilterBar;
class LinkMessages;
class LinkTraffic;
class Session;

/// The broker, its branches and the links of this program with their figures; below it the messages of the
/// link that is chosen, if somebody wants to read them.
class LinksView : public QWidget
{
    Q_OBJECT

public:
    LinksView(Session& session, ActionTable& actions, QWidget* parent);

    const Kolta::LinksModel& model() const { return m_model; }
    QLineEdit* filterLine() const;
    /// Of the branches that of this server alone, or all for none.
    void showServer(const QString& address);
    /// Chooses the branch of that server.
    void chooseBranch(const QString& name);
    /// Of the link that is chosen or was when it ended; null while nobody has read its messages.
    LinkTraffic* traffic() const { return m_traffics.value(m_key); }

private:
    void makeTable();
    void makeAction();
    void connectAll();
    void showWhetherThereAreAny();
    void applyFilter();
    void showLink();
    void choose();
    void readOrStop();
    QString whyNotRead() const;
    MessageTap messages() const;
    void beginRemoval(int first, int last);
    void endRemoval();

    Session& m_session;
    ActionTable& m_actions;
    Kolta::LinksModel m_model;
    FilterBar* m_filter;
    QLabel* m_nothing;
    QTreeView* m_table;
    LinkMessages* m_messages = nullptr;
    QSplitter* m_parts;
    QHash<QString, LinkTraffic*> m_traffics; ///< by the key of the link; children of this
    QString m_server;                        ///< whose branch alone is shown; empty: all are
    QString m_key;                           ///< of the link that is chosen
    QString m_name;
    QTimer m_filtering; ///< once for all rows that change in one turn
    bool m_isGone = false;
    bool m_isRemoving = false;
};

} // namespace KoltaConsole
