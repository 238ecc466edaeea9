#include <koltacommon/koltaconnectionsviewer.h>

#include "linkaccount.h"

#include <xmlmessaging/connectionthread.h>

#include <QThread>

#include <algorithm>

namespace Kolta {

KoltaConnectionsViewer::KoltaConnectionsViewer() = default;
KoltaConnectionsViewer::~KoltaConnectionsViewer() = default;

KoltaConnectionsViewer& KoltaConnectionsViewer::Instance()
{
    static KoltaConnectionsViewer instance;
    return instance;
}

void KoltaConnectionsViewer::registerConnection(XmlCommunication::CConnectionThread* thread,
                                                const QString& name)
{
    if (!thread)
        return;
    KoltaConnectionEntry entry{thread->getLinkId(), name, thread->getHost(), thread->getPort()};
    const quint32 linkId = entry.linkId;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const bool known = std::any_of(m_rows.cbegin(), m_rows.cend(),
                                       [thread](const Row& row) { return row.thread == thread; });
        if (known)
            return;
        m_rows.append(Row{thread, entry});
    }
    // Direct: the pointer must leave the list before its memory can be used again.
    connect(
        thread, &QObject::destroyed, this, [this](QObject* object) { remove(object); }, Qt::DirectConnection);
    Q_EMIT si_connectionAdded(linkId);
}

QVector<KoltaConnectionEntry> KoltaConnectionsViewer::connections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    QVector<KoltaConnectionEntry> entries;
    entries.reserve(m_rows.size());
    for (const Row& row : m_rows)
        entries.append(row.entry);
    return entries;
}

void KoltaConnectionsViewer::remove(const QObject* thread)
{
    quint32 linkId = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto row = std::find_if(m_rows.begin(), m_rows.end(),
                                      [thread](const Row& candidate) { return candidate.thread == thread; });
        if (row == m_rows.end())
            return;
        linkId = row->entry.linkId;
        m_rows.erase(row);
    }
    Q_EMIT si_connectionRemoved(linkId);
}

/// A constructor lists the link, which is not yet to be looked at.
void KoltaConnectionsViewer::addLink(LinkAccount& account)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_accounts.append(&account);
}

void KoltaConnectionsViewer::removeLink(LinkAccount& account)
{
    const quint32 id = account.figures().id;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_accounts.removeOne(&account);
    }
    Q_EMIT si_linkChanged(id);
}

void KoltaConnectionsViewer::tellLink(quint32 id)
{
    Q_EMIT si_linkChanged(id);
}

/// Those of the calling thread, which nobody else ends.
QVector<LinkAccount*> KoltaConnectionsViewer::accounts() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    QVector<LinkAccount*> own;
    std::copy_if(m_accounts.begin(), m_accounts.end(), std::back_inserter(own),
                 [](const LinkAccount* account) { return account->thread() == QThread::currentThread(); });
    return own;
}

QVector<LinkFigures> KoltaConnectionsViewer::links() const
{
    QVector<LinkFigures> figures;
    for (const LinkAccount* const account : accounts())
        figures.append(account->figures());
    return figures;
}

bool KoltaConnectionsViewer::tap(quint32 id, const QObject* context, const Tap& function) const
{
    for (const LinkAccount* const account : accounts()) {
        if (account->figures().id == id)
            return connect(account, &LinkAccount::passed, context, function);
    }
    return false;
}

} // namespace Kolta
