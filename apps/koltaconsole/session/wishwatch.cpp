#include "wishwatch.h"

#include "session.h"

namespace KoltaConsole {

namespace {

/// Changes are gathered until control is in the event loop, so that nothing is known at once.
constexpr int kLookMs = 50;

} // namespace

WishWatch::WishWatch(const Session& session, const QString& server, const QString& path,
                     const Decided& decided, QObject* parent)
    : QObject(parent), m_session(session), m_server(server), m_decided(decided)
{
    connect(&session, &Session::si_WishFailed, this, [this, path](const QString& at, const QString& reason) {
        if (at == path)
            m_reason = reason;
    });
    connect(&m_timer, &QTimer::timeout, this, &WishWatch::look);
    m_timer.start(kLookMs);
}

void WishWatch::look()
{
    if (m_session.openWishes(m_server) > 0)
        return;
    m_timer.stop();
    deleteLater();
    m_decided(m_reason);
}

} // namespace KoltaConsole
