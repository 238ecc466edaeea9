#include "fuzz.h"

#include "../resourcemodel/allclasses.h"

#include <resourcemodel/textreader.h>

#include <QXmlStreamReader>

#include <cstring>

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

/// Reads the text as the one that follows another, which is it without a piece in the middle.
void readBehindAnother(const QString& xml, const IRGObject& whole, const QString& error)
{
    TextReader reader;
    const ObjectPointer object = newObject(whole.GetObjectName());
    QString other = xml;
    const int first = xml.indexOf(QLatin1Char('<'), xml.size() / 3);
    other.remove(first, xml.indexOf(QLatin1Char('<'), 2 * xml.size() / 3) - first);
    for (const QString& former : {other, xml}) {
        errorOf([&] { reader.read(former, *object); });
        Fuzz::require(errorOf([&] { reader.read(xml, *object); }) == error && *object == whole,
                      "a text is read differently behind another");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString xml = textOf(Fuzz::Input(data, size));
    const ObjectPointer object = objectFor(xml);
    const QString error = errorOf([&] { object->SetXmlString(xml, true); });
    readBehindAnother(xml, *object, error);
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
