#pragma once

#include "../keptdrafts.h"
#include "profileimport.h"

#include <koltacommon/shorttimeprofilemodel.h>

#include <QWidget>

#include <list>

class QLabel;
class QPushButton;
class QTreeView;
class QTreeWidget;

namespace KoltaConsole {

class ProfileEditor;
class ProfileSaving;
class Session;

/// The short-time profiles of a server in a table, the chosen one in an editor, and files that come in.
class ProfilesView : public QWidget
{
    Q_OBJECT

public:
    ProfilesView(Session& session, QWidget* parent);

    /// Empty for none.
    void showServer(const QString& address);
    /// Follows what came or went, and what is allowed.
    void refresh();
    /// Shows what the file would change; nothing is changed before confirmImport().
    void previewImport(const QString& file);
    void confirmImport();
    const Kolta::ShortTimeProfileTableModel& model() const { return m_model; }
    /// The `kolta` line of what was done last; empty for nothing.
    const QString& line() const noexcept { return m_line; }

Q_SIGNALS:
    void si_LineChanged();

private:
    QWidget* makeImport();
    void makeTable();
    void follow();
    Kolta::ShortTimeProfileItemMap* map() const;
    void choose();
    void compareWithOthers();
    void save();
    void takeEnd(const QString& problem);
    void tellImport(const QString& server, const QString& file,
                    const std::list<Kolta::ShortTimeProfile>& items, const QString& reason);
    void remove();
    void askForFile();
    void closeImport();
    void tellLine(const QString& line);
    QString objectionToName(const QString& name, const QString& before) const;
    int useCount(const QString& profile) const;
    QString useOf(const QString& profile) const;

    Session& m_session;
    QString m_server;
    Kolta::ShortTimeProfileTableModel m_model;
    QTreeView* m_table;
    QLabel* m_nothing;
    ProfileEditor* m_editor;
    QPushButton* m_new;
    QPushButton* m_remove;
    QPushButton* m_open;
    QWidget* m_import;
    QLabel* m_importTitle;
    QTreeWidget* m_differences;
    QPushButton* m_confirm;
    ProfileImport m_pending;
    KeptDrafts m_drafts;
    ProfileSaving* m_saving = nullptr; ///< one at a time
    QString m_line;
};

} // namespace KoltaConsole
