#pragma once

#include <common/endpoint.h>

#include <koltacommon/linkkeeper.h>

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <memory>
#include <vector>

namespace KoltaCli {

class MetricsText;

/// Keeps a link to one server up and asks again and again who it is: for figures of the link.
class LinkMonitor : public QObject
{
    Q_OBJECT

public:
    /// Opens the link. `name` is what the figures call the server.
    LinkMonitor(const QString& name, const KoltaApps::Endpoint& endpoint);

    const QString& name() const noexcept { return m_name; }
    /// Whether there is something to tell: the server has answered, or a link has failed.
    bool hasNews() const { return m_replies > 0 || !m_keeper.lastError().isEmpty(); }

    /// The figures of several, as families of samples.
    static void append(MetricsText& text, const std::vector<std::unique_ptr<LinkMonitor>>& links);

private Q_SLOTS:
    void takeReply(Kolta::ptrKoltaRequest request);

private:
    void ask();
    void noteState(Kolta::LinkKeeper::State state);

    const QString m_name;
    Kolta::LinkKeeper m_keeper;
    QTimer m_askTimer;
    QElapsedTimer m_asked; ///< valid while a reply is due
    QElapsedTimer m_heard; ///< since the last message; invalid before the first
    int m_ups = 0;
    quint64 m_replies = 0;
    quint64 m_broadcasts = 0;
    quint64 m_faults = 0;
    double m_replySeconds = 0; ///< of the last reply
};

} // namespace KoltaCli
