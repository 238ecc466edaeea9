#include <startup/onelinetext.h>

#include <algorithm>

namespace Startup {

bool forgesLines(QChar letter)
{
    if (letter == QLatin1Char('\t'))
        return false;
    const QChar::Category category = letter.category();
    return category == QChar::Other_Control || category == QChar::Other_Format ||
           category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
}

QString oneLineText(QString text)
{
    if (std::any_of(text.cbegin(), text.cend(), forgesLines))
        std::replace_if(text.begin(), text.end(), forgesLines, QChar(QChar::ReplacementCharacter));
    return text;
}

} // namespace Startup
