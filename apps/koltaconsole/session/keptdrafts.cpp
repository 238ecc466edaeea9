#include "keptdrafts.h"

#include "keptsettings.h"
#include "orderdraft.h"
#include "session.h"

#include <QJsonDocument>

namespace KoltaConsole {

KeptDrafts::KeptDrafts(const Session& session, const QString& kind, QObject* parent)
    : QObject(parent), m_kind(kind), m_installation(session.url()), m_isKept(session.draft().isKept())
{
    m_keeping.setSingleShot(true);
    m_keeping.setInterval(kKeepMs);
    connect(&m_keeping, &QTimer::timeout, this, &KeptDrafts::save);
}

KeptDrafts::~KeptDrafts()
{
    save();
}

QString KeptDrafts::keyOf(const QString& server) const
{
    return keptKey(m_kind, {m_installation, server});
}

QJsonObject KeptDrafts::of(const QString& server) const
{
    if (m_isKept && !m_drafts.contains(server))
        m_drafts.insert(
            server, QJsonDocument::fromJson(QSettings().value(keyOf(server)).toString().toUtf8()).object());
    return m_drafts.value(server);
}

void KeptDrafts::set(const QString& server, const QJsonObject& draft)
{
    if (server.isEmpty() || of(server) == draft)
        return;
    m_drafts.insert(server, draft);
    m_changed.insert(server);
    if (m_isKept)
        m_keeping.start();
}

void KeptDrafts::save()
{
    if (!m_isKept || m_changed.isEmpty())
        return;
    KeptSettings settings;
    for (const QString& server : qAsConst(m_changed)) {
        const QJsonObject draft = m_drafts.value(server);
        if (draft.isEmpty())
            settings.remove(keyOf(server));
        else
            settings.setValue(keyOf(server),
                              QString::fromUtf8(QJsonDocument(draft).toJson(QJsonDocument::Compact)));
    }
    m_changed.clear();
}

} // namespace KoltaConsole
