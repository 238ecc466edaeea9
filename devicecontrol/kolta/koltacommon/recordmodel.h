#pragma once

#include <koltacommon/export.h>
#include <koltacommon/rowdifference.h>

#include <QAbstractItemModel>
#include <QDateTime>
#include <QString>

#include <memory>
#include <vector>

namespace Kolta {

/// A column of a model; `title` is marked with QT_TRANSLATE_NOOP.
struct ModelColumn
{
    const char* title;
    bool isNumber; ///< stands at the right
};

/// What models of servers' records have in common: rows in a tree, each told apart by a key, and the signals
/// for their changes. A change is told as rows that come, go, move or hold other data, neighbours together;
/// rows that change their order by dozens are told as one change of layout. The model is never reset.
///
/// Sources are read and never written; the model holds copies of what it shows. A change that comes while the
/// model tells of another is followed after that. Slots may do anything, deleting the model or a server
/// included, but within the signals that tell of something about to happen. Lives on the value tree's thread,
/// which is the application's. ViewRoles lists the roles.
class KOLTA_COMMON_EXPORT RecordModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    ~RecordModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

protected:
    /// Where rows come from.
    struct Origin
    {
        QString address; ///< of the server
        bool isStale = false;
        QDateTime lastKnown;
    };

    struct Row;
    using Rows = std::vector<std::unique_ptr<Row>>;
    struct Row
    {
        /// `source` is null for what belongs to no server, and outlives the row otherwise.
        Row(const QString& rowKey, const Origin* source) : key(rowKey), origin(source) {}
        virtual ~Row();
        Row(const Row&) = delete;
        Row& operator=(const Row&) = delete;

        /// Takes over what `fresh`, a row of the same class with the same key, shows but for the rows below
        /// it. The columns that hold other data now.
        virtual ColumnSet update(Row& fresh) = 0;
        virtual QString text(int column) const = 0;
        /// For ViewRoles::SortRole.
        virtual QVariant sortValue(int column) const;
        /// Data of the whole row: GUID, state, time and so on.
        virtual QVariant value(int role) const;

        Row& append(std::unique_ptr<Row> child);

        QString key; ///< unlike that of all rows that may come to stand beside it
        const Origin* origin;
        Row* parent = nullptr;
        int place = 0;
        Rows rows;
        bool isPlaceholder = false; ///< of a wanted row: only what is below it counts
    };

    /// `context`: of the translation of the titles.
    template<int N>
    RecordModel(const char* context, const ModelColumn (&columns)[N], QObject* parent)
        : RecordModel(context, columns, N, parent)
    {
    }

    Row& root() { return *m_root; }
    static Row& rowOf(const QModelIndex& index);
    QModelIndex indexOf(const Row& row, int column = 0) const;

    // These change rows and tell of it. False when a slot has deleted the model.

    /// Makes `count` rows below `parent`, from `first` on, and all below them those that are wanted. What
    /// comes is taken out of `wanted`.
    bool replaceRows(Row& parent, int first, int count, Rows& wanted);
    /// Moves rows to where they are wanted when that is below another one, for replaceRows() to find them
    /// there; `count` grows by what comes for that. Needs keys that occur once in all these rows and those
    /// below them; of many moves none is made.
    bool moveBetweenParents(Row& parent, int first, int& count, Rows& wanted);
    /// Rows that hold other data already; in their order.
    bool tellRows(const Row& parent, const std::vector<RowChange>& changes);
    /// The roles of these rows and of all below them.
    bool tellRoles(const Row& parent, int first, int count, const QVector<int>& roles);

private:
    struct Root;

    RecordModel(const char* context, const ModelColumn* columns, int count, QObject* parent);

    bool insertAlone(Row& parent, int place, std::unique_ptr<Row>& wanted);
    bool removeRange(Row& parent, int first, int last);
    bool insertRange(Row& parent, int first, Rows::iterator begin, Rows::iterator end);
    bool moveRow(Row& from, int place, Row& to, int target);
    bool rearrange(Row& parent, int first, const std::vector<int>& order);
    bool updateRows(Row& parent, int first, Rows& wanted);
    QString toolTip(const Row& row) const;
    QString searchText(const Row& row) const;

    const char* const m_context;
    const ModelColumn* const m_columns;
    const int m_columnCount;
    std::unique_ptr<Row> m_root; ///< not shown
};

} // namespace Kolta
