#pragma once

#include "productionrows.h"

#include <QAbstractItemModel>

#include <memory>

namespace KoltaConsole {

/// The rows of the page of productions as a tree. A new state of all rows becomes single rows that come, go,
/// move and change, told by their keys, so that selection and open branches stay.
class ProductionsModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum eColumn : int {
        eNameColumn,
        eStateColumn,
        eFrequencyColumn,
        eBandwidthColumn,
        eHardwareColumn,
        eOwnerColumn,
        eTimelineColumn,
        eColumnCount
    };
    static constexpr char kMimeType[] = "application/x-koltaconsole-ffp";

    explicit ProductionsModel(QObject* parent);
    ~ProductionsModel() override;

    void take(std::vector<ProductionRow> rows);
    /// Good until the next take().
    const ProductionRow* rowAt(const QModelIndex& index) const;
    QModelIndex indexOf(const QString& key) const;
    const ProductionRow* find(const QString& key) const { return rowAt(indexOf(key)); }
    /// All MCPs that run, in their order.
    std::vector<const ProductionRow*> mcps() const;
    /// Shows where that FFP may go; empty: nothing is under way.
    void setDragged(const QString& key);
    bool isDragging() const { return !m_dragged.isEmpty(); }
    /// Whether FFPs may be dragged at all.
    void setMovable(bool on) { m_isMovable = on; }

    QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

Q_SIGNALS:
    /// Somebody has dropped the one on the other; keys.
    void si_MoveWanted(const QString& ffp, const QString& mcp);

private:
    struct Node;

    Node* nodeAt(const QModelIndex& index) const;
    QModelIndex indexOf(const Node& node, int column = 0) const;
    void fill(std::vector<ProductionRow> rows);
    void adopt(std::vector<ProductionRow>& wanted, const QString& parentKey);
    void synchronise(Node& parent, std::vector<ProductionRow>& wanted);
    void update(Node& node, ProductionRow&& row);
    std::unique_ptr<Node> makeNode(ProductionRow&& row, Node& parent);
    void unlist(const Node& node);
    QString text(const ProductionRow& row, int column) const;
    QVariant looks(const ProductionRow& row, int column, int role) const;
    QString droppedKey(const QMimeData* data) const;

    std::unique_ptr<Node> m_root;
    QHash<QString, Node*> m_byKey;
    QString m_dragged;
    bool m_isMovable = false;
};

} // namespace KoltaConsole
