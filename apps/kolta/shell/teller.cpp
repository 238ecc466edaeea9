#include "teller.h"

#include <kolta/cli/output.h>

namespace KoltaCli {

int ScriptTeller::begin(const QString&)
{
    return OutputManner::eAsUsual;
}

void ScriptTeller::end(const QString& line, int lineNumber, int exitCode, const QStringList&)
{
    if (exitCode != eExitOk)
        printError(QStringLiteral("line %1 (%2) ended with exit code %3")
                       .arg(QString::number(lineNumber), line, QString::number(exitCode)));
}

} // namespace KoltaCli
