#include "q9rprofiles.h"

#include <koltacommon/shorttimeprofile.h>
#include <startup/textplace.h>

#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>
#include <limits>

namespace VESK_Q9R {

using Startup::TextPlace;

namespace {

const QLatin1String kRootName("ShortTimeProfiles");
const QLatin1String kProfileName("Profile");
const QLatin1String kNameAttribute("name");
const QLatin1String kStatusAttribute("status");
const QLatin1String kHopRateName("HopRate");

constexpr qint64 kLargestFile = 64 * 1024 * 1024;
constexpr int kMostProfiles = 250'000;
constexpr int kDeepestLevel = 64;
constexpr int kMostNotes = 20; ///< and as many doubts
constexpr qint32 kInUse = 1;   ///< status

/// The elements of a profile that hold a text, in the order in which they are written; the hop rate comes
/// before the last one.
struct TextField
{
    QLatin1String name;
    TextElement Profile::*element;
    quint64 largest; ///< of both numbers of a range; 0: it is none
};
constexpr quint64 k32Bits = std::numeric_limits<quint32>::max();
const TextField kTextFields[] = {
    {QLatin1String("FrequencyRange"), &Profile::frequencyRange, std::numeric_limits<quint64>::max()},
    {QLatin1String("SignalDurationRange"), &Profile::signalDurationRange, k32Bits},
    {QLatin1String("BandwidthRange"), &Profile::bandwidthRange, k32Bits},
    {QLatin1String("SymbolrateRange"), &Profile::symbolrateRange, k32Bits},
    {QLatin1String("ShiftRange"), &Profile::shiftRange, k32Bits},
    {QLatin1String("ModulationType"), &Profile::modulationType, 0},
};
constexpr unsigned kHopRateBit = 1u << (sizeof kTextFields / sizeof *kTextFields);

/// One line of at most 40 characters or so.
QString shortened(const QStringRef& text)
{
    constexpr int longest = 40;
    const QString start = text.left(longest).toString().simplified();
    return text.size() <= longest ? start : QString(start + QLatin1String("..."));
}

/// What is wrong with a range, and what it counts as; empty when it is understood.
QString doubtAboutRange(const QString& text, quint64 largest)
{
    const QStringList parts = text.split(QLatin1Char(','));
    const QString found = shortened(QStringRef(&text));
    if (parts.size() != 2)
        return QStringLiteral(
                   "expected two whole numbers with a comma between them, found \"%1\", which counts "
                   "as not in use")
            .arg(found);
    quint64 numbers[2] = {};
    for (int i = 0; i < 2; ++i) {
        bool ok = false;
        numbers[i] = parts.at(i).toULongLong(&ok);
        if (!ok || numbers[i] > largest)
            return QStringLiteral("expected a whole number from 0 to %1, found \"%2\", which counts as 0")
                .arg(QString::number(largest), shortened(QStringRef(&parts.at(i))));
    }
    return numbers[0] <= numbers[1]
               ? QString()
               : QStringLiteral("expected the smaller number first, found \"%1\", which fits nothing")
                     .arg(found);
}

QString doubtAboutModulation(const QString& text)
{
    const QString unknown = Kolta::modulationTypeToString(0);
    if (text == unknown || Kolta::stringToModulationType(text) != 0)
        return QString();
    QStringList names;
    for (qint8 code = 1; Kolta::modulationTypeToString(code) != unknown; ++code)
        names.append(Kolta::modulationTypeToString(code));
    return QStringLiteral("expected one of %1, found \"%2\", which counts as %3")
        .arg(names.join(QLatin1String(", ")), shortened(QStringRef(&text)), unknown);
}

/// Thrown inside the reader only.
struct Failure
{
    TextPlace place;
    QString text;
};

class Reader
{
public:
    explicit Reader(QXmlStreamReader& xml, ReadReport& report) : m_xml(xml), m_report(report) {}

