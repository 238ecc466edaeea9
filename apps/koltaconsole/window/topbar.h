#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
class QMenu;
class QPushButton;

namespace KoltaConsole {

class Session;

/// What is always to be seen: where, how the link is, what needs attention, who works here.
class TopBar : public QWidget
{
    Q_OBJECT

public:
    TopBar(Session& session, QWidget* parent);

Q_SIGNALS:
    void si_AttentionWanted();
    void si_PaletteWanted();
    void si_LinksWanted();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void showLink();
    QString linkText() const;
    void fitLink();
    QString nextTry() const;
    void showAttention();
    void showUser();
    void showRights();
    void addRights(QMenu& menu) const;

    Session& m_session;
    QLabel* m_url;
    QPushButton* m_link;
    QPushButton* m_attention;
    QPushButton* m_palette;
    QPushButton* m_user;
    QTimer m_counting; ///< while the link is down
};

} // namespace KoltaConsole
