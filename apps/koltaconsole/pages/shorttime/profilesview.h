#pragma once

#include "profilerows.h"

#include <koltaconsole/session/keptdrafts.h>
#include <koltaconsole/widgets/filterwords.h>
#include <koltaconsole/widgets/rowindex.h>

#include <QHash>
#include <QWidget>

class QLabel;
class QLineEdit;
class QTreeView;

namespace KoltaConsole {

class ActionTable;
class FilterBar;
class ProfileEditor;
class ProfileImportView;
class ProfileSaving;
class Session;

/// The short-time profiles of a server in a table, the chosen one in an editor, and files that come in.
class ProfilesView : public QWidget
{
    Q_OBJECT

public:
    ProfilesView(Session& session, ActionTable& actions, QWidget* parent);

    /// Empty for none. Follows what came or went, too.
    void showServer(const QString& address);
    /// Who looks for which profile.
    void setUses(const QHash<QString, QStringList>& uses);
    ProfileImportView& import() const { return *m_import; }
    const Kolta::ShortTimeProfileTableModel& model() const { return m_model; }
    QLineEdit* filterLine() const;
    /// The `kolta` line of what was done last; empty for nothing.
    const QString& line() const noexcept { return m_line; }

Q_SIGNALS:
    void si_LineChanged();

private:
    void makeTable();
    void makeListActions();
    void makeEditorActions();
    void arrange();
    void follow();
    void followEditor();
    void applyFilter();
    void showCount();
    Kolta::ShortTimeProfileItemMap* map() const;
    const Kolta::ShortTimeProfile* selected() const;
    void selectEdited();
    void choose();
    void compareWithOthers();
    void lookForDraft();
    bool isThere(const Kolta::ShortTimeProfile& profile) const;
    QString objectionToSave() const;
    QString objectionToNew() const;
    QString objectionToRemove() const;
    QString objectionToName(const QString& name, const QString& before) const;
    QString nameBefore() const;
    QString saveLine() const;
    QString removeLine() const;
    void beginNew();
    void save();
    void takeEnd(const QString& problem);
    void remove(const QString& name);
    void erase(const QString& server, QString name);
    void tellLine(const QString& line);
    int useCount(const QString& profile) const;
    QString useOf(const QString& profile) const;

    Session& m_session;
    ActionTable& m_actions;
    QString m_server;
    ProfileRows m_model;
    RowIndex m_rows;
    QHash<QString, QStringList> m_uses; ///< FFPs by profile
    FilterWords m_words;
    FilterBar* m_filter;
    QTreeView* m_table;
    QLabel* m_nothing;
    ProfileEditor* m_editor;
    ProfileImportView* m_import;
    KeptDrafts m_drafts;
    ProfileSaving* m_saving = nullptr; ///< one at a time
    QString m_line;
};

} // namespace KoltaConsole
