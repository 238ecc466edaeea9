#pragma once

#include <koltacommon/export.h>

#include <QString>
#include <QtGlobal>

#include <utility>
#include <vector>

namespace Kolta {

/// Columns of a row, a bit each; column 0 is the lowest.
using ColumnSet = quint32;
constexpr ColumnSet columnBit(int column)
{
    return ColumnSet(1) << column;
}

/// A row whose columns hold other data.
struct RowChange
{
    int row;
    ColumnSet columns; ///< not empty
};

/// Rows that stand together.
struct RowRange
{
    int first;
    int last;
};

/// The way from one list of rows to another in steps as models tell them: taken one after the other in this
/// order, the removals, the moves or the rearrangement, and the insertions make the one out of the other.
/// Rows are told apart by keys; no key occurs twice in one list.
///
/// What stays is as much as possible: rows that keep their order are not moved. It takes a time in proportion
/// to both lists, and that of the moves on top, which is why many of them are one rearrangement.
class KOLTA_COMMON_EXPORT RowDifference
{
public:
    static constexpr int kMostMoves = 64;

    struct Move
    {
        int from;
        int to; ///< where it stands afterwards
    };

    RowDifference(const std::vector<QString>& before, const std::vector<QString>& after);

    /// From the last to the first.
    std::vector<RowRange> removals;
    /// One after the other, each in the rows as the one before has left them; at most kMostMoves.
    std::vector<Move> moves;
    /// In the place of moves when they are more: the row at place i comes from place order[i].
    std::vector<int> order;
    /// From the first to the last; places in the new list.
    std::vector<RowRange> insertions;

private:
    void arrange(std::vector<int> targets);
    void surroundOrder(int head, int tail);
};

/// Calls `tell(first, last, firstColumn, lastColumn)` for each run of neighbours among the changes, which are
/// in the order of their rows; false as soon as a call is.
template<class Tell>
bool forEachRun(const std::vector<RowChange>& changes, const Tell& tell)
{
    for (auto first = changes.begin(); first != changes.end();) {
        ColumnSet columns = first->columns;
        auto end = first + 1;
        while (end != changes.end() && end->row == (end - 1)->row + 1)
            columns |= (end++)->columns;
        int low = 0;
        while (!(columns & columnBit(low)))
            ++low;
        int high = low;
        for (int column = low; column < 32; ++column) {
            if (columns & columnBit(column))
                high = column;
        }
        if (!tell(first->row, (end - 1)->row, low, high))
            return false;
        first = end;
    }
    return true;
}

} // namespace Kolta
