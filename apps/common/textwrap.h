#pragma once

#include <QString>
#include <QStringList>

namespace KoltaApps {

constexpr int kHelpWidth = 79; ///< letters in a line of help

/// Breaks a text at blanks, such that each line has at most `width` letters where words let it.
QStringList wrapped(const QString& text, int width);

} // namespace KoltaApps
