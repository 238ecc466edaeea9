#include "demoreport.h"

#include <kolta/cli/output.h>

#include <QJsonArray>

namespace KoltaCli {

void DemoReport::beginStep(const QString& title)
{
    ++m_number;
    m_title = title;
    m_facts = QJsonObject();
    m_failures.clear();
    if (!m_json)
        printLine(
            QStringLiteral("%1%2. %3")
                .arg(m_number > 1 ? QStringLiteral("\n") : QString(), QString::number(m_number), title));
}

void DemoReport::say(const QString& text)
{
    if (!m_json)
        printLine(text.isEmpty() ? text : QString(QStringLiteral("   ") + text));
}

void DemoReport::show(const QString& block)
{
    for (const QString& line : block.split(QLatin1Char('\n')))
        say(line);
}

bool DemoReport::check(bool holds, const QString& whatMustHold)
{
    if (!holds) {
        m_failures.append(whatMustHold);
        say(QStringLiteral("FAILED: ") + whatMustHold);
    }
    return holds;
}

bool DemoReport::endStep()
{
    const bool well = m_failures.isEmpty();
    if (!well)
        m_failedSteps.append(m_title);
    if (m_json) {
        m_facts[QStringLiteral("step")] = m_number;
        m_facts[QStringLiteral("title")] = m_title;
        m_facts[QStringLiteral("ok")] = well;
        if (!well)
            m_facts[QStringLiteral("failures")] = QJsonArray::fromStringList(m_failures);
        printJson(m_facts);
    }
    return well;
}

} // namespace KoltaCli
