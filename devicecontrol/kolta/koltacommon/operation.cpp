#include <koltacommon/operation.h>

#include <koltacommon/openwork.h>

#include <startup/tracesource.h>

#include <QCoreApplication>
#include <QEventLoop>

#include <algorithm>
#include <exception>
#include <utility>

namespace Kolta {

thread_local int OpenWork::count = 0;

namespace {

/// Numbers of the trace points.
enum eTracePoint : int { eStepException = 100, eReceiverException = 110 };
constexpr Startup::TraceSource kTrace("devicecontrol/kolta/koltacommon/operation", Startup::eTraceError);

/// Runs `function`; what it throws is traced and returned as a text, which is null when it threw nothing.
template<class Function>
QString problemOf(eTracePoint point, const QString& what, Function function)
{
    QString problem;
    try {
        function();
        return problem;
    } catch (...) {
        problem = Startup::CurrentExceptionText();
    }
    kTrace(point, QStringLiteral("caught exception from %1: %2").arg(what, problem));
    return problem;
}

} // namespace

Operation::Operation(QObject* parent) : QObject(parent), m_open(std::make_unique<OpenWork>())
{
    static const bool registered = [] {
        qRegisterMetaType<Operation*>("Kolta::Operation*");
        qRegisterMetaType<State>("Kolta::Operation::State");
        qRegisterMetaType<Effect>("Kolta::Operation::Effect");
        qRegisterMetaType<Reason>("Kolta::Operation::Reason");
        return true;
    }();
    Q_UNUSED(registered)
    QMetaObject::invokeMethod(
        this, [this] { start(); }, Qt::QueuedConnection);
}

Operation::~Operation() = default;

void Operation::start()
{
    if (isFinished())
        return;
    m_beganAt = Startup::Clock::instance().now();
    armLimit();
    const QPointer<Operation> guard(this);
    const QString problem =
        problemOf(eStepException, QStringLiteral("the begin of an operation"), [this] { begin(); });
    if (guard && !problem.isNull())
        refuse(Reason::InvalidOrder, problem);
}

void Operation::setTimeLimit(int milliseconds)
{
    m_limitMs = milliseconds;
    if (hasBegun() && !isFinished())
        armLimit();
}

void Operation::armLimit()
{
    qint64 end = m_limitMs < 0 ? -1 : m_beganAt + m_limitMs;
    if (m_cancelEnd >= 0)
        end = end < 0 ? m_cancelEnd : std::min(end, m_cancelEnd);
    m_limit.reset();
    if (end < 0)
        return;
    m_limit = Startup::Clock::instance().ringAt(end, [this] {
        const QPointer<Operation> guard(this);
        problemOf(eStepException, QStringLiteral("the end of an operation's time"), [this] { timeIsOver(); });
        if (guard)
            settleGivenUp(Effect::Unknown, QString());
    });
}

void Operation::cancel()
{
    if (isFinished() || m_cancelled)
        return;
    m_cancelled = true;
    if (!hasBegun())
        return settleGivenUp(Effect::None, QString());
    m_cancelEnd = Startup::Clock::instance().now() + kCancelLimitMs;
    armLimit();
    const QPointer<Operation> guard(this);
    const QString problem = problemOf(eStepException, QStringLiteral("the cancelling of an operation"),
                                      [this] { cancelBegun(); });
    if (guard && !problem.isNull())
        settleGivenUp(Effect::Unknown, problem);
}

void Operation::settleGivenUp(Effect effect, const QString& text)
{
    const QString doubt = effect == Effect::Unknown ? tr("; it may have happened") : QString();
    if (m_cancelled)
        settle(State::Cancelled, effect, Reason::Cancelled,
               (text.isEmpty() ? tr("cancelled") : text) + doubt);
    else
        settle(State::TimedOut, effect, Reason::TimeLimit,
               (text.isEmpty() ? tr("not done within %1 s").arg(m_limitMs / 1000.0) : text) + doubt);
}

void Operation::settle(State state, Effect effect, Reason reason, const QString& text)
{
    if (isFinished() || state == State::Running)
        return;
    m_state = state;
    m_effect = effect;
    m_reason = reason;
    m_text = text;
    m_limit.reset();
    QMetaObject::invokeMethod(
        this, [this] { tell(); }, Qt::QueuedConnection);
    problemOf(eStepException, QStringLiteral("the clean-up of an operation"), [this] { cleanUp(); });
}

void Operation::setProgress(const QString& text)
{
    if (text == m_progressText)
        return;
    m_progressText = text;
    QMetaObject::invokeMethod(
        this,
        [this, text] {
            problemOf(eReceiverException, QStringLiteral("a receiver of progress"),
                      [&] { Q_EMIT progressed(text); });
        },
        Qt::QueuedConnection);
}

void Operation::deleteWhenFinished()
{
    m_deleteWhenTold = true;
    if (m_told)
        deleteLater();
}

void Operation::addReceiver(const QObject* context, std::function<void(Operation&)> function)
{
    Receiver receiver{context, std::move(function)};
    if (!m_told)
        m_receivers.push_back(std::move(receiver));
    else
        QMetaObject::invokeMethod(
            this, [this, receiver] { call(receiver, *this); }, Qt::QueuedConnection);
}

void Operation::call(const Receiver& receiver, Operation& operation)
{
    if (receiver.context)
        problemOf(eReceiverException, QStringLiteral("a receiver of an operation's end"),
                  [&] { receiver.function(operation); });
}

void Operation::tell()
{
    const QPointer<Operation> guard(this);
    m_told = true;
    m_open.reset();
    const std::vector<Receiver> receivers = std::exchange(m_receivers, {});
    problemOf(eReceiverException, QStringLiteral("a receiver of an operation's end"),
              [this] { Q_EMIT finished(this); });
    for (const Receiver& receiver : receivers) {
        if (!guard)
            return;
        call(receiver, *this);
    }
    if (guard && m_deleteWhenTold)
        deleteLater();
}

bool Operation::settleAll(int milliseconds)
{
    bool over = false;
    const Startup::ptrAlarm limit = ringIn(milliseconds, [&over] { over = true; });
    QEventLoop loop;
    while (OpenWork::open() > 0 && !over)
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    return OpenWork::open() == 0;
}

} // namespace Kolta
