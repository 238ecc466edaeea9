#include "story.h"

#include <kolta/cli/output.h>

#include <QJsonArray>

namespace KoltaCli {

namespace {

bool isCheck(const QString& line)
{
    return line.startsWith(QLatin1String("expect "));
}

} // namespace

void Story::comment(const QString& text)
{
    const bool isTitle = text.startsWith(QLatin1Char('#'));
    if (!isTitle && m_step > 0)
        say(text.trimmed());
    if (!isTitle)
        return; // what comes before the first step is for who reads the script
    endStep();
    ++m_step;
    m_title = text.mid(1).trimmed();
    if (m_json)
        return;
    if (m_step > 1)
        printLine(QString());
    printHeading(QStringLiteral("%1. %2").arg(QString::number(m_step), m_title));
}

int Story::begin(const QString& line)
{
    if (m_json)
        return OutputManner::eSilent;
    if (!isCheck(line))
        say(QStringLiteral("> ") + line);
    return isCheck(line) ? OutputManner::eSilent : OutputManner::eSetIn;
}

void Story::end(const QString& line, int lineNumber, int exitCode, const QStringList& printed)
{
    m_output += printed;
    if (exitCode == eExitOk)
        return;
    const QString failure = QStringLiteral("line %1 (%2): %3")
                                .arg(QString::number(lineNumber), line, printed.join(QStringLiteral("; ")));
    say(QStringLiteral("FAILED: ") + failure);
    m_failures.append(failure);
}

void Story::finish(bool well)
{
    endStep();
    if (m_json)
        return;
    if (!m_remark.isEmpty())
        printLine(QLatin1Char('\n') + m_remark);
    printLine(well ? QStringLiteral("\nAll %1 steps went as they must.").arg(m_step)
                   : QStringLiteral("\nStep %1 did not go as it must.").arg(m_step));
}

void Story::endStep()
{
    if (m_json && m_step > 0) {
        QJsonObject object{{QStringLiteral("step"), m_step},
                           {QStringLiteral("title"), m_title},
                           {QStringLiteral("ok"), m_failures.isEmpty()},
                           {QStringLiteral("output"), QJsonArray::fromStringList(m_output)}};
        if (!m_failures.isEmpty())
            object[QStringLiteral("failures")] = QJsonArray::fromStringList(m_failures);
        printJson(object);
    }
    m_output.clear();
    m_failures.clear();
}

void Story::say(const QString& text) const
{
    const OutputManner manner(OutputManner::eSetIn);
    if (!m_json)
        printLine(text);
}

} // namespace KoltaCli
