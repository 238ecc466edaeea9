#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
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

private:
    void showLink();
    void showAttention();
    void showUser();

    Session& m_session;
    QLabel* m_url;
    QLabel* m_linkMark;
    QLabel* m_link;
    QPushButton* m_attention;
    QPushButton* m_palette;
    QLabel* m_user;
};

} // namespace KoltaConsole
