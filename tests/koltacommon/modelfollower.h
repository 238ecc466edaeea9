#pragma once

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
    explicit ModelFollower(const QAbstractItemModel& model) : m_model(model)
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
        connect(&model, &Model::rowsMoved, this,
                [this](const QModelIndex& from, int first, int last, const QModelIndex& to, int target) {
                    auto& source = at(from).rows;
                    auto& rows = at(to).rows;
                    rows.insert(rows.begin() + target, std::make_move_iterator(source.begin() + first),
                                std::make_move_iterator(source.begin() + last + 1));
                    source.erase(source.begin() + first, source.begin() + last + 1);
                });
        connect(&model, &Model::dataChanged, this, [this](const QModelIndex& first, const QModelIndex& last) {
            for (int row = first.row(); row <= last.row(); ++row) {
                const QModelIndex index = first.sibling(row, 0);
                at(index).text = textOf(index);
            }
        });
        connect(&model, &Model::modelReset, this, [this] { ++resets; });
        connect(&model, &Model::layoutChanged, this, [this] { ++resets; });
    }

    /// One line for each row, indented by its level.
    QStringList lines() const { return linesOf(*m_root, QString()); }
    /// The same as the model has it now.
    QStringList modelLines() const { return linesOf(*read(QModelIndex()), QString()); }

    int resets = 0;

private:
    struct Node
    {
        QString text;
        std::vector<std::unique_ptr<Node>> rows;
    };

    QString textOf(const QModelIndex& index) const
    {
        QStringList texts;
        for (int column = 0; index.isValid() && column < m_model.columnCount(index.parent()); ++column)
            texts << index.sibling(index.row(), column).data().toString();
        return texts.join(QLatin1Char('|'));
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
    std::unique_ptr<Node> m_root;
};
