#include <startup/onelinetext.h>

#include <algorithm>

namespace Startup {

bool isUnseen(uint character)
{
    const QChar::Category category = QChar::category(character);
    return category == QChar::Other_Control || category == QChar::Other_Format ||
           category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
}

bool forgesLines(QChar letter)
{
    return letter != QLatin1Char('\t') && isUnseen(letter.unicode());
}

QString oneLineText(QString text)
{
    if (std::any_of(text.cbegin(), text.cend(), forgesLines))
        std::replace_if(text.begin(), text.end(), forgesLines, QChar(QChar::ReplacementCharacter));
    return text;
}

} // namespace Startup
