#include <koltacommon/shapecollectionitem.h>

#include <koltacommon/itemfield.h>
#include <koltacommon/shorttimeprofile.h>

#include <tuple>

namespace Kolta {

namespace {

using Shape = ShapeCollectionItem;
using ProfileText = ShortTimeProfile_TextAdapter;

constexpr const char* kContext = "Kolta::ShapeCollectionItem_TextAdapter";

/// The members in the order in which they travel.
constexpr auto kMembers = [](auto& io, auto& shape) {
    io(shape.name);
    io(shape.description);
    io(shape.signalClass);
    io(shape.centreFrequency);
    io(shape.span);
    io(shape.tolerance);
    io(shape.samples);
};

constexpr TextColumn<Shape> kColumnTable[] = {
    {QT_TRANSLATE_NOOP("Kolta::ShapeCollectionItem_TextAdapter", "Name"),
     [](const Shape& s) { return s.name; }},
    {QT_TRANSLATE_NOOP("Kolta::ShapeCollectionItem_TextAdapter", "Class"),
     [](const Shape& s) { return s.signalClass; }},
    {QT_TRANSLATE_NOOP("Kolta::ShapeCollectionItem_TextAdapter", "Frequency"),
     [](const Shape& s) { return s.centreFrequency ? ProfileText::formatHz(s.centreFrequency) : QString(); }},
    {QT_TRANSLATE_NOOP("Kolta::ShapeCollectionItem_TextAdapter", "Span"),
     [](const Shape& s) { return ProfileText::formatString(s.span / 1000, 3, QStringLiteral(" kHz")); }},
    {QT_TRANSLATE_NOOP("Kolta::ShapeCollectionItem_TextAdapter", "Tolerance"),
     [](const Shape& s) { return ProfileText::formatString(s.tolerance, 1, QStringLiteral(" dB")); }},
    {QT_TRANSLATE_NOOP("Kolta::ShapeCollectionItem_TextAdapter", "Samples"),
     [](const Shape& s) { return QString::number(s.samples.size()); }},
    {QT_TRANSLATE_NOOP("Kolta::ShapeCollectionItem_TextAdapter", "Description"),
     [](const Shape& s) { return s.description; }}};

} // namespace

bool ShapeCollectionItem::operator==(const ShapeCollectionItem& other) const
{
    const auto all = [](const Shape& s) {
        return std::tie(s.name, s.description, s.signalClass, s.centreFrequency, s.span, s.tolerance,
                        s.samples);
    };
    return all(*this) == all(other);
}

QString ShapeCollectionItem_ItemFormat::GetString(const Shape& shape)
{
    return QLatin1String("Shape_") + shape.name;
}

std::string ShapeCollectionItem_ItemFormat::toStandardString(const Shape& shape)
{
    constexpr int fixedSize = 41;
    const int units = shape.name.size() + shape.description.size() + shape.signalClass.size();
    return itemfield::toField(shape, kMembers,
                              fixedSize + 2 * static_cast<std::size_t>(units) +
                                  sizeof(double) * static_cast<std::size_t>(shape.samples.size()));
}

bool ShapeCollectionItem_ItemFormat::fromCharStream(const char** stream, Shape& shape)
{
    return itemfield::fromField(stream, shape, kMembers);
}

const TextColumns<Shape>& ShapeCollectionItem_TextAdapter::columns()
{
    static constexpr TextColumns<Shape> all(kContext, kColumnTable);
    return all;
}

} // namespace Kolta
