#pragma once

#include <koltacommon/export.h>

#include <QObject>
#include <QString>
#include <QVector>

#include <mutex>

namespace XmlCommunication {
class CConnectionThread;
}

namespace Kolta {

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

Q_SIGNALS:
    void si_connectionAdded(quint32 linkId);
    void si_connectionRemoved(quint32 linkId);

private:
    struct Row
    {
        const QObject* thread;
        KoltaConnectionEntry entry;
    };

    KoltaConnectionsViewer();
    ~KoltaConnectionsViewer() override;
    void remove(const QObject* thread);

    mutable std::mutex m_mutex;
    QVector<Row> m_rows;
};

} // namespace Kolta
