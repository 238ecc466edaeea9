#include <startup/onelinetext.h>

#include <algorithm>

namespace Startup {

namespace {

bool forges(QChar c)
{
    const QChar::Category category = c.category();
    return category == QChar::Other_Control || category == QChar::Other_Format ||
           category == QChar::Separator_Line || category == QChar::Separator_Paragraph;
}

} // namespace

QString oneLineText(QString text)
{
    if (std::any_of(text.cbegin(), text.cend(), forges))
        std::replace_if(text.begin(), text.end(), forges, QChar(QChar::ReplacementCharacter));
    return text;
}

} // namespace Startup
