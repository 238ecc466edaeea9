#include "textwrap.h"

namespace KoltaApps {

QStringList wrapped(const QString& text, int width)
{
    if (text.size() <= width)
        return {text};
    QStringList lines;
    for (const QString& word : text.split(QLatin1Char(' '))) {
        if (lines.isEmpty() || lines.last().size() + 1 + word.size() > width)
            lines.append(word);
        else
            lines.last() += QLatin1Char(' ') + word;
    }
    return lines;
}

} // namespace KoltaApps
