#pragma once

#include <common/exitcodes.h>

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace KoltaCli {

// Those of every command.
using KoltaApps::eExitCode;
using KoltaApps::eExitFailed;
using KoltaApps::eExitNoTree;
using KoltaApps::eExitOk;
using KoltaApps::eExitUsage;

/// With which code a command ends that did not get what it needs: eExitFailed, unless somebody has said
/// another since the last question.
int takeStartFailure();
void setStartFailure(int exitCode);

/// Writes one line, or several, to standard output, flushed, so that a pipe sees it at once. What came from a
/// server and would steer a terminal or turn the direction of writing is replaced.
void printLine(const QString& text);
/// The same, so that it stands out where there are colours.
void printHeading(const QString& text);
/// Writes "kolta: <text>" to standard error, always as one line.
void printError(const QString& text);
/// Writes one compact JSON object as a line to standard output. Numbers are rounded to 12 digits.
void printJson(const QJsonObject& object);

/// "1 profile", "2 profiles": how many there are of what `noun` names.
QString counted(int number, const QString& noun);
/// "yes" or "no".
QString yesNo(bool value);
/// "2.5 s".
QString secondsText(int milliseconds);
/// What a command says that had to wait: "interrupted" when its user did not want to.
QString orInterrupted(const QString& text);

/// Changes how things are printed, for as long as one lives, and remembers what is. They nest: each adds to
/// what the others do.
class OutputManner
{
public:
    enum eManner {
        eAsUsual = 0,
        eSetIn = 1,          ///< lines begin with three blanks
        eErrorsAsOutput = 2, ///< errors go to standard output, too
        eSilent = 4          ///< nothing is written
    };
    explicit OutputManner(int manners = eAsUsual);
    ~OutputManner();
    OutputManner(const OutputManner&) = delete;
    OutputManner& operator=(const OutputManner&) = delete;

    /// All that was printed since this was made, errors included.
    const QStringList& lines() const noexcept { return m_lines; }

private:
    friend void remember(const QString& text);

    OutputManner* m_outer;
    int m_outerManners;
    QStringList m_lines;
};

/// How many blanks stand before each line at present.
int blanksBeforeOutput();

/// Whether something could not be written to standard output; the first time is told on standard error,
/// unless the reader of a pipe has just had enough.
bool outputIsLost();
/// Notes that nobody reads standard output any more.
void setOutputLost();

} // namespace KoltaCli
