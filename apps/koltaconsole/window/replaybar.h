#pragma once

#include <QWidget>

#include <functional>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QSlider;

namespace distribution {
class Replay;
}

namespace KoltaConsole {

class ActionTable;
class Session;

/// Where a recording is played, and what goes on with it: pause, one step, another time, another speed.
class ReplayBar : public QWidget
{
    Q_OBJECT

public:
    /// There must be a replay.
    ReplayBar(Session& session, ActionTable& actions, QWidget* parent);

private:
    void makeActions();
    void addAction(const char* id, const QString& text, const QKeySequence& keys,
                   const std::function<void()>& run, bool needsRest);
    void makeSpeeds();
    QLayout* arrange();
    void jumpToText();
    void showState();
    void showPosition();

    Session& m_session;
    distribution::Replay& m_replay;
    ActionTable& m_actions;
    QLabel* m_text;
    QPushButton* m_pause = nullptr;
    QSlider* m_slider;
    QLineEdit* m_time;
    QComboBox* m_speed;
};

} // namespace KoltaConsole