    void read(QVector<Profile>& profiles)
    {
        while (next(kRootName) != QXmlStreamReader::StartElement) {
        }
        if (m_xml.name() != kRootName)
            fail(m_xml.name(), QStringLiteral("expected the root element <%1>").arg(kRootName));
        while (nextChild(kRootName)) {
            if (m_xml.name() != kProfileName)
                passOver(kRootName);
            else if (profiles.size() == kMostProfiles)
                fail(kProfileName, QStringLiteral("expected at most %1 profiles").arg(kMostProfiles));
            else
                readProfile(profiles);
        }
        while (next(kRootName) != QXmlStreamReader::EndDocument) {
        }
        countRest(m_report.notes, m_passedOver);
        countRest(m_report.doubts, m_report.doubtful);
    }

private:
    static void countRest(QStringList& lines, int count)
    {
        if (count > kMostNotes)
            lines.append(QStringLiteral("%1 more").arg(count - kMostNotes));
    }

    static Profile& appended(QVector<Profile>& profiles)
    {
        profiles.append(Profile());
        return profiles.last();
    }

    template<typename Name>
    [[noreturn]] void fail(const Name& element, const QString& text, const TextPlace& place) const
    {
        throw Failure{place, QStringLiteral("<%1>: %2").arg(element, text)};
    }
    template<typename Name>
    [[noreturn]] void fail(const Name& element, const QString& text) const
    {
        fail(element, text, TextPlace::of(m_xml));
    }
    /// Fails for the text that has just been read; `place` is where it begins.
    [[noreturn]] void failForText(QLatin1String parent, const TextPlace& place) const
    {
        const QStringRef text = m_xml.text();
        const QStringRef found = text.trimmed();
        fail(parent, QStringLiteral("expected elements, found \"%1\"").arg(shortened(found)),
             place.behind(text.left(found.position() - text.position()).toString()));
    }

    /// The next token; fails when there is none, and for document types, with which entities would come.
    /// `element`: what is being read, for the message.
    QXmlStreamReader::TokenType next(QLatin1String element)
    {
        const QXmlStreamReader::TokenType token = m_xml.readNext();
        if (token == QXmlStreamReader::DTD)
            fail(kRootName, QStringLiteral("expected no document type declaration"));
        if (token == QXmlStreamReader::Invalid)
            fail(element, QStringLiteral("expected well-formed XML: %1")
                              .arg(m_xml.errorString().simplified())); // it quotes the document
        return token;
    }

    /// Goes to the next element inside `parent`; false at the end of `parent`.
    bool nextChild(QLatin1String parent)
    {
        for (;;) {
            const auto place = TextPlace::of(m_xml);
            const QXmlStreamReader::TokenType token = next(parent);
            if (token == QXmlStreamReader::StartElement)
                return true;
            if (token == QXmlStreamReader::EndElement)
                return false;
            if (token == QXmlStreamReader::Characters && !m_xml.isWhitespace())
                failForText(parent, place);
        }
    }

    void passOver(QLatin1String parent)
    {
        if (++m_passedOver <= kMostNotes)
            m_report.notes.append(QStringLiteral("%1: <%2> inside <%3> is not known and was passed over")
                                      .arg(TextPlace::of(m_xml).toString(), shortened(m_xml.name()), parent));
        for (int depth = 1; depth > 0;) {
            const QXmlStreamReader::TokenType token = next(parent);
            if (token == QXmlStreamReader::StartElement && ++depth > kDeepestLevel)
                fail(shortened(m_xml.name()),
                     QStringLiteral("expected at most %1 levels").arg(kDeepestLevel));
            if (token == QXmlStreamReader::EndElement)
                --depth;
        }
    }

