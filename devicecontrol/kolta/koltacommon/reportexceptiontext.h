#pragma once

#include <resourcemodel/rgobject.h>

#include <QString>

namespace Kolta {

/// What is traced of a record that cannot be read or written. Support tools match on the form.
inline QString reportExceptionText(const REPORTGENERATOR::RGException& exception)
{
    return QStringLiteral("ReportException %1: %2").arg(exception.GetTitle(), exception.GetText());
}

} // namespace Kolta
