#pragma once

#include <QAbstractTableModel>

#include <cstddef>
#include <deque>
#include <utility>

namespace KoltaConsole {

/// A table of rows that come on top and leave below, `most` of them at most.
template<class Row, int most>
class NewestFirst : public QAbstractTableModel
{
public:
    static constexpr int kMost = most; ///< rows

    using QAbstractTableModel::QAbstractTableModel;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
    }

protected:
    /// The newest is row 0.
    const Row& rowAt(int row) const { return m_rows.at(static_cast<std::size_t>(row)); }

    /// Takes the rows of `fresh`, oldest first and no more than `most`, and leaves it empty.
    template<class Rows>
    void putOnTop(Rows& fresh)
    {
        if (fresh.empty())
            return;
        const int count = static_cast<int>(fresh.size());
        const int room = most - count, all = static_cast<int>(m_rows.size());
        if (all > room) {
            beginRemoveRows({}, room, all - 1);
            m_rows.resize(static_cast<std::size_t>(room));
            endRemoveRows();
        }
        beginInsertRows({}, 0, count - 1);
        for (Row& row : fresh)
            m_rows.push_front(std::move(row));
        fresh.clear();
        endInsertRows();
    }

private:
    std::deque<Row> m_rows;
};

} // namespace KoltaConsole
