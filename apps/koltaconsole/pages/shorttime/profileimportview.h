#pragma once

#include "profileimport.h"

#include <QWidget>

#include <list>

class QPushButton;
class QTreeWidget;

namespace KoltaConsole {

class ActionTable;
class ElidedLabel;
class Session;

/// What a file of short-time profiles would change on a server, hidden while there is none; nothing is
/// changed before somebody says so.
class ProfileImportView : public QWidget
{
    Q_OBJECT

public:
    ProfileImportView(Session& session, ActionTable& actions, QWidget* parent);

    /// Empty for none. What was to come to another one is forgotten.
    void showServer(const QString& address);
    void preview(const QString& file);

Q_SIGNALS:
    /// The `kolta` line of what was just done.
    void si_Line(const QString& line);

private:
    void makeActions();
    void makeTable();
    Kolta::ShortTimeProfileItemMap* map() const;
    QString objection() const;
    QString line() const;
    void askForFile();
    void present(const ProfileImport& import);
    void tellUnread(const QString& error);
    void confirm();
    void close();
    void tellImport(const QString& server, const QString& file,
                    const std::list<Kolta::ShortTimeProfile>& items, const QString& reason);

    Session& m_session;
    ActionTable& m_actions;
    QString m_server;
    ElidedLabel* m_title;
    QPushButton* m_confirm;
    QTreeWidget* m_differences;
    ProfileImport m_pending;
};

} // namespace KoltaConsole
