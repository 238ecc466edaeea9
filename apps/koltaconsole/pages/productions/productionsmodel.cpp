#include "productionsmodel.h"

#include <koltacommon/units.h>
#include <koltacommon/viewroles.h>

#include <QFont>
#include <QMimeData>
#include <QSet>

#include <algorithm>

namespace KoltaConsole {

namespace Roles = Kolta::ViewRoles;

namespace {

const char* const kTitles[] = {QT_TRANSLATE_NOOP("KoltaConsole::ProductionsModel", "Processor"),
                               QT_TRANSLATE_NOOP("KoltaConsole::ProductionsModel", "State"),
                               QT_TRANSLATE_NOOP("KoltaConsole::ProductionsModel", "Frequency"),
                               QT_TRANSLATE_NOOP("KoltaConsole::ProductionsModel", "Bandwidth"),
                               QT_TRANSLATE_NOOP("KoltaConsole::ProductionsModel", "Hardware"),
                               QT_TRANSLATE_NOOP("KoltaConsole::ProductionsModel", "Owner"),
                               ""};

bool isNumber(int column)
{
    return column == ProductionsModel::eFrequencyColumn || column == ProductionsModel::eBandwidthColumn;
}

} // namespace

struct ProductionsModel::Node
{
    ProductionRow row; ///< without those below it
    Node* parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;

