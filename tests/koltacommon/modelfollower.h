#pragma once

#include <koltacommon/viewroles.h>

#include <QAbstractItemModel>
#include <QStringList>

#include <algorithm>
#include <iterator>
#include <memory>
#include <vector>

/// Keeps what a model shows as a view does: read once, then changed by nothing but the model's signals.
class ModelFollower : public QObject
{
public:
    /// `without`: a column that is left out; a row that is stale says so behind its texts.
    explicit ModelFollower(const QAbstractItemModel& model, int without = -1)
        : m_model(model), m_without(without)
    {
        using Model = QAbstractItemModel;
        m_root = read(QModelIndex());
        connect(&model, &Model::rowsInserted, this, [this](const QModelIndex& parent, int first, int last) {
            auto& rows = at(parent).rows;
            for (int row = first; row <= last; ++row)
                rows.insert(rows.begin() + row, read(m_model.index(row, 0, parent)));
        });
        connect(&model, &Model::rowsRemoved, this, [this](const QModelIndex& parent, int first, int last) {
            auto& rows = at(parent).rows;
            rows.erase(rows.begin() + first, rows.begin() + last + 1);
        });
        // Afterwards the move itself may have changed where the two parents stand.
        connect(&model, &Model::rowsAboutToBeMoved, this,
                [this](const QModelIndex& from, int, int, const QModelIndex& to) {
                    m_from = &at(from);
                    m_to = &at(to);
                });
        connect(&model, &Model::rowsMoved, this,
                [this](const QModelIndex&, int first, int last, const QModelIndex&, int target) {
                    std::vector<std::unique_ptr<Node>> moved(
                        std::make_move_iterator(m_from->rows.begin() + first),
                        std::make_move_iterator(m_from->rows.begin() + last + 1));
                    m_from->rows.erase(m_from->rows.begin() + first, m_from->rows.begin() + last + 1);
                    const bool isBehind = m_from == m_to && target > last; // counted with those that move
                    const int place = isBehind ? target - (last - first + 1) : target;
                    m_to->rows.insert(m_to->rows.begin() + place, std::make_move_iterator(moved.begin()),
                                      std::make_move_iterator(moved.end()));
                });
        connect(&model, &Model::dataChanged, this, [this](const QModelIndex& first, const QModelIndex& last) {
            for (int row = first.row(); row <= last.row(); ++row) {
                const QModelIndex index = first.sibling(row, 0);
                at(index).text = textOf(index);
            }
        });
        connect(&model, &Model::modelReset, this, [this] { ++resets; });
        connect(&model, &Model::layoutChanged, this, [this] {
            ++layouts;
            m_root = read(QModelIndex());
        });
    }

    /// One line for each row, indented by its level.
    QStringList lines() const { return linesOf(*m_root, QString()); }
    /// The same as the model has it now.
    QStringList modelLines() const { return linesOf(*read(QModelIndex()), QString()); }

    int resets = 0;
    int layouts = 0;

private:
    struct Node
    {
        QString text;
        std::vector<std::unique_ptr<Node>> rows;
    };

    QString textOf(const QModelIndex& index) const
    {
        QStringList texts;
        for (int column = 0; index.isValid() && column < m_model.columnCount(index.parent()); ++column) {
            if (column != m_without)
                texts << index.sibling(index.row(), column).data().toString();
        }
        const bool isStale = index.data(Kolta::ViewRoles::StaleRole).toBool();
        return texts.join(QLatin1Char('|')) + (isStale ? QStringLiteral(" (stale)") : QString());
    }
    std::unique_ptr<Node> read(const QModelIndex& index) const
    {
        auto node = std::make_unique<Node>();
        node->text = textOf(index);
        for (int row = 0; row < m_model.rowCount(index); ++row)
            node->rows.push_back(read(m_model.index(row, 0, index)));
        return node;
    }
    Node& at(const QModelIndex& index)
    {
        return index.isValid() ? *at(index.parent()).rows.at(static_cast<std::size_t>(index.row())) : *m_root;
    }
    static QStringList linesOf(const Node& node, const QString& indent)
    {
        QStringList lines;
        for (const auto& row : node.rows) {
            lines << indent + row->text;
            lines << linesOf(*row, indent + QLatin1Char(' '));
        }
        return lines;
    }

    const QAbstractItemModel& m_model;
    const int m_without;
    std::unique_ptr<Node> m_root;
    Node* m_from = nullptr;
    Node* m_to = nullptr;
};