    void readProfile(QVector<Profile>& profiles)
    {
        const int number = profiles.size();
        Profile& profile = appended(profiles);
        profile.name = m_xml.attributes().value(kNameAttribute).toString();
        unsigned seen = 0;
        const auto see = [&](QLatin1String name, unsigned bit) {
            if ((seen & bit) != 0)
                fail(name, QStringLiteral("expected at most once in a profile"));
            seen |= bit;
        };
        while (nextChild(kProfileName)) {
            const QStringRef name = m_xml.name();
            if (name == kHopRateName) {
                see(kHopRateName, kHopRateBit);
                readNumber(kHopRateName, profile.hopRate);
                continue;
            }
            const TextField* field = std::find_if(std::begin(kTextFields), std::end(kTextFields),
                                                  [&name](const TextField& f) { return name == f.name; });
            if (field == std::end(kTextFields)) {
                passOver(kProfileName);
                continue;
            }
            see(field->name, 1u << (field - kTextFields));
            TextElement& element = profile.*field->element;
            element.status = statusOf(field->name);
            const auto place = TextPlace::of(m_xml);
            element.value = readText(field->name);
            if (isDoubtful(*field, element, place) &&
                (m_report.doubtfulProfiles.isEmpty() || m_report.doubtfulProfiles.last() != number))
                m_report.doubtfulProfiles.append(number);
        }
    }

    /// Tells of a value that will not be understood; `place` is where it begins. An element that is neither
    /// in use nor says anything need not be understood.
    bool isDoubtful(const TextField& field, const TextElement& element, const TextPlace& place)
    {
        const QString& text = element.value;
        const int begin = static_cast<int>(
            std::find_if(text.begin(), text.end(), [](QChar c) { return !c.isSpace(); }) - text.begin());
        if (element.status != kInUse && begin == text.size())
            return false;
        const QString doubt =
            field.largest == 0 ? doubtAboutModulation(text) : doubtAboutRange(text, field.largest);
        if (doubt.isEmpty())
            return false;
        if (++m_report.doubtful <= kMostNotes)
            m_report.doubts.append(QStringLiteral("%1: <%2>: %3")
                                       .arg(place.behind(text.left(begin)).toString(), field.name, doubt));
        return true;
    }

    void readNumber(QLatin1String name, NumberElement& element)
    {
        element.status = statusOf(name);
        const auto place = TextPlace::of(m_xml);
        const QString given = readText(name);
        const QString text = given.trimmed();
        if (text.isEmpty())
            return;
        bool ok = false;
        element.value = text.toDouble(&ok);
        if (!ok || !std::isfinite(element.value))
            fail(name, QStringLiteral("expected a number, found \"%1\"").arg(shortened(QStringRef(&text))),
                 place.behind(given.left(given.indexOf(text))));
    }

    qint32 statusOf(QLatin1String name) const
    {
        const QXmlStreamAttributes attributes = m_xml.attributes();
        if (!attributes.hasAttribute(kStatusAttribute))
            return 0;
        const QStringRef text = attributes.value(kStatusAttribute);
        bool ok = false;
        const qint32 status = text.toInt(&ok);
        if (!ok)
            fail(name,
                 QStringLiteral("expected a whole number as status, found \"%1\"").arg(shortened(text)));
        return status;
    }

    /// The text up to the end of the element, which may come in pieces.
    QString readText(QLatin1String name)
    {
        QString text;
        for (;;) {
            const QXmlStreamReader::TokenType token = next(name);
            if (token == QXmlStreamReader::EndElement)
                return text;
            if (token == QXmlStreamReader::StartElement)
                fail(name, QStringLiteral("expected text, found <%1>").arg(shortened(m_xml.name())));
            if (token == QXmlStreamReader::Characters)
                text += m_xml.text();
        }
    }

