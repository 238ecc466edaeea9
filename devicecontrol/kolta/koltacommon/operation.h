#pragma once

#include <koltacommon/export.h>
#include <koltacommon/instancecount.h>

#include <startup/clock.h>

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace Kolta {

class OpenWork;

/// Something that was asked of a server, from the asking to its one end.
///
/// An operation begins by itself in the next turn of the event loop after it was made, so that it can be set
/// up, cancelled or deleted before at no cost. It runs until it settles: state(), effect(), reason() and
/// text() then have their last values and everything that it held, plans for instance, is given back.
/// finished() and the functions given to then() tell of that afterwards, exactly once and always from the
/// event loop: never within the constructor, cancel(), a signal of another class or a call that the receiver
/// itself makes, and in the order in which operations settled. Receivers may delete anything, the operation,
/// its server and its connection included; what they throw is traced.
///
/// state() says how it ended, effect() whether the server was changed. Only after Effect::None may the same
/// be asked for again without a second thought: a time limit or a lost link says nothing about the server.
///
/// Its owner is its parent, or whoever made it. Lives on one thread, which needs an event loop: that of the
/// value tree, or of the connection. Other threads get values out of it through queued signals, never the
/// pointer, which may dangle there. A process that is about to end calls settleAll().
class KOLTA_COMMON_EXPORT Operation : public QObject
{
    Q_OBJECT

public:
    enum class State {
        Running,
        Done,      ///< what was asked for is so
        Refused,   ///< it was not done, and the reason is known
        Lost,      ///< the one who should have answered has gone, or what was done is no more
        TimedOut,  ///< the time limit was over
        Cancelled, ///< cancel() was called, and it is not so, as far as effect() says
    };
    Q_ENUM(State)

    /// On the server, as far as this process can know.
    enum class Effect { None, Done, Unknown };
    Q_ENUM(Effect)

    enum class Reason {
        None,
        InvalidOrder, ///< what was asked for makes no sense
        NotConnected, ///< there was nobody to ask
        NoSuchThing,  ///< nothing has that name or GUID
        Unsuitable,   ///< no tuner fits, whether free or not
        NoTuner,      ///< all that fit are taken
        RefusedByServer,
        Fault,          ///< the reply was a fault
        RefusedByOwner, ///< the owner of a branch of the distributed tree refused the wish
        Conflict,       ///< somebody else was faster
        NotPermitted,
        LinkClosed,          ///< the connection was closed or deleted here
        LinkEnded,           ///< the link failed
        ServerGone,          ///< the server vanished, or the object that stands for it
        NotThereAfterReturn, ///< the server came back without it
        Ended,               ///< it was so, and is no more
        TimeLimit,
        Cancelled
    };
    Q_ENUM(Reason)

    /// No time limit.
    static constexpr int kNoLimit = -1;
    /// What cancelling waits for the taking back at most, in milliseconds.
    static constexpr int kCancelLimitMs = 10000;
    static constexpr int kDefaultLimitMs = 30000;

    /// While it runs: as cancel(), but nobody is told any more.
    ~Operation() override;

    State state() const noexcept { return m_state; }
    /// Settled, possibly not told yet.
    bool isFinished() const noexcept { return m_state != State::Running; }
    Effect effect() const noexcept { return m_effect; }
    Reason reason() const noexcept { return m_reason; }
    /// Why it did not come about, for people; empty when done.
    const QString& text() const noexcept { return m_text; }
    /// What it is waiting for, for people: "waiting for the answer of S1".
    const QString& progressText() const noexcept { return m_progressText; }
    bool isCancelled() const noexcept { return m_cancelled; }

    /// Milliseconds from its beginning to its end, over all its steps; 30 s unless its class says otherwise.
    /// kNoLimit, or any negative number: none.
    void setTimeLimit(int milliseconds);
    /// For those who want the effect only.
    void deleteWhenFinished();
    /// Calls function(Operation&) once when it has finished, unless `context` or the operation dies before;
    /// in the next turn of the event loop when it has been told already. `context` does not own the
    /// operation, which goes on for others.
    template<class Function>
    void then(const QObject* context, Function function)
    {
        addReceiver(context, std::function<void(Operation&)>(std::move(function)));
    }

    /// For the end of main(): runs this thread's event loop until no operation is open on it and nothing that
    /// cancelled ones have left is still being taken back, at most that long. Whether that is so.
    static bool settleAll(int milliseconds);

public Q_SLOTS:
    /// Gives up what is asked for, and takes it back when it was asked for already; running until that is
    /// seen, at most kCancelLimitMs. May be called at any time and more than once.
    void cancel();

Q_SIGNALS:
    /// Exactly once, from the event loop.
    void finished(Kolta::Operation* operation);
    /// progressText() was changed; from the event loop.
    void progressed(const QString& text);

protected:
    explicit Operation(QObject* parent);

    // What a derived class brings. What these throw is traced and settles the operation.

    /// The first step. An exception settles it as Refused, InvalidOrder.
    virtual void begin() = 0;
    /// cancel() was called after begin(): settles now, or lets a step end first.
    virtual void cancelBegun() = 0;
    /// The limit is over, or that of cancelling: settles.
    virtual void timeIsOver() = 0;
    // Taking back when it is deleted is the derived destructor's work.

    bool hasBegun() const noexcept { return m_beganAt >= 0; }
    /// Ends it; the first call counts. Does all clean-up in the derived class's cleanUp() before it returns.
    void settle(State state, Effect effect, Reason reason, const QString& text);
    void settleDone() { settle(State::Done, Effect::Done, Reason::None, QString()); }
    void refuse(Reason reason, const QString& text) { settle(State::Refused, Effect::None, reason, text); }
    /// Cancelled, or over its time; `effect` says what that leaves.
    void settleGivenUp(Effect effect, const QString& text);
    /// Gives back what it holds, just after it settled; nothing here.
    virtual void cleanUp() {}
    void setProgress(const QString& text);

private:
    struct Receiver
    {
        QPointer<const QObject> context;
        std::function<void(Operation&)> function;
    };

    void start();
    void armLimit();
    void addReceiver(const QObject* context, std::function<void(Operation&)> function);
    void tell();
    static void call(const Receiver& receiver, Operation& operation);

    State m_state = State::Running;
    Effect m_effect = Effect::None;
    Reason m_reason = Reason::None;
    bool m_cancelled = false;
    bool m_told = false;
    bool m_deleteWhenTold = false;
    int m_limitMs = kDefaultLimitMs;
    qint64 m_beganAt = -1;
    qint64 m_cancelEnd = -1;
    QString m_text;
    QString m_progressText;
    std::vector<Receiver> m_receivers;
    Startup::ptrAlarm m_limit;
    std::unique_ptr<OpenWork> m_open;
    InstanceCount<Operation> m_instanceCount;
};

/// An alarm of one object's own: `function` in `milliseconds` by Startup::Clock.
inline Startup::ptrAlarm ringIn(qint64 milliseconds, Startup::Clock::Function function)
{
    Startup::Clock& clock = Startup::Clock::instance();
    return clock.ringAt(clock.now() + milliseconds, std::move(function));
}

} // namespace Kolta
