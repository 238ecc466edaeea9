#pragma once

#include <QVector>
#include <QWidget>

class QAction;
class QMenu;
class QPushButton;

namespace KoltaConsole {

class ActionTable;

/// Buttons of actions beside each other, to the right; those that do not fit are in a menu, from the right.
/// It takes no more room than there is, whatever the language.
class ButtonRow : public QWidget
{
    Q_OBJECT

public:
    /// The first `kept` buttons stay buttons.
    ButtonRow(const ActionTable& actions, const QStringList& ids, int kept, QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    /// Those that are in the menu now.
    int hiddenCount() const { return m_hidden; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    int widthOf(int count) const;
    void arrange();

    const int m_kept;
    int m_hidden = 0;
    QVector<QPushButton*> m_buttons;
    QVector<QAction*> m_actions;
    QPushButton* m_more;
    QMenu* m_menu;
};

} // namespace KoltaConsole
