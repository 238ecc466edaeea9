#pragma once

#include <koltaconsole/session/newestfirst.h>
#include <xmlmessaging/xmlmessage.h>

#include <QDateTime>
#include <QTimer>

#include <deque>
#include <memory>

namespace KoltaConsole {

/// One message of a link.
struct LinkMessage
{
    QDateTime time;
    bool isSent = false;
    QString sentence;
    int bytes = 0; ///< as XML
    qint64 tookMs = -1;
    QByteArray text; ///< UTF-8
};

/// The messages of one link while they are read, newest on top. As long as nobody reads, the link does not
/// even ask whether somebody does. Bounded; what was read stays when the link is no more.
class LinkTraffic : public NewestFirst<LinkMessage, 1000>
{
    Q_OBJECT

public:
    enum eColumn : int {
        eTimeColumn,
        eDirectionColumn,
        eBytesColumn,
        eTookColumn, ///< of a reply, since its request was sent
        eMessageColumn,
        eColumnCount
    };
    /// Bytes of a message's text that are kept.
    static constexpr int kMostText = 32 * 1024;

    /// `link`: its id in KoltaConnectionsViewer.
    explicit LinkTraffic(quint32 link, QObject* parent = nullptr);
    ~LinkTraffic() override;

    /// False when there is no such link any more.
    bool start();
    void stop();
    bool isReading() const noexcept { return m_tap != nullptr; }
    /// Reading began, or ended last.
    const QDateTime& since() const noexcept { return m_since; }

    /// The message as people read XML; of a longer one its beginning, and how long it is.
    QString textOf(int row) const;

    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

private:
    void take(bool isSent, const XmlCommon::CXmlMessage& message);
    void showNew();

    const quint32 m_link;
    std::unique_ptr<QObject> m_tap; ///< what the link calls lives as long as this
    QDateTime m_since;
    quint32 m_askedId = 0; ///< of the request that is under way; a link has one at a time
    qint64 m_askedAt = 0;
    std::deque<LinkMessage> m_new; ///< not shown yet, oldest first
    QTimer m_showing;
};

} // namespace KoltaConsole
