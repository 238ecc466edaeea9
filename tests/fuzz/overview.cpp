#include "fuzz.h"

#include "../resourcemodel/allclasses.h"

#include <resourcemodel/textreader.h>

#include <QXmlStreamReader>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

using namespace REPORTGENERATOR;

namespace {

/// UTF-8, or UTF-16 behind FF FE: only that can hold lone surrogates.
QString textOf(const Fuzz::Input& input)
{
    if (input.restSize() < 2 || input.rest()[0] != '\xFF' || input.rest()[1] != '\xFE')
        return QString::fromUtf8(input.rest(), input.restSize());
    QString text(input.restSize() / 2 - 1, Qt::Uninitialized);
    std::memcpy(text.data(), input.rest() + 2, static_cast<std::size_t>(text.size()) * 2);
    return text;
}

/// An empty object of the class that the root element names; an overview of resources if there is no such
/// class.
ObjectPointer objectFor(const QString& xml)
{
    QXmlStreamReader reader(xml);
    reader.readNextStartElement();
    ObjectPointer object = newObject(reader.name().toString());
    return object ? std::move(object) : std::make_unique<RESOURCEMANAGEMENT::ResourceOverview>();
}

/// What an object gives as XML; null when it must not be written, which Check() tells too.
QString written(const IRGObject& object)
{
    QString error;
    const bool complete = object.Check(error);
    try {
        const QString xml = object.GetXmlString();
        Fuzz::require(complete, "an incomplete object was written");
        return xml;
    } catch (const RGException& e) {
        Fuzz::require(!complete && e.GetText() == error, "an object that was read cannot be written");
        return QString();
    }
}

template<class Read>
QString errorOf(Read read)
{
    try {
        read();
        return QString();
    } catch (const RGException& e) {
        Fuzz::require(!e.GetText().isEmpty(), "a refused text has no reason");
        return e.GetText();
    }
}

/// How the text is to be edited: 0xFE, which begins no text, how many edits there are, and five bytes for
/// each.
std::vector<std::array<int, 5>> takeEdits(Fuzz::Input& input)
{
    std::vector<std::array<int, 5>> edits;
    if (input.restSize() < 2 || input.rest()[0] != '\xFE')
        return {{1, 85, 0, 170, 0}}; // without the piece in the middle
    input.takeByte();
    for (int count = input.takeByte() % 4; count > 0; --count) {
        edits.emplace_back();
        for (int& byte : edits.back())
            byte = input.takeByte();
    }
    return edits;
}

/// A place in the text that a byte and the next choose; the last bit says whether it is one where a tag
/// begins.
int placeIn(const QString& text, int high, int low)
{
    const int place = static_cast<int>((256LL * high + low) * text.size() / 65536);
    const int tag = low % 2 == 0 ? text.indexOf(QLatin1Char('<'), place) : -1;
    return tag < 0 ? place : tag;
}

/// Takes the piece between two places out, puts it elsewhere or twice, or writes another character.
QString edited(const QString& text, const std::array<int, 5>& edit)
{
    const int one = placeIn(text, edit[1], edit[2]);
    const int two = placeIn(text, edit[3], edit[4]);
    const int first = std::min(one, two);
    const int size = std::max(one, two) - first;
    QString result = text;
    switch (edit[0] % 5) {
    case 0:
        return result.insert(first, text.mid(first, size));
    case 1:
        return result.remove(first, size);
    case 2: // to the front, behind the tag of the root
        return result.remove(first, size).insert(placeIn(result, 0, 2), text.mid(first, size));
    case 3: // changes places with as much behind it
        return result.replace(first, 2 * size, text.mid(first + size, size) + text.mid(first, size));
    default:
        return result.replace(first, 1, QChar(edit[3] % 128));
    }
}

/// Reads the text, another and the text once more, one behind the other.
void readBehindAnother(const QString& xml, const QString& other, const IRGObject& whole, const QString& error)
{
    const ObjectPointer otherWhole = newObject(whole.GetObjectName());
    const QString otherError = errorOf([&] { otherWhole->SetXmlString(other, true); });
    TextReader reader;
    const ObjectPointer object = newObject(whole.GetObjectName());
    for (int round = 0; round < 2; ++round) {
        Fuzz::require(errorOf([&] { reader.read(other, *object); }) == otherError && *object == *otherWhole,
                      "an edited text is read differently behind another");
        for (int again = 0; again < 2; ++again)
            Fuzz::require(errorOf([&] { reader.read(xml, *object); }) == error && *object == whole,
                          "a text is read differently behind another");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Fuzz::Input input(data, size);
    const std::vector<std::array<int, 5>> edits = takeEdits(input);
    const QString xml = textOf(input);
    const ObjectPointer object = objectFor(xml);
    const QString error = errorOf([&] { object->SetXmlString(xml, true); });
    QString other = xml;
    for (const std::array<int, 5>& edit : edits)
        other = edited(other, edit);
    readBehindAnother(xml, other, *object, error);
    // What was read before a fault stays, so it must be sound too.
    const QString text = written(*object);
    Fuzz::outcome() = (error.isEmpty() ? text : error).toStdString();
    if (!text.isNull()) {
        const ObjectPointer again = newObject(object->GetObjectName());
        try {
            again->SetXmlString(text, true);
        } catch (const RGException& e) {
            Fuzz::require(false, e.what());
        }
        Fuzz::require(*again == *object, "an object comes back differently");
        Fuzz::require(again->GetXmlString() == text, "an object is written differently the second time");
        QXmlStreamReader reader(text);
        while (!reader.atEnd())
            reader.readNext();
        Fuzz::require(!reader.hasError(), "another XML reader refuses what was written");
    }
    object->Reset();
    Fuzz::require(*object == *newObject(object->GetObjectName()), "a reset object is not empty");
    return 0;
}
