#include <usermanagement/activeuserproxy.h>

#include <startup/mainthread.h>
#include <startup/tracesource.h>

#include <QCoreApplication>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <exception>
#include <utility>

namespace Nax {

namespace {

/// Time between a change of the file and reading it: a file is often written in several steps.
constexpr int kSettleMs = 50;

/// Trace points of this file.
enum eTracePoint : int { eRefused = 10, eUnwatched = 11, eCallback = 20 };
constexpr Startup::TraceSource kTrace("platform/usermanagement/activeuserproxy", Startup::eTraceError);

void call(IActiveUserEvent& callback, IActiveUserEvent::tagRIGHTEVENT event)
{
    try {
        callback.onUpdateRights(event);
    } catch (...) {
        const QString says = Startup::CurrentExceptionText(QString());
        kTrace(eCallback,
               says.isNull()
                   ? QStringLiteral("Error: unknown exception from a callback for the active user")
                   : QStringLiteral("Error: exception from a callback for the active user: %1").arg(says));
    }
}

} // namespace

IActiveUserEvent::~IActiveUserEvent()
{
    if (m_registered)
        ActiveUserProxy::Instance().deregister(this);
}

ActiveUserProxy& ActiveUserProxy::Instance()
{
    // Never destroyed, so that callbacks may be static objects.
    static ActiveUserProxy* const proxy = new ActiveUserProxy;
    return *proxy;
}

ActiveUserProxy::ActiveUserProxy()
{
    // Whichever thread comes first: changes of the file are noticed on the main thread.
    Startup::LiveOnMainThread(this);
}

ActiveUserProxy::~ActiveUserProxy() = default;

qint32 ActiveUserProxy::GetActiveUserID() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_active.id;
}

QString ActiveUserProxy::GetActiveUserName() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_active.name;
}

User ActiveUserProxy::GetActiveUser() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_active;
}

bool ActiveUserProxy::HasRight(const QString& fullName) const
{
    return GetRightCount(fullName) > 0;
}

int ActiveUserProxy::GetRightCount(const QString& fullName) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_active.rights.value(fullName);
}

bool ActiveUserProxy::SetConfiguration(const QString& file)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_file = file.isEmpty() ? QString() : QFileInfo(file).absoluteFilePath();
        m_users = UserDirectory();
        m_loggedInByFile.reset();
        m_error.clear();
    }
    QMetaObject::invokeMethod(this, &ActiveUserProxy::watchFile);
    return readFile();
}

void ActiveUserProxy::RegisterCallback(IActiveUserEvent* callback)
{
    if (!callback || callback->m_registered)
        return;
    callback->m_registered = true;
    m_callbacks.push_back(callback);
    if (GetActiveUserID() >= 0)
        call(*callback, IActiveUserEvent::eUserUpdated);
}

bool ActiveUserProxy::LogIn(const QString& userName)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const User* const user = m_users.findByName(userName);
    if (!user)
        return false;
    become(user, IActiveUserEvent::eUserLoggedOut, std::move(lock));
    return true;
}

void ActiveUserProxy::LogOut()
{
    become(nullptr, IActiveUserEvent::eUserLoggedOut, std::unique_lock<std::mutex>(m_mutex));
}

bool ActiveUserProxy::Reload()
{
    return readFile();
}

QString ActiveUserProxy::ConfigurationError() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_error;
}

QStringList ActiveUserProxy::GetUserNames() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_users.names();
}

bool ActiveUserProxy::readFile()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    QString error;
    const bool good = m_file.isEmpty() || m_users.load(m_file, error);
    const bool isNews = error != std::exchange(m_error, error);
    const auto entry = good ? std::make_optional(m_users.loggedIn()) : std::nullopt;
    const bool isSameEntry = entry == std::exchange(m_loggedInByFile, entry);
    if (!good)
        become(nullptr, IActiveUserEvent::eUserGone, std::move(lock));
    else if (isSameEntry)
        become(m_users.findByID(m_active.id), IActiveUserEvent::eUserGone, std::move(lock));
    else
        become(m_users.findByName(*entry), IActiveUserEvent::eUserLoggedOut, std::move(lock));
    if (!good && isNews)
        kTrace(eRefused, QStringLiteral("Users: %1; nobody has any right").arg(error));
    return good;
}

/// Makes `user` the active one, null for nobody, gives the lock back and tells what that has changed.
void ActiveUserProxy::become(const User* user, IActiveUserEvent::tagRIGHTEVENT whenNobody,
                             std::unique_lock<std::mutex> lock)
{
    const User before = std::exchange(m_active, user ? *user : User());
    const bool isOther = before.id != m_active.id || before.name != m_active.name;
    const bool hasOtherRights = before.rights != m_active.rights;
    if (!isOther && !hasOtherRights)
        return;
    const auto whenSomebody = isOther ? IActiveUserEvent::eUserUpdated : IActiveUserEvent::eRightsUpdated;
    const auto event = m_active.id < 0 ? whenNobody : whenSomebody;
    const quint64 number = ++m_changes;
    lock.unlock();
    // At once on the main thread.
    QMetaObject::invokeMethod(this, [this, event, number] { callAll(event, number); });
}

void ActiveUserProxy::callAll(IActiveUserEvent::tagRIGHTEVENT event, quint64 number)
{
    // A newer event replaces this one for those who have not heard it, who would take the older state for the
    // newer: a callback may bring one about, and the main thread may overtake what another one has changed.
    if (number < m_told)
        return;
    if (event == IActiveUserEvent::eRightsUpdated && number > m_told + 1)
        event = IActiveUserEvent::eUserUpdated; // what was overtaken may have been another user
    m_told = number;
    ++m_depth;
    const std::size_t end = m_callbacks.size();
    for (std::size_t i = 0; i < end && number == m_told; ++i) {
        if (m_callbacks[i])
            call(*m_callbacks[i], event);
    }
    if (--m_depth == 0)
        m_callbacks.erase(std::remove(m_callbacks.begin(), m_callbacks.end(), nullptr), m_callbacks.end());
}

void ActiveUserProxy::deregister(const IActiveUserEvent* callback)
{
    const auto it = std::find(m_callbacks.begin(), m_callbacks.end(), callback);
    if (it == m_callbacks.end())
        return;
    if (m_depth > 0)
        *it = nullptr;
    else
        m_callbacks.erase(it);
}

/// Watches the folder as well: a file that is replaced, and one that is missing, can be heard of only there.
void ActiveUserProxy::watchFile()
{
    m_watcher.reset();
    QString file;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        file = m_file;
    }
    // Without an application nobody would hear of changes.
    if (file.isEmpty() || !QCoreApplication::instance())
        return;
    if (!m_settled) {
        m_settled = std::make_unique<QTimer>();
        m_settled->setSingleShot(true);
        m_settled->setInterval(kSettleMs);
        connect(m_settled.get(), &QTimer::timeout, this, &ActiveUserProxy::Reload);
    }
    m_watcher = std::make_unique<QFileSystemWatcher>();
    if (!m_watcher->addPath(QFileInfo(file).absolutePath()))
        kTrace(eUnwatched, QStringLiteral("Users: changes of %1 cannot be noticed").arg(file));
    if (QFileInfo::exists(file))
        m_watcher->addPath(file);
    const auto changed = [this, file] {
        if (QFileInfo::exists(file))
            m_watcher->addPath(file); // a replaced file is another one
        if (!m_settled->isActive())
            m_settled->start();
    };
    connect(m_watcher.get(), &QFileSystemWatcher::fileChanged, this, changed);
    connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, this, changed);
    m_settled->start(); // another thread has read the file before it was watched
}

} // namespace Nax
