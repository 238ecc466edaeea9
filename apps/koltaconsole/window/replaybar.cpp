#include "replaybar.h"

#include <distribution/replay.h>
#include <koltaconsole/actions/actions.h>
#include <koltaconsole/session/session.h>

#include <QComboBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSlider>
#include <QStyle>
#include <QToolTip>

#include <algorithm>

namespace KoltaConsole {

using distribution::Replay;

namespace {

constexpr int kSliderSteps = 1000;
constexpr double kSpeeds[] = {0.25, 0.5, 1, 2, 4, 10, 30, 100, 1000};

QString speedText(double speed)
{
    return QStringLiteral("×%1").arg(QLocale().toString(speed));
}

} // namespace

ReplayBar::ReplayBar(Session& session, ActionTable& actions, QWidget* parent)
    : QWidget(parent)
    , m_session(session)
    , m_replay(*session.replay())
    , m_actions(actions)
    , m_text(new QLabel(this))
    , m_slider(new QSlider(Qt::Horizontal, this))
    , m_time(new QLineEdit(this))
    , m_speed(new QComboBox(this))
{
    setObjectName(QStringLiteral("replay"));
    setAttribute(Qt::WA_StyledBackground);
    setProperty("badge", QStringLiteral("attention"));
    m_text->setProperty("badge", QStringLiteral("attention"));
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_slider->setRange(0, kSliderSteps);
    m_slider->setPageStep(kSliderSteps / 10);
    m_slider->setSingleStep(kSliderSteps / 100);
    m_slider->setFixedWidth(220);
    m_slider->setAccessibleName(tr("Place in the recording"));
    m_time->setPlaceholderText(tr("12:03:10, +30, end"));
    m_time->setFixedWidth(150);
    m_time->setAccessibleName(tr("Time to jump to"));
    m_speed->setAccessibleName(tr("Speed of the replay"));
    makeActions();
    makeSpeeds();
    setLayout(arrange());
    connect(&m_replay, &Replay::si_Moved, this, &ReplayBar::showPosition);
    connect(&m_replay, &Replay::si_StateChanged, this, &ReplayBar::showState);
    connect(m_time, &QLineEdit::returnPressed, this, &ReplayBar::jumpToText);
    connect(m_time, &QLineEdit::textEdited, this, [this] {
        m_time->setProperty("wrong", false);
        m_time->style()->polish(m_time);
    });
    const auto jump = [this] {
        const qint64 length = m_replay.end() - m_replay.begin();
        m_replay.jump(m_replay.begin() + length * m_slider->sliderPosition() / kSliderSteps);
    };
    connect(m_slider, &QSlider::sliderReleased, this, jump);
    // Keys, wheel and clicks beside the knob; dragging ends with its release.
    connect(m_slider, &QSlider::actionTriggered, this, [this, jump] {
        if (!m_slider->isSliderDown())
            jump();
    });
    showState();
}

void ReplayBar::addAction(const char* id, const QString& text, const QKeySequence& keys,
                          const std::function<void()>& run, bool needsRest)
{
    ActionTable::Entry entry;
    entry.id = QLatin1String(id);
    entry.text = text;
    entry.shortcut = keys;
    entry.run = run;
    if (needsRest)
        entry.problem = [this] {
            return m_replay.isAtEnd() ? tr("The recording is at its end.") : QString();
        };
    m_actions.add(entry, parentWidget());
}

void ReplayBar::makeActions()
{
    addAction(
        "replay-pause", tr("Pause or go on"), QKeySequence(Qt::Key_F5),
        [this] { m_replay.isPaused() ? m_replay.go() : m_replay.pause(); }, true);
    addAction(
        "replay-step", tr("One step"), QKeySequence(Qt::Key_F7), [this] { m_replay.step(); }, true);
    addAction(
        "replay-jump", tr("Jump to…"), QKeySequence(Qt::CTRL + Qt::Key_J),
        [this] {
            m_time->setFocus();
            m_time->selectAll();
        },
        false);
    addAction(
        "replay-begin", tr("From the beginning"), QKeySequence(), [this] { m_replay.jump(m_replay.begin()); },
        false);
}

/// With the one that it was started with.
void ReplayBar::makeSpeeds()
{
    QVector<double> speeds(std::begin(kSpeeds), std::end(kSpeeds));
    if (!speeds.contains(m_replay.speed()))
        speeds.append(m_replay.speed());
    std::sort(speeds.begin(), speeds.end());
    for (const double speed : qAsConst(speeds))
        m_speed->addItem(speedText(speed), speed);
    m_speed->setCurrentIndex(speeds.indexOf(m_replay.speed()));
    connect(m_speed, qOverload<int>(&QComboBox::activated), this,
            [this] { m_replay.setSpeed(m_speed->currentData().toDouble()); });
}

QLayout* ReplayBar::arrange()
{
    auto* const layout = new QHBoxLayout;
    layout->setContentsMargins(12, 3, 12, 3);
    layout->setSpacing(8);
    m_pause = m_actions.makeButton(QStringLiteral("replay-pause"), this);
    const QFontMetrics metrics = m_pause->fontMetrics();
    m_pause->setMinimumWidth(
        std::max(metrics.horizontalAdvance(tr("Pause")), metrics.horizontalAdvance(tr("Go on"))) + 24);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_slider);
    layout->addWidget(m_pause);
    layout->addWidget(m_actions.makeButton(QStringLiteral("replay-step"), this));
    layout->addWidget(m_actions.makeButton(QStringLiteral("replay-jump"), this));
    layout->addWidget(m_time);
    layout->addWidget(m_speed);
    return layout;
}

void ReplayBar::jumpToText()
{
    QString error;
    const auto time = m_replay.find(m_time->text().trimmed(), error);
    m_time->setProperty("wrong", !time.has_value());
    m_time->style()->unpolish(m_time);
    m_time->style()->polish(m_time);
    m_time->setToolTip(error);
    if (time)
        m_replay.jump(*time);
    else
        QToolTip::showText(m_time->mapToGlobal(QPoint(0, m_time->height())), error, m_time);
}

void ReplayBar::showState()
{
    m_pause->setText(m_replay.isPaused() ? tr("Go on") : tr("Pause"));
    m_actions.refresh();
    showPosition();
}

void ReplayBar::showPosition()
{
    // With the day, which all else that is shown takes for today's.
    const QString when = m_session.now().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    QString text = tr("replay of %1, %2, %3")
                       .arg(QFileInfo(m_replay.file()).fileName(), when, speedText(m_replay.speed()));
    if (m_replay.isAtEnd())
        text += m_replay.cut().isEmpty() ? tr(", at its end") : tr(", cut off there: %1").arg(m_replay.cut());
    else if (m_replay.isPaused())
        text += tr(", paused");
    m_text->setText(text);
    m_text->setToolTip(QStringLiteral("%1\n%2").arg(m_replay.file(), text));
    const qint64 length = std::max<qint64>(1, m_replay.end() - m_replay.begin());
    if (!m_slider->isSliderDown())
        m_slider->setValue(
            static_cast<int>((m_replay.position() - m_replay.begin()) * kSliderSteps / length));
}

} // namespace KoltaConsole
