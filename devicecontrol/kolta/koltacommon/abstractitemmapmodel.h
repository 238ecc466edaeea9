#pragma once

#include <koltacommon/export.h>
#include <koltacommon/viewroles.h>

#include <QAbstractItemModel>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

namespace Kolta {

/// What models of item maps have in common: rows in up to three levels and the signals for their changes.
///
/// Groups stand at the top when there are any, then items, and below each item its lines, which are plain
/// texts. Groups stand in the order of their names, code unit by code unit, and exist while they have items;
/// the items of a group, or all, in the order of their keys. Every change is told as rows that come, go, move
/// or hold other data, neighbours together; the model is never reset.
///
/// Slots may do anything, deleting the model included, but within the signals that tell of something about to
/// happen, where the model must live on.
class KOLTA_COMMON_EXPORT AbstractItemMapModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Role {
        KeyRole = ViewRoles::KeyRole,    ///< key of the item, also for its lines
        ItemRole = ViewRoles::ItemRole,  ///< the item, also for its lines
        GroupRole = ViewRoles::GroupRole ///< name of the group, for everything in it too
    };

    ~AbstractItemMapModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    /// That of the adapter, at least 1, everywhere. Groups and lines have a text in the first column only.
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QHash<int, QByteArray> roleNames() const override;

protected:
    /// What an index has as its parent.
    struct Node
    {
        explicit Node(bool group) : isGroup(group) {}
        const bool isGroup;
    };
    struct Group;
    /// An item; the derived model adds key and item and owns it.
    struct Row : Node
    {
        Row() : Node(false) {}
        Group* group = nullptr; ///< null while it is not shown
        QStringList lines;
    };
    struct Group : Node
    {
        explicit Group(const QString& groupName) : Node(true), name(groupName) {}
        QString name;
        std::vector<Row*> rows; ///< in the order of their keys
    };
    /// Where a row goes and what stands below it.
    struct Change
    {
        Row* row;
        QString group;
        QStringList lines;
    };
    using Rows = std::vector<Row*>;

    /// Without groups all items are at the top and the names of groups are ignored.
    AbstractItemMapModel(bool grouped, QObject* parent);

    /// The order of keys; no two rows are equal.
    virtual bool isLess(const Row& a, const Row& b) const = 0;
    virtual int adapterColumns() const = 0;
    virtual QString columnTitle(int column) const = 0;
    virtual QVariant itemData(const Row& row, int column, int role) const = 0;

    /// These do the changes and tell of them. False when a slot has deleted the model. The rows are shown,
    /// or, in the first, not yet; those that are removed must live until then.
    bool insertItems(std::vector<Change> changes);
    /// Items that have been changed already.
    bool updateItems(const std::vector<Change>& changes);
    bool removeItems(const Rows& rows);

    QModelIndex indexOfRow(const Row* row, int column = 0) const;
    /// The item at an index or the one that the line there belongs to; null for a group.
    const Row* rowAt(const QModelIndex& index) const;

private:
    struct Place;
    using Groups = std::vector<std::unique_ptr<Group>>;

    const Node* parentNode(const QModelIndex& index) const;
    QModelIndex indexOfGroup(const Group& group) const;
    Groups::const_iterator lowerGroup(const QString& name) const;
    Group* findGroup(const QString& name) const;
    Rows::const_iterator lowerRow(const Group& group, const Row& row) const;
    std::vector<Place> placesOf(const Rows& rows) const;
    bool insertGroup(std::unique_ptr<Group> group);
    bool insertRun(Group& group, const Change* first, const Change* last);
    bool removeGroups(int first, int last);
    bool tellData(const Rows& rows);
    bool changeLines(Row& row, const QStringList& lines);
    bool move(Row& row, const QString& name);

    const bool m_grouped;
    Groups m_groups; ///< by name; without groups exactly one, which is not shown
};

} // namespace Kolta
