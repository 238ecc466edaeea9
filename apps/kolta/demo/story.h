#pragma once

#include <kolta/shell/teller.h>

#include <QString>
#include <QStringList>

namespace KoltaCli {

/// Tells what a script does as a story in steps. In the script a line that begins with "##" is the title of a
/// step, one that begins with "#" a sentence of it; what a command prints stands below the command. A line
/// that checks is told only when it fails. For programs each step is one JSON object.
class Story : public Teller
{
public:
    explicit Story(bool json) : m_json(json) {}

    void comment(const QString& text) override;
    int begin(const QString& line) override;
    void end(const QString& line, int lineNumber, int exitCode, const QStringList& printed) override;
    /// A sentence that is told at the end.
    void setRemark(const QString& remark) { m_remark = remark; }
    /// Tells how it went.
    void finish(bool well);

private:
    void endStep();
    void say(const QString& text) const;

    bool m_json;
    int m_step = 0; ///< counted from 1
    QString m_title;
    QString m_remark;
    QStringList m_output; ///< of the step, for programs
    QStringList m_failures;
};

} // namespace KoltaCli
