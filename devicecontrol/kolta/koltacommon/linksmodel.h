#pragma once

#include <koltacommon/export.h>
#include <koltacommon/linkfigures.h>

#include <QAbstractTableModel>
#include <QString>
#include <QTimer>
#include <QVariant>
#include <QVector>

#include <array>

namespace Kolta {

/// What can be told of one branch of a value tree that other processes publish.
struct BranchFigures
{
    QString name; ///< unlike those of all others
    QString host;
    LinkFigures::State state = LinkFigures::State::Closed; ///< Up: it is live
    QString stateText;                                     ///< the state's own word
    QDateTime liveSince;                                   ///< invalid unless it is
    qint64 roundTripMs = -1; ///< of the latest change made here that was decided on
    qint64 beatAgeMs = -1;   ///< -1 before the first beat
    int openWishes = 0;
    int reconnections = 0;
    QString lastFault; ///< for people, translated
    QDateTime lastFaultAt;
    quint64 messagesOut = 0; ///< to its owner
    quint64 messagesIn = 0;  ///< about it
    quint64 bytesOut = 0;    ///< of the messages
    quint64 bytesIn = 0;
};

/// Who knows the branches; this library does not.
class KOLTA_COMMON_EXPORT IBranchSource
{
public:
    virtual ~IBranchSource();
    /// By name.
    virtual QVector<BranchFigures> branches() const = 0;
};

/// The links of this thread, and behind them the branches, with their figures: at once when a link is in
/// another state, the rest once a second. The key is "link/" and the link's id, or "branch/" and the name;
/// the state (ViewRoles::StateRole) a LinkFigures::State; the tool tip says how much has passed
/// and how long the queue's first has waited.
class KOLTA_COMMON_EXPORT LinksModel final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum eColumn : int {
        eLinkColumn,
        eStateColumn,
        eUpSinceColumn,
        eRoundTripColumn, ///< of the latest request; of a branch the latest change
        eLastBeatColumn,  ///< its age; of branches
        eQueueColumn,     ///< of a branch the open wishes
        eReconnectionsColumn,
        eLastFaultColumn,
        eColumnCount
    };
    static constexpr int kRefreshMs = 1000;

    explicit LinksModel(QObject* parent = nullptr);
    ~LinksModel() override;

    /// `source` outlives this, or is taken away with null before.
    void setBranches(const IBranchSource* source);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

public Q_SLOTS:
    void refresh();

private:
    struct Row
    {
        QString key;
        std::array<QVariant, eColumnCount> cells; ///< numbers, times and texts
        int state = 0;
        QString toolTip;
        QDateTime lastFaultAt;

        bool operator!=(const Row& other) const
        {
            return cells != other.cells || state != other.state || toolTip != other.toolTip ||
                   lastFaultAt != other.lastFaultAt;
        }
    };

    static Row rowOf(const LinkFigures& link);
    static Row rowOf(const BranchFigures& branch);
    static QString textOf(const Row& row, int column);

    const IBranchSource* m_branches = nullptr;
    QVector<Row> m_rows;
    QTimer m_timer;
};

} // namespace Kolta
