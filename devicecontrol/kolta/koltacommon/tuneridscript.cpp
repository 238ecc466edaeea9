#include <koltacommon/tuneridscript.h>

#include <resourcemodel/resources.h>
#include <startup/cfgcenter.h>

#include <QCoreApplication>
#include <QScriptEngine>
#include <QScriptValue>
#include <QThread>
#include <QTimer>
#include <QVector>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace Kolta {

namespace {

constexpr int kDefaultTimeLimitMs = 500;
constexpr int kCheckIntervalMs = 5;              ///< how often a looping script looks at the time
constexpr std::chrono::milliseconds kGrace(100); ///< for a stopped script to come to its end
constexpr int kMostLeftBehind = 4;
constexpr uint kStackBytes = 64u << 20; ///< enough for the engine's own limits of nesting

std::atomic<int> leftBehind{0};

/// One run of a script, shared by the caller and the script's thread, as either may be there longer.
struct Run
{
    QVector<std::pair<QString, QString>> properties;
    QString script;
    int timeLimitMs = kDefaultTimeLimitMs;

    // Written by the script's thread before it is done.
    QString id;
    QString error;

    std::mutex mutex; ///< for what follows
    std::condition_variable ended;
    bool done = false;
    bool abandoned = false;
};

QString exceptionText(int line, const QString& text)
{
    return QStringLiteral("ScriptException at line %1: %2").arg(line).arg(text);
}

/// Where a script is when its time is over, the engine does not tell.
QString timeoutText(const Run& run)
{
    return exceptionText(0, QStringLiteral("The script did not end within %1 ms.").arg(run.timeLimitMs));
}

/// Takes away what the engine adds to the language.
void confine(QScriptEngine& engine)
{
    for (const char* const name : {"print", "gc", "version"})
        engine.globalObject().setProperty(QLatin1String(name), QScriptValue());
    QScriptValue function = engine.globalObject().property(QStringLiteral("Function"));
    for (const char* const name : {"connect", "disconnect"})
        function.property(QStringLiteral("prototype")).setProperty(QLatin1String(name), QScriptValue());
}

/// The time limit of one engine; works from the events that the engine processes on its thread.
class TimeLimit
{
public:
    TimeLimit(QScriptEngine& engine, int milliseconds)
    {
        engine.setProcessEventsInterval(kCheckIntervalMs);
        QObject::connect(&m_timer, &QTimer::timeout, [this, &engine] {
            m_exceeded = true;
            engine.abortEvaluation();
            m_timer.start(0); // until it takes effect
        });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(milliseconds);
    }
    bool exceeded() const { return m_exceeded; }

private:
    QTimer m_timer;
    bool m_exceeded = false;
};

void evaluate(Run& run)
{
    QScriptEngine engine;
    confine(engine);
    for (const auto& property : std::as_const(run.properties))
        engine.globalObject().setProperty(property.first, property.second);

    const TimeLimit limit(engine, run.timeLimitMs);
    engine.evaluate(run.script, QString(), 1);
    QString error;
    QString id;
    if (engine.hasUncaughtException()) {
        const int line = engine.uncaughtExceptionLineNumber();
        error = exceptionText(line, engine.uncaughtException().toString());
    } else if (!limit.exceeded()) {
        const QScriptValue value = engine.globalObject().property(QStringLiteral("TunerID"));
        if (!value.isValid() || !value.isString())
            error = QStringLiteral("Invalid TunerID property set by user script.");
        else
            id = value.toString();
        if (error.isEmpty() && id.isEmpty())
            error = QStringLiteral("User script provided an empty tuner ID.");
    }
    // Exceptions and properties may run script code as well.
    if (limit.exceeded()) {
        id.clear();
        error = timeoutText(run);
    }
    run.id = id;
    run.error = error;
}

class ScriptThread : public QThread
{
public:
    explicit ScriptThread(std::shared_ptr<Run> run) : m_run(std::move(run)) { setStackSize(kStackBytes); }

protected:
    void run() override
    {
        evaluate(*m_run);
        const std::lock_guard<std::mutex> lock(m_run->mutex);
        m_run->done = true;
        m_run->ended.notify_one();
        if (m_run->abandoned)
            --leftBehind;
    }

private:
    std::shared_ptr<Run> m_run;
};

/// Runs the script on its thread; false when it has not come to an end in time and is left behind.
bool runInTime(const std::shared_ptr<Run>& run)
{
    auto thread = std::make_unique<ScriptThread>(run);
    thread->moveToThread(QCoreApplication::instance()->thread());
    thread->start();
    if (!thread->isRunning() && !thread->isFinished()) {
        run->error = exceptionText(0, QStringLiteral("The system has no thread to run scripts on."));
        return true;
    }
    std::unique_lock<std::mutex> lock(run->mutex);
    if (run->ended.wait_for(lock, std::chrono::milliseconds(run->timeLimitMs) + kGrace,
                            [&run] { return run->done; })) {
        lock.unlock();
        thread->wait();
        return true;
    }
    run->abandoned = true;
    ++leftBehind;
    QObject::connect(thread.get(), &QThread::finished, thread.get(), &QObject::deleteLater);
    static_cast<void>(thread.release()); // deletes itself
    return false;
}

} // namespace

QString evaluateTunerIdScript(const RESOURCEMANAGEMENT::Tuner& tuner, const QString& script,
                              QStringList* errors)
{
    const auto run = std::make_shared<Run>();
    const auto fail = [errors](const QString& text) {
        if (errors)
            errors->append(text);
        return QString();
    };
    try {
        const RESOURCEMANAGEMENT::TavikResource& identity = tuner.GetTavikResource();
        run->properties = {{QStringLiteral("TunerXml"), tuner.GetXmlString()},
                           {QStringLiteral("ConfigurationXml"), tuner.GetConfiguration()},
                           {QStringLiteral("Address"), identity.GetAddress()},
                           {QStringLiteral("Guid"), identity.GetGUID()},
                           {QStringLiteral("DisplayName"), identity.GetDisplayName()},
                           {QStringLiteral("SerialNumber"), tuner.GetSerialNumber()}};
    } catch (const REPORTGENERATOR::RGException& exception) {
        return fail(
            QStringLiteral("Invalid tuner object. %1: %2").arg(exception.GetTitle(), exception.GetText()));
    }
    if (!QCoreApplication::instance())
        return fail(exceptionText(0, QStringLiteral("There is no application to run scripts in.")));
    if (leftBehind >= kMostLeftBehind)
        return fail(exceptionText(0, QStringLiteral("Too many scripts are running beyond their time.")));

    run->script = script;
    bool isNumber = false;
    const int limit = Startup::CfgCenter::Instance()
                          .Value(QStringLiteral("TunerIdScript"), QStringLiteral("TimeLimitMs"))
                          .toInt(&isNumber);
    if (isNumber && limit > 0)
        run->timeLimitMs = limit;
    if (!runInTime(run))
        return fail(timeoutText(*run));
    return run->error.isEmpty() ? run->id : fail(run->error);
}

} // namespace Kolta
