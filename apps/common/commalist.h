#pragma once

#include <QString>
#include <QStringList>

namespace KoltaApps {

/// Names as the value of one option, with commas between them. A comma within a name is written twice.
QString commaList(const QStringList& names);
/// The names of such a list, without blanks at their ends; none is empty.
QStringList namesOf(const QString& commaList);

} // namespace KoltaApps
