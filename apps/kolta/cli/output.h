#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

namespace KoltaCli {

/// Exit codes of every command.
enum eExitCode : int {
    eExitOk = 0,     ///< all went as it must
    eExitFailed = 1, ///< the work could not be done
    eExitUsage = 2   ///< the command line is wrong
};

/// Rows of text under a header, printed in aligned columns.
class Table
{
public:
    explicit Table(const QStringList& header) : m_header(header) {}
    /// Missing cells stay empty, surplus ones are left out.
    void addRow(const QStringList& cells) { m_rows.append(cells); }
    /// Columns of numbers are aligned to the right.
    void alignRight(int column) { m_right.append(column); }
    QString toText() const;

private:
    QString line(const QStringList& cells, const QVector<int>& widths) const;

    QStringList m_header;
    QVector<QStringList> m_rows;
    QVector<int> m_right;
};

/// Writes one line to standard output, flushed, so that a pipe sees it at once. Control characters that came
/// from a server are replaced, so that they cannot reach a terminal.
void printLine(const QString& text);
/// "1 profile", "2 profiles": how many there are of what `noun` names.
QString counted(int number, const QString& noun);
/// Writes "kolta: <text>" to standard error.
void printError(const QString& text);
/// Writes one compact JSON object as a line to standard output.
void printJson(const QJsonObject& object);

/// While one lives nothing is written.
class OutputMute
{
public:
    OutputMute();
    ~OutputMute();
    OutputMute(const OutputMute&) = delete;
    OutputMute& operator=(const OutputMute&) = delete;
};

/// Whether something could not be written to standard output; the first time is told on standard error,
/// unless the reader of a pipe has just had enough.
bool outputIsLost();
/// Notes that nobody reads standard output any more.
void setOutputLost();

} // namespace KoltaCli
