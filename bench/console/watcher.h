#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

namespace KoltaConsole {
class MainWindow;
class Session;
class TunersPage;
} // namespace KoltaConsole

namespace Fluency {

/// A console on those servers that is worked with as fast as nobody works. Tells when it had painted all
/// tuners for the first time, and the longest gaps between two turns of its event loop.
class Watcher : public QObject
{
public:
    /// `clock` runs since main() began.
    Watcher(const QElapsedTimer& clock, int tuners, int seconds);
    ~Watcher() override;

    /// False, with the reason in one line, when there is no such broker.
    bool start(const QString& url, QString& error);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct Gap
    {
        double ms;
        double workedMs; ///< of that by this thread; others had the processor in the rest
        qint64 at;       ///< milliseconds on the clock
        QString during;
    };
    struct Deed
    {
        QString name;
        std::function<void()> run;
    };

    void noteTurn();
    void noteFirstView();
    void tellLongest(const char* when);
    void beginWhenCurrent();
    void prepare();
    void add(const QString& name, const std::function<void()>& run);
    void addTyping(const QString& text);
    void addPages();
    void doNext();
    void tell();

    const QElapsedTimer m_clock;
    const int m_tuners;
    const int m_seconds;
    std::unique_ptr<KoltaConsole::Session> m_session;
    std::unique_ptr<KoltaConsole::MainWindow> m_window;
    KoltaConsole::TunersPage* m_page = nullptr;
    std::vector<Deed> m_deeds;
    std::size_t m_next = 0;
    QString m_current;
    QTimer m_turns;
    QTimer m_deedTimer;
    double m_lastWall = 0.0;
    double m_lastWork = 0.0;
    bool m_isFull = false;
    bool m_isSlow = false; ///< the first view came late
    std::vector<Gap> m_gaps;
};

} // namespace Fluency
