#pragma once

#include <QObject>

#include <initializer_list>
#include <vector>

class QTreeView;

namespace KoltaConsole {

/// Keeps all columns of a table in sight: where it is too narrow some give way, and their texts end with an
/// ellipsis. Wider again, all are as before.
class ColumnFit : public QObject
{
    Q_OBJECT

public:
    /// Each gives way down to its least width before the next one does.
    struct Yielding
    {
        int column;
        int least; ///< px
    };

    /// The widths of now are those that are wanted. `last`: what the last column needs, which takes the rest.
    ColumnFit(QTreeView& view, std::initializer_list<Yielding> yielding, int last);
    /// Null for a table whose columns do not give way.
    static ColumnFit* of(const QTreeView& view);

    /// Takes the widths of now for those that are wanted, and fits.
    void take();
    /// Gives the columns the wanted widths, until it fits again.
    void release();
    void fit();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void fitInto(int room);

    QTreeView& m_view;
    const std::vector<Yielding> m_yielding;
    const int m_last;
    std::vector<int> m_wanted; ///< by column, but of the last
    bool m_isFitting = false;
};

} // namespace KoltaConsole