    QXmlStreamReader& m_xml;
    ReadReport& m_report;
    int m_passedOver = 0;
};

ReadReport readFrom(QXmlStreamReader& xml, const QString& sourceName, ShortTimeProfiles& profiles)
{
    ReadReport report;
    try {
        QVector<Profile> read;
        Reader(xml, report).read(read);
        profiles.profiles.swap(read);
    } catch (const Failure& failure) {
        report.error = failure.place.message(sourceName, failure.text);
    }
    return report;
}

ReadReport refusal(const QString& sourceName, const QString& text)
{
    ReadReport report;
    report.error = QStringLiteral("%1: %2").arg(sourceName, text);
    return report;
}

ReadReport tooLarge(const QString& sourceName)
{
    return refusal(sourceName, QStringLiteral("expected at most %1 MiB").arg(kLargestFile / 1024 / 1024));
}

template<typename Text>
void writeElement(QXmlStreamWriter& xml, QLatin1String name, qint32 status, const Text& text)
{
    xml.writeStartElement(name);
    xml.writeAttribute(kStatusAttribute, QString::number(status));
    xml.writeCharacters(text);
    xml.writeEndElement();
}

void writeProfile(QXmlStreamWriter& xml, const Profile& profile)
{
    xml.writeStartElement(kProfileName);
    if (!profile.name.isEmpty())
        xml.writeAttribute(kNameAttribute, profile.name);
    for (const TextField& field : kTextFields) {
        if (field.element == &Profile::modulationType)
            writeElement(xml, kHopRateName, profile.hopRate.status,
                         QString::number(profile.hopRate.value, 'g', QLocale::FloatingPointShortest));
        const TextElement& element = profile.*field.element;
        writeElement(xml, field.name, element.status, element.value);
    }
    xml.writeEndElement();
}

QByteArray writeAll(const ShortTimeProfiles& profiles)
{
    QByteArray result;
    QXmlStreamWriter xml(&result);
    xml.setAutoFormatting(true);
    xml.setAutoFormattingIndent(2);
    xml.writeStartDocument();
    xml.writeStartElement(kRootName);
    for (const Profile& profile : profiles.profiles)
        writeProfile(xml, profile);
    xml.writeEndDocument();
    return result;
}

bool readsBackEqual(const QByteArray& xml, const ShortTimeProfiles& profiles)
{
    ShortTimeProfiles again;
    return readProfiles(xml, QString(), again).isGood() && again == profiles;
}

} // namespace

bool operator==(const TextElement& a, const TextElement& b)
{
    return a.value == b.value && a.status == b.status;
}

bool operator==(const NumberElement& a, const NumberElement& b)
{
    return a.value == b.value && a.status == b.status;
}

bool operator==(const Profile& a, const Profile& b)
{
    return a.name == b.name && a.hopRate == b.hopRate &&
           std::all_of(std::begin(kTextFields), std::end(kTextFields),
                       [&](const TextField& field) { return a.*field.element == b.*field.element; });
}

ReadReport readProfileFile(const QString& fileName, ShortTimeProfiles& profiles)
{
    if (QFileInfo::exists(fileName) && !QFileInfo(fileName).isFile())
        return refusal(fileName, QStringLiteral("expected a regular file"));
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return refusal(fileName, file.errorString());
    if (file.size() > kLargestFile)
        return tooLarge(fileName);
    QXmlStreamReader xml(&file);
    return readFrom(xml, fileName, profiles);
}

ReadReport readProfiles(const QByteArray& xml, const QString& sourceName, ShortTimeProfiles& profiles)
{
    if (xml.size() > kLargestFile)
        return tooLarge(sourceName);
    QXmlStreamReader reader(xml);
    return readFrom(reader, sourceName, profiles);
}

QString writeProfileFile(const QString& fileName, const ShortTimeProfiles& profiles)
{
    QString error;
    const QByteArray xml = writeProfiles(profiles, error);
    if (!error.isEmpty())
        return QStringLiteral("%1: %2").arg(fileName, error);
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && file.write(xml) == xml.size() && file.commit())
        return QString();
    return QStringLiteral("%1: %2").arg(fileName, file.errorString());
}

QByteArray writeProfiles(const ShortTimeProfiles& profiles, QString& error)
{
    error.clear();
    QByteArray xml = writeAll(profiles);
    if (readsBackEqual(xml, profiles))
        return xml;
    error = QStringLiteral("there are more profiles than a file may hold");
    for (int i = 0; i < profiles.profiles.size(); ++i) {
        const ShortTimeProfiles single{{profiles.profiles.at(i)}};
        if (readsBackEqual(writeAll(single), single))
            continue;
        error = QStringLiteral("profile %1 (\"%2\") holds a character or a number that XML cannot carry")
                    .arg(i + 1)
                    .arg(single.profiles.first().name);
        break;
    }
    return QByteArray();
}

} // namespace VESK_Q9R
