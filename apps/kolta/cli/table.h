#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

namespace KoltaCli {

/// Rows of text under a header, in aligned columns.
///
/// What is too wide has its texts broken at blanks; where that is not enough, each row becomes a block with a
/// line per cell. Nothing is cut off, so a GUID can be copied from any width.
class Table
{
public:
    explicit Table(const QStringList& header) : m_header(header) {}
    /// Missing cells stay empty, surplus ones are left out. What forges lines is shown as U+FFFD, so that no
    /// cell looks like another row.
    void addRow(const QStringList& cells);
    /// Columns of numbers are aligned to the right.
    void alignRight(const QVector<int>& columns) { m_right += columns; }
    bool isEmpty() const noexcept { return m_rows.isEmpty(); }

    /// In lines of at most `width` letters, unless a single word is longer. The header comes first, except
    /// in blocks.
    QStringList toLines(int width) const;
    /// To standard output, as wide as that is.
    void print() const;

private:
    QVector<int> naturalWidths() const;
    bool fit(QVector<int>& widths, int width) const;
    QStringList lines(const QStringList& cells, const QVector<int>& widths) const;
    QStringList blocks() const;

    QStringList m_header;
    QVector<QStringList> m_rows;
    QVector<int> m_right;
};

/// The cell of what is so or not.
QString yes(bool value);

/// Prints the table, or that line when it has no rows.
void printTable(const Table& table, const QString& whenEmpty);

} // namespace KoltaCli
