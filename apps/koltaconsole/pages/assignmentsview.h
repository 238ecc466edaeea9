#pragma once

#include "assignmentmatrix.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;
class QTableView;

namespace KoltaConsole {

/// The matrix of FFPs and profiles with its keys, and the sending of what was ticked.
class AssignmentsView : public QWidget
{
    Q_OBJECT

public:
    AssignmentsView(Session& session, QWidget* parent);

    /// Follows what is allowed, too.
    void showServer(const QString& address);
    void send();
    AssignmentMatrix& matrix() { return m_matrix; }
    /// The `kolta` line of what was sent last; empty for nothing.
    const QString& line() const noexcept { return m_line; }

Q_SIGNALS:
    void si_LineChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow();
    void showState();
    QModelIndexList cellsFor(Qt::KeyboardModifiers keys) const;

    Session& m_session;
    QString m_server;
    AssignmentMatrix m_matrix;
    Kolta::ShortTimeFFPAssignmentModel m_assignments; ///< tells of changes
    Kolta::ShortTimeProfileModel m_profiles;
    QLabel* m_heading;
    QPushButton* m_send;
    QPushButton* m_undo;
    QTableView* m_table;
    QTimer m_gathering;
    QString m_line;
};

} // namespace KoltaConsole
