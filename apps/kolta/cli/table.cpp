#include "table.h"

#include "output.h"
#include "terminal.h"

#include <common/textwrap.h>
#include <startup/onelinetext.h>

#include <algorithm>
#include <numeric>

namespace KoltaCli {

namespace {

constexpr int kGap = 2;

QString trimmedRight(QString line)
{
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line;
}

int longestWord(const QString& text)
{
    int longest = 0;
    for (const QString& word : text.split(QLatin1Char(' ')))
        longest = qMax(longest, word.size());
    return longest;
}

} // namespace

void Table::addRow(const QStringList& cells)
{
    QStringList shown;
    for (const QString& cell : cells)
        shown.append(Startup::oneLineText(cell));
    m_rows.append(shown);
}

/// Narrows columns of text until all fits. False when it does not even then. The first column names what the
/// row is about and stays whole.
bool Table::fit(QVector<int>& widths, int width) const
{
    QVector<int> narrowest = widths;
    for (int column = 1; column < widths.size(); ++column) {
        if (m_right.contains(column))
            continue;
        narrowest[column] = m_header.at(column).size();
        for (const QStringList& row : m_rows)
            narrowest[column] = qMax(narrowest[column], longestWord(row.value(column)));
    }
    int excess = std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1)) - width;
    for (; excess > 0; --excess) {
        int widest = -1;
        for (int column = 0; column < widths.size(); ++column) {
            if (widths[column] > narrowest[column] && (widest < 0 || widths[column] > widths[widest]))
                widest = column;
        }
        if (widest < 0)
            return false;
        --widths[widest];
    }
    return true;
}

QStringList Table::lines(const QStringList& cells, const QVector<int>& widths) const
{
    QVector<QStringList> columns;
    int height = 1;
    for (int column = 0; column < widths.size(); ++column) {
        columns.append(KoltaApps::wrapped(cells.value(column), widths[column]));
        height = qMax(height, columns.last().size());
    }
    QStringList lines;
    for (int i = 0; i < height; ++i) {
        QString line;
        for (int column = 0; column < widths.size(); ++column) {
            const QString cell = columns[column].value(i);
            line += QString(column == 0 ? 0 : kGap, QLatin1Char(' '));
            line += m_right.contains(column) ? cell.rightJustified(widths[column])
                                             : cell.leftJustified(widths[column]);
        }
        lines.append(trimmedRight(line));
    }
    return lines;
}

QStringList Table::blocks() const
{
    int width = 0;
    for (const QString& title : m_header)
        width = qMax(width, title.size());
    QStringList lines;
    for (const QStringList& row : m_rows) {
        if (!lines.isEmpty())
            lines.append(QString());
        for (int column = 0; column < m_header.size(); ++column) {
            const QString cell = row.value(column);
            if (!cell.isEmpty())
                lines.append(m_header.at(column).leftJustified(width + kGap) + cell);
        }
    }
    return lines;
}

QVector<int> Table::naturalWidths() const
{
    QVector<int> widths;
    for (const QString& title : m_header)
        widths.append(title.size());
    for (const QStringList& row : m_rows) {
        for (int column = 0; column < widths.size(); ++column)
            widths[column] = qMax(widths[column], row.value(column).size());
    }
    return widths;
}

QStringList Table::toLines(int width) const
{
    QVector<int> widths = naturalWidths();
    if (!fit(widths, width))
        return blocks();
    QStringList all = lines(m_header, widths);
    for (const QStringList& row : m_rows)
        all += lines(row, widths);
    return all;
}

void Table::print() const
{
    const int width = outputWidth() - blanksBeforeOutput();
    QStringList all = toLines(width);
    QVector<int> widths = naturalWidths();
    if (fit(widths, width))
        printHeading(all.takeFirst());
    if (!all.isEmpty())
        printLine(all.join(QLatin1Char('\n')));
}

QString yes(bool value)
{
    return value ? QStringLiteral("yes") : QString();
}

void printTable(const Table& table, const QString& whenEmpty)
{
    if (table.isEmpty())
        printLine(whenEmpty);
    else
        table.print();
}

} // namespace KoltaCli