    int place() const
    {
        const auto& all = parent->children;
        const auto found =
            std::find_if(all.begin(), all.end(), [this](const auto& n) { return n.get() == this; });
        return static_cast<int>(found - all.begin());
    }
};

ProductionsModel::ProductionsModel(QObject* parent)
    : QAbstractItemModel(parent), m_root(std::make_unique<Node>())
{
}

ProductionsModel::~ProductionsModel() = default;

void ProductionsModel::take(std::vector<ProductionRow> rows)
{
    if (m_root->children.empty())
        return fill(std::move(rows));
    adopt(rows, QString());
    synchronise(*m_root, rows);
}

/// All at once, so that views lay them out once.
void ProductionsModel::fill(std::vector<ProductionRow> rows)
{
    if (rows.empty())
        return;
    beginResetModel();
    for (ProductionRow& row : rows)
        m_root->children.push_back(makeNode(std::move(row), *m_root));
    endResetModel();
}

/// What stands below another row now goes there with all that it holds.
void ProductionsModel::adopt(std::vector<ProductionRow>& wanted, const QString& parentKey)
{
    Node* const parent = parentKey.isEmpty() ? m_root.get() : m_byKey.value(parentKey);
    for (ProductionRow& row : wanted) {
        Node* const node = m_byKey.value(row.key);
        if (node && parent && node->parent != parent) {
            Node* const before = node->parent;
            const int from = node->place(), to = static_cast<int>(parent->children.size());
            if (beginMoveRows(indexOf(*before), from, from, indexOf(*parent), to)) {
                auto& old = before->children;
                parent->children.push_back(std::move(old[static_cast<std::size_t>(from)]));
                old.erase(old.begin() + from);
                node->parent = parent;
                endMoveRows();
            }
        }
        adopt(row.children, row.key);
    }
}

void ProductionsModel::synchronise(Node& parent, std::vector<ProductionRow>& wanted)
{
    QSet<QString> keys;
    for (const ProductionRow& row : wanted)
        keys.insert(row.key);
    for (int place = static_cast<int>(parent.children.size()) - 1; place >= 0; --place) {
        const auto node = parent.children.begin() + place;
        if (keys.contains((*node)->row.key))
            continue;
        beginRemoveRows(indexOf(parent), place, place);
        unlist(**node);
        parent.children.erase(node);
        endRemoveRows();
    }
    for (std::size_t place = 0; place < wanted.size(); ++place) {
        const auto here = parent.children.begin() + static_cast<int>(place);
        const auto found = std::find_if(here, parent.children.end(),
                                        [&](const auto& node) { return node->row.key == wanted[place].key; });
        const int to = static_cast<int>(place), from = static_cast<int>(found - parent.children.begin());
        if (found == parent.children.end()) {
            beginInsertRows(indexOf(parent), to, to);
            parent.children.insert(here, makeNode(std::move(wanted[place]), parent));
            endInsertRows();
            continue;
        }
        if (from != to) {
            beginMoveRows(indexOf(parent), from, from, indexOf(parent), to);
            std::rotate(here, found, found + 1);
            endMoveRows();
        }
        Node& node = *parent.children[place];
        std::vector<ProductionRow> below = std::move(wanted[place].children);
        wanted[place].children.clear();
        update(node, std::move(wanted[place]));
        synchronise(node, below);
    }
}

/// The bars go on with the time; that is no news for what reads the texts.
void ProductionsModel::update(Node& node, ProductionRow&& row)
{
    const bool isOther = !node.row.looksLike(row);
    node.row = std::move(row);
    Q_EMIT dataChanged(indexOf(node, isOther ? 0 : static_cast<int>(eTimelineColumn)),
                       indexOf(node, eTimelineColumn));
}

std::unique_ptr<ProductionsModel::Node> ProductionsModel::makeNode(ProductionRow&& row, Node& parent)
{
    auto node = std::make_unique<Node>();
    std::vector<ProductionRow> below = std::move(row.children);
    row.children.clear();
    node->row = std::move(row);
    node->parent = &parent;
    m_byKey.insert(node->row.key, node.get());
    for (ProductionRow& child : below)
        node->children.push_back(makeNode(std::move(child), *node));
    return node;
}

void ProductionsModel::unlist(const Node& node)
{
    // It may be somewhere else by now.
    if (m_byKey.value(node.row.key) == &node)
        m_byKey.remove(node.row.key);
    for (const auto& child : node.children)
        unlist(*child);
}

ProductionsModel::Node* ProductionsModel::nodeAt(const QModelIndex& index) const
{
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : m_root.get();
}

const ProductionRow* ProductionsModel::rowAt(const QModelIndex& index) const
{
    return index.isValid() ? &nodeAt(index)->row : nullptr;
}

QModelIndex ProductionsModel::indexOf(const Node& node, int column) const
{
    return &node == m_root.get() ? QModelIndex()
                                 : createIndex(node.place(), column, const_cast<Node*>(&node));
}

QModelIndex ProductionsModel::indexOf(const QString& key) const
{
    const Node* const node = m_byKey.value(key);
    return node ? indexOf(*node) : QModelIndex();
}

std::vector<const ProductionRow*> ProductionsModel::mcps() const
{
    std::vector<const ProductionRow*> result;
    for (const auto& server : m_root->children) {
        for (const auto& node : server->children) {
            if (node->row.isRunning() && node->row.type == QLatin1String("MCP"))
                result.push_back(&node->row);
        }
    }
    return result;
}

void ProductionsModel::setDragged(const QString& key)
{
    if (m_dragged == key)
        return;
    m_dragged = key;
    for (Node* const node : qAsConst(m_byKey))
        Q_EMIT dataChanged(indexOf(*node), indexOf(*node, eTimelineColumn));
}

QModelIndex ProductionsModel::index(int row, int column, const QModelIndex& parent) const
{
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, nodeAt(parent)->children[static_cast<std::size_t>(row)].get());
}

QModelIndex ProductionsModel::parent(const QModelIndex& child) const
{
    return child.isValid() ? indexOf(*nodeAt(child)->parent) : QModelIndex();
}

int ProductionsModel::rowCount(const QModelIndex& parent) const
{
    return parent.column() > 0 ? 0 : static_cast<int>(nodeAt(parent)->children.size());
}

int ProductionsModel::columnCount(const QModelIndex& /*parent*/) const
{
    return eColumnCount;
}

QString ProductionsModel::text(const ProductionRow& row, int column) const
{
    switch (column) {
    case eNameColumn:
        return row.kind == ProductionRow::Kind::Server ? row.look.word : row.name;
    case eStateColumn:
        return row.look.word;
    case eFrequencyColumn:
        return row.frequency > 0 ? Kolta::hertzToText(row.frequency) : QString();
    case eBandwidthColumn:
        return row.bandwidth > 0 ? Kolta::hertzToText(row.bandwidth) : QString();
    case eHardwareColumn:
        return row.hardware;
    case eOwnerColumn:
        return row.owner;
    default:
        return QString();
    }
}

