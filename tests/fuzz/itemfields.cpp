#include "fuzz.h"

#include <koltacommon/convertproductionresult.h>
#include <koltacommon/shapecollectionitem.h>
#include <koltacommon/shorttimeffpassignment.h>
#include <koltacommon/shorttimeprofile.h>
#include <koltacommon/shorttimeresult.h>

#include <jobdescription/frequencystore.h>
#include <jobdescription/shorttime.h>

#include <cstring>
#include <string>

using namespace Kolta;

namespace {

/// The item field with these members.
std::vector<char> fieldOf(const char* members, int size)
{
    std::vector<char> field(sizeof(quint32) + static_cast<std::size_t>(size));
    const auto count = static_cast<quint32>(size);
    std::memcpy(field.data(), &count, sizeof count);
    std::copy(members, members + size, field.begin() + sizeof count);
    return field;
}

template<class Format, class Item>
void decode(const char* field, std::size_t size, Item& item)
{
    const char* at = field;
    Fuzz::require(Format::fromCharStream(&at, item), "an item field is refused");
    Fuzz::require(at == field + size, "an item field is not passed over");
}

template<class Format, class Item>
std::string recoded(const std::string& field, Item item)
{
    decode<Format>(field.data(), field.size(), item);
    return Format::toStandardString(item);
}

/// What must hold beyond the bytes.
void requireMore(const ShortTimeProfile& profile)
{
    using Format = ShortTimeProfile_ItemFormat;
    const std::string bytes = Format::toStandardString(profile);
    const auto isSame = [&](ShortTimeProfile other) {
        other.name = profile.name; // null and empty need not stay apart
        return Format::toStandardString(other) == bytes;
    };
    Fuzz::require(isSame(ShortTimeProfile::fromRGObject(profile.toRGObject())),
                  "a profile comes back differently from its object");
    SigVConverter::CFHSeparationParameters::struHopperProfile hopper;
    profile.fillData(hopper);
    ShortTimeProfile fromHopper;
    fromHopper.assignData(hopper, profile.type);
    Fuzz::require(isSame(fromHopper), "a profile comes back differently from a hopper profile");
    JobXml::FrequencyStoreEntry entry, again;
    profile.toFSE(entry);
    const ShortTimeProfile once = ShortTimeProfile::fromFSE(entry, profile.type);
    once.toFSE(again);
    Fuzz::require(Format::toStandardString(ShortTimeProfile::fromFSE(again, profile.type)) ==
                      Format::toStandardString(once),
                  "a profile comes back differently from a frequency store entry");
    for (const auto text :
         {ShortTimeProfile_TextAdapter::toFrequency, ShortTimeProfile_TextAdapter::toHopRate,
          ShortTimeProfile_TextAdapter::toShift, ShortTimeProfile_TextAdapter::toSymbolRate})
        text(profile);
}

void requireMore(const ShortTimeFFPAssignment& assignment)
{
    Fuzz::require(ShortTimeFFPAssignment::fromRGObject(assignment.toRGObject()) == assignment,
                  "an assignment comes back differently from its object");
    SigVConverter::CSetHopperProduction command;
    assignment.fillData(command);
    ShortTimeFFPAssignment fromCommand = assignment;
    fromCommand.assignData(command);
    Fuzz::require(fromCommand == assignment, "an assignment comes back differently from its command");
}

template<class Item>
void requireMore(const Item&)
{
}

template<class Item, class Format, class Adapter>
void run(const Fuzz::Input& input)
{
    const std::vector<char> field = fieldOf(input.rest(), input.restSize());
    Item item;
    decode<Format>(field.data(), field.size(), item);
    const std::string once = Format::toStandardString(item);
    Item again;
    decode<Format>(once.data(), once.size(), again);
    Fuzz::require(Format::toStandardString(again) == once, "an item is written differently the second time");
    // An item with a number that is none is different from itself, but its lists are not from those it
    // shares.
    Item other;
    decode<Format>(once.data(), once.size(), other);
    Fuzz::require((again == item) == (again == other) && (item == again) == (other == again),
                  "an item comes back differently");
    Fuzz::require((item != again) == !(item == again), "an item is both equal and different");

    // Nothing of what an item was stays when it is read anew.
    const std::string none(sizeof(quint32), '\0');
    Fuzz::require(recoded<Format>(none, item) == recoded<Format>(none, Item()),
                  "a field without members leaves something");
    decode<Format>(field.data(), field.size(), again);
    Fuzz::require(Format::toStandardString(again) == once, "an item depends on what it was before");

    Fuzz::outcome() = Fuzz::hex(once) + ' ' + Format::GetString(item).toStdString();
    for (int column = -1; column <= Adapter::ColumnCount(); ++column) {
        const bool isColumn = column >= 0 && column < Adapter::ColumnCount();
        Fuzz::require(isColumn || Adapter::GetText4Column(column, item).isEmpty(), "a column has no place");
        if (isColumn)
            Fuzz::outcome() += '|' + Adapter::GetText4Column(column, item).toStdString();
        Adapter::GetIcon4Column(column, item, 16, 16);
    }
    Fuzz::outcome() +=
        '|' + Adapter::GetText4Tooltip(item).replace(QLatin1Char('\n'), QLatin1Char(',')).toStdString();
    requireMore(item);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Fuzz::Input input(data, size);
    using Runner = void (*)(const Fuzz::Input&);
    constexpr Runner runners[] = {
        run<ShortTimeProfile, ShortTimeProfile_ItemFormat, ShortTimeProfile_TextAdapter>,
        run<ShortTimeFFPAssignment, ShortTimeFFPAssignment_ItemFormat, ShortTimeFFPAssignment_TextAdapter>,
        run<ShortTimeResult, ShortTimeResult_ItemFormat, ShortTimeResult_TextAdapter>,
        run<ShapeCollectionItem, ShapeCollectionItem_ItemFormat, ShapeCollectionItem_TextAdapter>,
        run<ConvertProductionResult, ConvertProductionResult_ItemFormat,
            ConvertProductionResult_TextAdapter>};
    runners[input.takeByte() % 5](input);
    return 0;
}
