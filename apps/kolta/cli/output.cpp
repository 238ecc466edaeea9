#include "output.h"

#include <QJsonDocument>

#include <cerrno>
#include <cstdio>

namespace KoltaCli {

namespace {

bool isLost = false;
bool isMute = false;

QString printable(QString text)
{
    for (QChar& letter : text) {
        if (letter.category() == QChar::Other_Control && letter != QLatin1Char('\n') &&
            letter != QLatin1Char('\t'))
            letter = QChar::ReplacementCharacter;
    }
    return text;
}

bool write(FILE* file, const QString& text)
{
    if (isMute)
        return true;
    const QByteArray bytes = printable(text).toUtf8() + '\n';
    const std::size_t size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, file) == size && std::fflush(file) == 0;
}

} // namespace

QString Table::line(const QStringList& cells, const QVector<int>& widths) const
{
    QString text;
    for (int column = 0; column < widths.size(); ++column) {
        const QString cell = cells.value(column);
        const QString gap = column == 0 ? QString() : QStringLiteral("  ");
        text += gap;
        text += m_right.contains(column) ? cell.rightJustified(widths[column])
                                         : cell.leftJustified(widths[column]);
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
    if (isLost || write(stdout, text))
        return;
    const int error = errno;
    isLost = true;
    if (error != EPIPE)
        printError(QStringLiteral("cannot write to standard output: %1").arg(qt_error_string(error)));
}

QString counted(int number, const QString& noun)
{
    return QStringLiteral("%1 %2%3").arg(QString::number(number), noun,
                                         number == 1 ? QString() : QStringLiteral("s"));
}

void printError(const QString& text)
{
    write(stderr, QStringLiteral("kolta: ") + text);
}

void printJson(const QJsonObject& object)
{
    printLine(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

OutputMute::OutputMute()
{
    isMute = true;
}

OutputMute::~OutputMute()
{
    isMute = false;
}

bool outputIsLost()
{
    return isLost;
}

void setOutputLost()
{
    isLost = true;
}

} // namespace KoltaCli
