#pragma once

#include <QFrame>
#include <QStringList>

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

    /// Opens the list. Goes to the worst, or the last, and from there to the next, or the one before.
    void step(int by);
    void open();

Q_SIGNALS:
    void si_ServerWanted(const QString& address);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void fill();
    void setTexts(const QStringList& texts, const QStringList& addresses);
    void want(const QListWidgetItem* item);

    Session& m_session;
    QListWidget* m_list;
    QStringList m_addresses; ///< of the rows
    bool m_hasGone = false;  ///< to a server since it was opened
};

} // namespace KoltaConsole
