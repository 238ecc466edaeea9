#pragma once

#include <koltacommon/export.h>
#include <koltacommon/linkfigures.h>

#include <xmlmessaging/xmlmessage.h>

#include <QObject>
#include <QString>
#include <QVector>

#include <functional>
#include <mutex>

namespace XmlCommunication {
class CConnectionThread;
}

namespace Kolta {

class LinkAccount;

/// What is known of one link.
struct KoltaConnectionEntry
{
    quint32 linkId = 0;
    QString name; ///< as registered; may be empty
    QString host;
    quint16 port = 0;
};

/// The links of this process, for whoever wants to show them. Functions may be called from any thread;
/// signals are emitted on the thread that makes or deletes the link's object.
class KOLTA_COMMON_EXPORT KoltaConnectionsViewer : public QObject
{
    Q_OBJECT

public:
    static KoltaConnectionsViewer& Instance();

    /// Lists `thread` until it is deleted. Null, or a thread that is listed already, is ignored.
    void registerConnection(XmlCommunication::CConnectionThread* thread, const QString& name);
    /// The listed links in the order in which they came.
    QVector<KoltaConnectionEntry> connections() const;

    // Connections that exist, open or not, those of one keeper as one.

    /// The figures of those that live on the calling thread, in the order in which they came.
    QVector<LinkFigures> links() const;
    /// Calls `function` with each message of that link, sent or received, until `context` dies. The message
    /// is the link's own and is not to be changed. Costs nothing when nobody asks. False when there is no
    /// such link on the calling thread.
    using Tap = std::function<void(bool sent, const XmlCommon::ptrCXmlMessage& message)>;
    bool tap(quint32 id, const QObject* context, const Tap& function) const;

Q_SIGNALS:
    void si_connectionAdded(quint32 linkId);
    void si_connectionRemoved(quint32 linkId);
    /// A link is in another state, or no more; on its thread. A new one is closed.
    void si_linkChanged(quint32 id);

private:
    friend class LinkAccount;

    struct Row
    {
        const QObject* thread;
        KoltaConnectionEntry entry;
    };

    KoltaConnectionsViewer();
    ~KoltaConnectionsViewer() override;
    void remove(const QObject* thread);
    void addLink(LinkAccount& account);
    void removeLink(LinkAccount& account);
    void tellLink(quint32 id);
    QVector<LinkAccount*> accounts() const;

    mutable std::mutex m_mutex;
    QVector<Row> m_rows;
    QVector<LinkAccount*> m_accounts;
};

} // namespace Kolta