QVariant ProductionsModel::looks(const ProductionRow& row, int column, int role) const
{
    switch (role) {
    case Qt::DisplayRole:
        return row.isGroup() && column != eNameColumn ? QVariant() : text(row, column);
    case Qt::TextAlignmentRole:
        return static_cast<int>(Qt::AlignVCenter | (isNumber(column) ? Qt::AlignRight : Qt::AlignLeft));
    case Qt::ToolTipRole:
        if (column == eStateColumn && !row.lookInFull.isEmpty())
            return row.lookInFull;
        return column == eOwnerColumn && !row.ownerInFull.isEmpty() ? row.ownerInFull : QVariant();
    case Qt::FontRole:
        if (row.kind == ProductionRow::Kind::EndedGroup) {
            QFont bold;
            bold.setBold(true);
            return bold;
        }
        return QVariant();
    case Timeline::kRole:
        return column == eTimelineColumn && !row.isGroup() ? QVariant::fromValue(row.timeline) : QVariant();
    default:
        return QVariant();
    }
}

QVariant ProductionsModel::data(const QModelIndex& index, int role) const
{
    const ProductionRow* const row = rowAt(index);
    if (!row)
        return QVariant();
    const ProductionRow* const dragged = m_dragged.isEmpty() ? nullptr : find(m_dragged);
    const QString objection = dragged && row != dragged ? objectionToMove(*dragged, *row) : QString();
    switch (role) {
    case Roles::KeyRole:
        return row->key;
    case Roles::ServerRole:
        return row->server;
    case Roles::GuidRole:
        return row->guid;
    case Roles::StaleRole:
        return row->isStale || !objection.isEmpty();
    case Qt::ToolTipRole:
        return objection.isEmpty() ? looks(*row, index.column(), role) : objection;
    default:
        return looks(*row, index.column(), role);
    }
}

QVariant ProductionsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || section < 0 || section >= eColumnCount)
        return QVariant();
    if (role == Qt::DisplayRole && section != eTimelineColumn)
        return tr(kTitles[section]);
    if (role == Qt::TextAlignmentRole)
        return static_cast<int>(Qt::AlignVCenter | (isNumber(section) ? Qt::AlignRight : Qt::AlignLeft));
    if (role == Qt::AccessibleTextRole && section == eTimelineColumn)
        return tr("The last 24 hours");
    return QVariant();
}

Qt::ItemFlags ProductionsModel::flags(const QModelIndex& index) const
{
    Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    const ProductionRow* const row = rowAt(index);
    if (!row || !m_isMovable || !row->isRunning() || row->isStale)
        return flags;
    if (row->type == QLatin1String("FFP"))
        flags |= Qt::ItemIsDragEnabled;
    if (row->type == QLatin1String("MCP"))
        flags |= Qt::ItemIsDropEnabled;
    return flags;
}

QStringList ProductionsModel::mimeTypes() const
{
    return {QLatin1String(kMimeType)};
}

QMimeData* ProductionsModel::mimeData(const QModelIndexList& indexes) const
{
    auto* const data = new QMimeData;
    if (const ProductionRow* const row = indexes.isEmpty() ? nullptr : rowAt(indexes.first()))
        data->setData(QLatin1String(kMimeType), row->key.toUtf8());
    return data;
}

QString ProductionsModel::droppedKey(const QMimeData* data) const
{
    return data ? QString::fromUtf8(data->data(QLatin1String(kMimeType))) : QString();
}

bool ProductionsModel::canDropMimeData(const QMimeData* data, Qt::DropAction action, int /*row*/,
                                       int /*column*/, const QModelIndex& parent) const
{
    const ProductionRow* const ffp = find(droppedKey(data));
    const ProductionRow* const target = rowAt(parent);
    return action == Qt::MoveAction && m_isMovable && ffp && target &&
           objectionToMove(*ffp, *target).isEmpty();
}

bool ProductionsModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                    const QModelIndex& parent)
{
    if (!canDropMimeData(data, action, row, column, parent))
        return false;
    Q_EMIT si_MoveWanted(droppedKey(data), rowAt(parent)->key);
    return true;
}

} // namespace KoltaConsole
