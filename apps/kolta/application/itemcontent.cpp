#include "itemcontent.h"

#include <startup/onelinetext.h>

#include <values/command.h>
#include <values/value.h>

namespace KoltaCli {

namespace {

using values::TreeItem;
using values::ValueBase;

bool isHalf(const QString& text, int place)
{
    const QChar letter = text.at(place);
    if (letter.isHighSurrogate())
        return place + 1 == text.size() || !text.at(place + 1).isLowSurrogate();
    return letter.isLowSurrogate() && (place == 0 || !text.at(place - 1).isHighSurrogate());
}

QString hexadecimal(const char* bytes, std::size_t size)
{
    return QString::fromLatin1(QByteArray(bytes, static_cast<int>(size)).toHex());
}

/// The commands that fill a collection stand in no order, so they are sorted.
QStringList commandsOf(ValueBase& value)
{
    std::string content;
    value.AddObjectStateStringForTransmission(content, values::eTransmitPlain);
    values::ByteReader in(content.data(), content.size());
    values::ValueHeader state;
    QStringList commands;
    ReadValueHeader(in, state);
    while (!in.AtEnd()) {
        const char* const start = in.Position();
        values::CommandHeader header;
        if (!ReadCommandHeader(in, header) || !in.Skip(header.payload))
            break;
        commands.append(hexadecimal(start, static_cast<std::size_t>(in.Position() - start)));
    }
    commands.sort();
    return commands;
}

void describe(const values::SelectionValue& value, ItemContent& content)
{
    content.lines.append(QStringLiteral("selected %1").arg(value.GetSelectedKey()));
    QStringList members;
    for (auto item = value.GetItems().begin(); item != value.GetItems().end(); ++item) {
        content.lines.append(QStringLiteral("%1 %2").arg(item.key()).arg(escaped(item.value())));
        members.append(QStringLiteral("\"%1\":").arg(item.key()) + jsonString(item.value()));
    }
    content.json = QStringLiteral("{\"items\":{") + members.join(QLatin1Char(',')) +
                   QStringLiteral("},\"selected\":%1}").arg(value.GetSelectedKey());
}

} // namespace

QString escaped(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (int place = 0; place < text.size(); ++place) {
        const QChar letter = text.at(place);
        if (letter == QLatin1Char('\\'))
            result += QLatin1String("\\\\");
        else if (letter == QLatin1Char('\n'))
            result += QLatin1String("\\n");
        else if (letter == QLatin1Char('\t') || Startup::forgesLines(letter) || isHalf(text, place))
            result += QStringLiteral("\\u%1").arg(letter.unicode(), 4, 16, QLatin1Char('0'));
        else
            result += letter;
    }
    return result;
}

QString jsonString(const QString& text)
{
    const QString mark = QStringLiteral("\"");
    return mark + escaped(text).replace(mark, QStringLiteral("\\\"")) + mark;
}

ItemContent ItemContent::of(TreeItem& item)
{
    ItemContent content{QStringLiteral("Node"), {}, QStringLiteral("null")};
    auto* const value = dynamic_cast<ValueBase*>(&item);
    if (!value)
        return content;
    content.type = value->GetTypeName();
    if (const auto* const text = dynamic_cast<const values::StringValue*>(value)) {
        content.lines.append(escaped(text->GetValue()));
        content.json = jsonString(text->GetValue());
        return content;
    }
    if (const auto* const selection = dynamic_cast<const values::SelectionValue*>(value)) {
        describe(*selection, content);
        return content;
    }
    std::string bytes;
    content.lines = value->AppendContent(bytes) ? QStringList(hexadecimal(bytes.data(), bytes.size()))
                                                : commandsOf(*value);
    content.json = content.lines.isEmpty()
                       ? QStringLiteral("[]")
                       : QStringLiteral("[\"%1\"]").arg(content.lines.join(QStringLiteral("\",\"")));
    return content;
}

} // namespace KoltaCli
