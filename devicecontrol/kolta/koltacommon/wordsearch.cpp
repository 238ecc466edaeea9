#include <koltacommon/wordsearch.h>

namespace Kolta {

namespace {

enum class Sign { Letter, Digit, Other };

Sign signOf(QChar sign)
{
    return sign.isDigit() ? Sign::Digit : sign.isLetter() ? Sign::Letter : Sign::Other;
}

bool isBreak(QChar before, QChar after)
{
    return signOf(after) == Sign::Other || signOf(before) != signOf(after);
}

} // namespace

bool hasWord(const QString& text, const QString& word, Qt::CaseSensitivity sensitivity)
{
    if (word.isEmpty())
        return true;
    const bool isNumber = word.back().isDigit();
    for (int at = text.indexOf(word, 0, sensitivity); at >= 0; at = text.indexOf(word, at + 1, sensitivity)) {
        const int end = at + word.size();
        const bool isCut = isNumber && end < text.size() && text.at(end).isDigit();
        if (!isCut && (at == 0 || isBreak(text.at(at - 1), text.at(at))))
            return true;
    }
    return false;
}

bool hasLine(const QString& text, const QString& line)
{
    constexpr QChar kNewLine = QLatin1Char('\n');
    for (int at = 0; at >= 0 && at <= text.size();) {
        const int end = text.indexOf(kNewLine, at);
        if (text.midRef(at, end < 0 ? -1 : end - at) == line)
            return true;
        at = end < 0 ? -1 : end + 1;
    }
    return false;
}

} // namespace Kolta
