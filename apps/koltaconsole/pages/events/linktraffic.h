#pragma once

#include <koltaconsole/session/linkmessage.h>
#include <koltaconsole/session/newestfirst.h>

#include <QDateTime>
#include <QTimer>

#include <deque>
#include <memory>

namespace KoltaConsole {

/// The messages of one link or branch while they are read, newest on top. As long as nobody reads, the link
/// does not even ask whether somebody does. Bounded; what was read stays when the link is no more.
class LinkTraffic : public NewestFirst<LinkMessage, 1000>
{
    Q_OBJECT

public:
    enum eColumn : int {
        eTimeColumn,
        eDirectionColumn,
        eBytesColumn,
        eTookColumn, ///< of a reply or decision, since what it answers was sent
        eMessageColumn,
        eColumnCount
    };

    explicit LinkTraffic(MessageTap messages, QObject* parent = nullptr);
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
    void take(LinkMessage message);
    void showNew();

    const MessageTap m_messages;
    std::unique_ptr<QObject> m_tap; ///< what the link calls lives as long as this
    QDateTime m_since;
    std::deque<LinkMessage> m_new; ///< not shown yet, oldest first
    QTimer m_showing;
};

} // namespace KoltaConsole
