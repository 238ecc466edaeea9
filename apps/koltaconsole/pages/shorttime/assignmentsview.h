#pragma once

#include "assignmentmatrix.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;
class QTableView;

namespace KoltaConsole {

class ActionTable;
class FilterBar;

/// The matrix of FFPs and profiles with its keys, and the sending of what was ticked.
class AssignmentsView : public QWidget
{
    Q_OBJECT

public:
    AssignmentsView(Session& session, ActionTable& actions, QWidget* parent);

    void showServer(const QString& address);
    /// Whether somebody sees it, or the uses of profiles that it tells. Processors are not read otherwise.
    void setSeen(bool isSeen);
    AssignmentMatrix& matrix() { return m_matrix; }
    QLineEdit* filterLine() const;
    /// The `kolta` lines of what was sent last, one for each FFP; empty for nothing.
    const QString& line() const noexcept { return m_line; }

Q_SIGNALS:
    void si_LineChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeTable();
    void makeActions();
    void arrange();
    void follow();
    void refresh();
    void applyFilter();
    void showState();
    QString whatIsMissing() const;
    QString objection() const;
    QString sendLines() const;
    void send();
    QModelIndexList cellsFor(Qt::KeyboardModifiers keys) const;

    Session& m_session;
    ActionTable& m_actions;
    QString m_server;
    AssignmentMatrix m_matrix;
    Kolta::ShortTimeFFPAssignmentModel m_assignments; ///< tells of changes
    Kolta::ShortTimeProfileModel m_profiles;
    FilterBar* m_filter;
    QPushButton* m_send = nullptr;
    QLabel* m_nothing;
    QTableView* m_table;
    QLabel* m_hint;
    QTimer m_gathering;
    bool m_isSeen = false;
    bool m_isDue = false; ///< refresh() once it is seen
    QString m_line;
};

} // namespace KoltaConsole
