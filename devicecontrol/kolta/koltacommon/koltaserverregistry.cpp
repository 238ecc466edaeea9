#include <koltacommon/koltaserverregistry.h>

#include <koltacommon/koltaserverinterface.h>
#include <koltacommon/servernodes.h>

#include <QTimer>

#include <utility>

namespace Kolta {

namespace {

const QString kConnectManager = ServerNodes::kConnectManager;
const QString kAdminTree = ServerNodes::kAdminTree;

/// The path of a server's node as init() takes it.
QString relative(const QString& path)
{
    return path.startsWith(kConnectManager + QLatin1Char('/')) ? path.mid(kConnectManager.size()) : path;
}

} // namespace

KoltaServerRegistry& KoltaServerRegistry::Instance()
{
    static KoltaServerRegistry registry;
    return registry;
}

QString KoltaServerRegistry::connectionManagerAlias()
{
    return kConnectManager.mid(1);
}

/// Asking for the tree first makes it outlive the registry.
KoltaServerRegistry::KoltaServerRegistry()
{
    values::Tree::Instance().AddListener(this);
}

KoltaServerRegistry::~KoltaServerRegistry()
{
    values::Tree::Instance().RemoveListener(this);
    const auto servers = std::exchange(m_servers, {});
    qDeleteAll(servers);
}

KoltaServerInterface* KoltaServerRegistry::addServer(const QString& address, const QString& path)
{
    if (KoltaServerInterface* const known = server(address))
        return known;
    const QString relativePath = relative(values::NormalisedPath(path));
    const QString basePath = kConnectManager + relativePath;
    if (m_basePaths.contains(basePath))
        return nullptr;
    auto* const added = new KoltaServerInterface(address, basePath);
    connect(added, &QObject::destroyed, this, [this, added, address] {
        if (server(address) == added)
            forget(address);
    });
    connect(added, &KoltaServerInterface::si_ConnectionReady, this, [this, added, address](bool ready) {
        if (server(address) == added)
            setIncomplete(added->getServerBasePath(), !ready);
    });
    m_servers.insert(address, added);
    m_addresses.append(address);
    m_basePaths.insert(basePath, address);
    m_incomplete.insert(basePath);
    added->init(relativePath);
    if (server(address) == added)
        Q_EMIT si_ServerAdded(address);
    return server(address) == added ? added : nullptr;
}

/// A server lacks something at first, or when it has come back.
void KoltaServerRegistry::setIncomplete(const QString& basePath, bool isIncomplete)
{
    if (isIncomplete) {
        m_incomplete.insert(basePath);
        return;
    }
    m_incomplete.remove(basePath);
    m_scheduled.erase(basePath); // what appeared meanwhile, this client's own entry for instance, was no news
}

bool KoltaServerRegistry::removeServer(const QString& address)
{
    KoltaServerInterface* const removed = server(address);
    if (!removed)
        return false;
    removed->DeleteLater();
    forget(address);
    return true;
}

/// By value: the caller's may be one of addresses().
void KoltaServerRegistry::forget(QString address)
{
    m_servers.remove(address);
    m_addresses.removeOne(address);
    const QString basePath = m_basePaths.key(address);
    m_basePaths.remove(basePath);
    m_incomplete.remove(basePath);
    Q_EMIT si_ServerRemoved(address);
}

void KoltaServerRegistry::removeAllServers()
{
    const QStringList all = m_addresses;
    for (const QString& address : all)
        removeServer(address);
}

KoltaServerInterface* KoltaServerRegistry::server(const QString& address) const
{
    return m_servers.value(address);
}

KoltaServerInterface* KoltaServerRegistry::serverAt(const QString& basePath) const
{
    return m_servers.value(m_basePaths.value(values::NormalisedPath(basePath)));
}

void KoltaServerRegistry::setDiscovery(bool on)
{
    m_discovery = on;
    const values::TreeItem* const parent = on ? values::Tree::Instance().Find(kAdminTree) : nullptr;
    if (!parent)
        return;
    const auto children = parent->GetChildren();
    for (const values::TreeItem* child : children)
        m_scheduled.insert(child->GetPath());
    bindScheduled();
}

/// Looks for the server that the item belongs to, if that one still waits for items.
void KoltaServerRegistry::OnItemAdded(values::TreeItem& item)
{
    if (m_incomplete.isEmpty() && !m_discovery)
        return;
    for (const values::TreeItem* above = &item; above; above = above->GetParent()) {
        const QString& path = above->GetPath();
        const values::TreeItem* const parent = above->GetParent();
        const bool unknown =
            m_discovery && parent && parent->GetPath() == kAdminTree && !m_basePaths.contains(path);
        if (unknown || m_incomplete.contains(path))
            return schedule(path);
    }
}

void KoltaServerRegistry::schedule(const QString& basePath)
{
    if (m_scheduled.empty())
        QTimer::singleShot(0, this, &KoltaServerRegistry::bindScheduled);
    m_scheduled.insert(basePath);
}

void KoltaServerRegistry::bindScheduled()
{
    const std::set<QString> due = std::exchange(m_scheduled, {});
    for (const QString& basePath : due) {
        const values::TreeItem* const node = values::Tree::Instance().Find(basePath);
        if (!node || node->IsDeleted())
            continue;
        KoltaServerInterface* const known = serverAt(basePath);
        // What its own binding has added, its place among the clients, is no reason to bind it again.
        if (known && m_incomplete.contains(basePath))
            known->init(relative(basePath));
        else if (!known && m_discovery)
            addServer(basePath.section(QLatin1Char('/'), -1), basePath);
    }
}

} // namespace Kolta
