#pragma once

#include <QFrame>

class QListWidget;
class QListWidgetItem;

namespace KoltaConsole {

class Session;

/// What needs attention, below the badge that counts it; Esc closes it.
class AttentionList : public QFrame
{
    Q_OBJECT

public:
    AttentionList(Session& session, QWidget* parent);

    /// Goes to the next, or the one before; opens the list.
    void step(int by);
    void open();

Q_SIGNALS:
    void si_ServerWanted(const QString& address);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void fill();
    void want(const QListWidgetItem* item);

    Session& m_session;
    QListWidget* m_list;
};

} // namespace KoltaConsole
