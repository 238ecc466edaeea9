#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace KoltaCli {

/// What the demo tells: text for people as it happens, or one JSON object per step for programs. A step fails
/// with the first check of it that fails.
class DemoReport
{
public:
    explicit DemoReport(bool json) : m_json(json) {}

    void beginStep(const QString& title);
    /// A line of the story.
    void say(const QString& text);
    /// Several lines that are printed as they are.
    void show(const QString& block);
    /// A figure of the step.
    void set(const QString& name, const QJsonValue& value) { m_facts[name] = value; }
    /// Notes and says that something did not go as it must.
    bool check(bool holds, const QString& whatMustHold);
    /// Ends the step; true when it went as it must.
    bool endStep();

    /// Whether every step so far went as it must.
    bool allWell() const noexcept { return m_failedSteps.isEmpty(); }
    /// The titles of the steps that did not.
    const QStringList& failedSteps() const noexcept { return m_failedSteps; }

private:
    bool m_json;
    int m_number = 0;
    QString m_title;
    QJsonObject m_facts;
    QStringList m_failures;
    QStringList m_failedSteps;
};

} // namespace KoltaCli
