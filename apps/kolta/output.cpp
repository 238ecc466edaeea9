#include "output.h"

#include <QJsonDocument>
#include <QTextStream>

#include <cstdio>

namespace KoltaCli {

namespace {

void write(FILE* file, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file);
    std::fputc('\n', file);
    std::fflush(file);
}

} // namespace

QString Table::line(const QStringList& cells, const QVector<int>& widths) const
{
    QString text;
    for (int column = 0; column < widths.size(); ++column) {
        const QString cell = cells.value(column);
        const QString gap = column == 0 ? QString() : QStringLiteral("  ");
        text += gap;
        text += m_right.contains(column) ? cell.rightJustified(widths[column]) : cell.leftJustified(widths[column]);
    }
    while (text.endsWith(QLatin1Char(' ')))
        text.chop(1);
    return text;
}

QString Table::toText() const
{
    QVector<int> widths;
    for (const QString& title : m_header)
        widths.append(title.size());
    for (const QStringList& row : m_rows) {
        for (int column = 0; column < widths.size(); ++column)
            widths[column] = qMax(widths[column], row.value(column).size());
    }
    QStringList lines{line(m_header, widths)};
    for (const QStringList& row : m_rows)
        lines.append(line(row, widths));
    return lines.join(QLatin1Char('\n'));
}

void printLine(const QString& text)
{
    write(stdout, text);
}

void printError(const QString& text)
{
    write(stderr, QStringLiteral("kolta: ") + text);
}

void printJson(const QJsonObject& object)
{
    write(stdout, QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

} // namespace KoltaCli
