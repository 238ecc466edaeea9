#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

namespace KoltaConsole {

class Session;

/// Waits until a server has decided on what was just changed of its data here, and goes then. Its death
/// before is no fault: nobody is told then.
class WishWatch : public QObject
{
    Q_OBJECT

public:
    /// `reason`: why changes at the path did not last; empty when nobody has said so.
    using Decided = std::function<void(const QString& reason)>;
    WishWatch(const Session& session, const QString& server, const QString& path, const Decided& decided,
              QObject* parent);

private:
    void look();

    const Session& m_session;
    const QString m_server;
    const Decided m_decided;
    QString m_reason;
    QTimer m_timer;
};

} // namespace KoltaConsole
