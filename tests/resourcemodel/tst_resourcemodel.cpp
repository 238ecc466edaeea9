#include "allclasses.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTest>
#include <QXmlStreamReader>

#include <cmath>
#include <functional>
#include <limits>

using namespace REPORTGENERATOR;
using namespace RESOURCEMANAGEMENT;

namespace {

const auto latin = [](const char* text) { return QString::fromLatin1(text); };

QString failureOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const RGException& e) {
        return QString::fromUtf8(e.what()) == e.GetText() ? e.GetText()
                                                          : latin("what() differs from GetText()");
    }
    return QString();
}

QString sampleText(const QString& type, int number)
{
    if (type == QLatin1String("text"))
        return QStringLiteral("t%1 &amp;\u00e4").arg(number);
    if (type == QLatin1String("bool"))
        return number % 2 ? latin("true") : latin("false");
    if (type == QLatin1String("double"))
        return number % 2 ? QString::number(number) : QStringLiteral("-%1.25").arg(number);
    return QString::number(type == QLatin1String("int") && number % 2 == 0 ? -number : number);
}

/// The text of an object of the class with every field set to a value that occurs once, two elements per
/// list.
QString fullText(const QString& className, int& number)
{
    QString result;
    for (const FieldInfo& field : newObject(className)->DescribeFields()) {
        const ObjectPointer record = newObject(field.type);
        for (int i = 0; i < (field.list ? 2 : 1); ++i) {
            const QString content = record ? fullText(field.type, number) : sampleText(field.type, ++number);
            result += QStringLiteral("<%1>%2</%1>").arg(field.name, content);
        }
    }
    return result;
}

QString wrapped(const QString& name, const QString& content)
{
    return QStringLiteral("<%1>%2</%1>").arg(name, content);
}

Tuner makeTuner(const QString& guid)
{
    Tuner tuner;
    tuner.EditTavikResource().SetGUID(guid);
    tuner.SetType(latin("EB"));
    return tuner;
}

QString documentationOf(const IRGObject& object)
{
    QString result = QStringLiteral("### %1\n\n| Field | Type | Required | Meaning |\n|---|---|---|---|\n")
                         .arg(object.GetObjectName());
    for (const FieldInfo& field : object.DescribeFields())
        result += QStringLiteral("| `%1` | %2%3 | %4 | %5 |\n")
                      .arg(field.name, field.list ? latin("list of ") : QString(), field.type,
                           field.required ? latin("yes") : latin("no"), field.about);
    return result;
}

} // namespace

class ResourceModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFieldOfEveryClassRoundTrips()
    {
        for (const ObjectPointer& object : newObjectOfEachClass()) {
            const QString name = object->GetObjectName();
            int number = 0;
            const QString text = wrapped(name, fullText(name, number));
            QVERIFY(object->SetXmlString(text, true));
            QCOMPARE(object->GetXmlString(), text);

            const ObjectPointer again = newObject(name);
            QVERIFY(*again != *object);
            again->SetXmlString(text, true);
            QVERIFY2(*again == *object, qPrintable(name));
            again->Reset();
            QVERIFY2(*again == *newObject(name), qPrintable(name));

            for (int i = 1; i <= number; ++i) {
                QString other = text;
                const int at = other.indexOf(QStringLiteral("t%1 ").arg(i));
                if (at < 0)
                    continue;
                other[at] = QLatin1Char('u');
                again->SetXmlString(other, true);
                QVERIFY2(*again != *object, qPrintable(other));
            }
        }
        QVERIFY(static_cast<const IRGObject&>(FHA()) != static_cast<const IRGObject&>(FHP()));
    }

    void textsRoundTrip()
    {
        const QString texts[] = {QStringLiteral(""),
                                 latin(" "),
                                 latin("  a \n"),
                                 latin("a\rb\r\nc\r"),
                                 latin("<a b=\"c\">&amp; ]]> 'x' <!-- -->&#10;</a>"),
                                 QString(100000, QLatin1Char('&')),
                                 QStringLiteral("\u00e4\u2028\u20ac\ud7ff\ue000\ufffd"),
                                 QString::fromUcs4(U"\U0001F4E1x\U0010FFFF"),
                                 QString(100000, QChar(0x3b1)) + QString(70, QLatin1Char('x'))};
        for (const QString& text : texts) {
            TunerClass object;
            object.SetGUID(text);
            object.SetName(latin("n"));
            object.EditTunerID() << text << latin("x") << text;
            const QString xml = object.GetXmlString();
            TunerClass again;
            again.SetXmlString(xml, true);
            QCOMPARE(again.GetGUID(), text);
            QVERIFY(again.IsGUIDSet() && again == object);

            QXmlStreamReader reader(xml);
            QVERIFY(reader.readNextStartElement() && reader.readNextStartElement());
            QCOMPARE(reader.readElementText(), text);
            while (!reader.atEnd())
                reader.readNext();
            QVERIFY2(!reader.hasError(), qPrintable(reader.errorString()));
        }
    }

    void unwritableValuesAreNamed()
    {
        ResourceOverview overview;
        overview.EditTuner() << makeTuner(latin("a")) << makeTuner(latin("b"));
        Tuner& second = overview.EditTuner()[1];
        const auto failure = [&overview] { return failureOf([&overview] { overview.GetXmlString(); }); };
        for (const double value : {qInf(), -qInf(), qQNaN()}) {
            second.SetMaxFrequency(value);
            QCOMPARE(failure(), latin("ResourceOverview/Tuner[2]/MaxFrequency is not a finite number"));
        }
        second.ResetMaxFrequency();
        for (const char16_t bad : {u'\x0', u'\x1f', u'\xd800', u'\xdfff', u'\xfffe', u'\xffff'}) {
            second.EditTavikResource().SetName(QString(80, QLatin1Char('x')) + QChar(bad) + QLatin1Char('<'));
            QCOMPARE(failure(),
                     QStringLiteral("ResourceOverview/Tuner[2]/TavikResource/Name holds a character "
                                    "that XML cannot carry (U+%1 at position 80)")
                         .arg(ushort(bad), 4, 16, QLatin1Char('0')));
        }
    }

    void readsWhatOthersWrite()
    {
        const char* const cases[][2] = {
            {"\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"latin1\"?>\n<!-- x --><FFP a='1'/><?y z?>\n",
             "<FFP></FFP>"},
            {"<DSC>\r\n  <Production>\n true </Production>\n\t<FFP>\n\t</FFP>\n <FFP> </FFP>\n</DSC>",
             "<DSC><Production>true</Production><FFP></FFP><FFP></FFP></DSC>"},
            // Another order, and lists apart.
            {"<MCP><DSC/><FFP/><ProductionID>p</ProductionID><DSC/><FFP/></MCP>",
             "<MCP><ProductionID>p</ProductionID><FFP></FFP><FFP></FFP><DSC></DSC><DSC></DSC></MCP>"},
            // Unknown elements.
            {"<FFP><X><FFP/><Y>1</Y></X><Bandwidth>1</Bandwidth><bandwidth>2</bandwidth></FFP>",
             "<FFP><Bandwidth>1</Bandwidth></FFP>"},
            // Of what is repeated the last, whole.
            {"<SCP><FFP><TunerGUID>a</TunerGUID></FFP><FFP><Bandwidth>1</Bandwidth><Bandwidth>2</Bandwidth></"
             "FFP></SCP>",
             "<SCP><FFP><Bandwidth>2</Bandwidth></FFP></SCP>"},
            // Texts in pieces, and references.
            {"<FFP><TunerGUID>a&lt;<!-- x -->b<![CDATA[&amp;<c>]]>&#x64;</TunerGUID></FFP>",
             "<FFP><TunerGUID>a&lt;b&amp;amp;&lt;c&gt;d</TunerGUID></FFP>"},
            {"<FFP><TunerGUID><![CDATA[a]]> b</TunerGUID></FFP>", "<FFP><TunerGUID>a b</TunerGUID></FFP>"},
            {"<FFP><TunerGUID>&quot;&apos;&#38;&#xE4;&#x1F4E1;&#8364;</TunerGUID></FFP>",
             "<FFP><TunerGUID>\"'&amp;\xC3\xA4\xF0\x9F\x93\xA1\xE2\x82\xAC</TunerGUID></FFP>"},
            // Forms of numbers and truth, and a number that no enumerator has.
            {"<FFP><Frequency> +1.5E3\n</Frequency><Bandwidth><![CDATA[2]]>&#48;</Bandwidth></FFP>",
             "<FFP><Frequency>1500</Frequency><Bandwidth>20</Bandwidth></FFP>"},
            {"<DSC><Production>1</Production><Scanning>0</Scanning></DSC>",
             "<DSC><Production>true</Production><Scanning>false</Scanning></DSC>"},
            {"<KoltaProcessor><LocalStorage>-2147483648</LocalStorage></KoltaProcessor>",
             "<KoltaProcessor><LocalStorage>-2147483648</LocalStorage></KoltaProcessor>"},
            {"<TunerManagementRequest><RequestID/><TunerGUID/><TunerGUID></TunerGUID></"
             "TunerManagementRequest>",
             "<TunerManagementRequest><RequestID></RequestID><TunerGUID></TunerGUID><TunerGUID></TunerGUID>"
             "</TunerManagementRequest>"}};
        for (const auto& [xml, canonical] : cases) {
            const QString expected = QString::fromUtf8(canonical);
            const ObjectPointer object = newObject(expected.mid(1, expected.indexOf(QLatin1Char('>')) - 1));
            QCOMPARE(failureOf([&, text = xml] { object->SetXmlString(QString::fromUtf8(text), true); }),
                     QString());
            QCOMPARE(object->GetXmlString(), expected);
        }
    }

    void wholeNumbersKeepTheirRange_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QStringList>("good");
        QTest::addColumn<QStringList>("bad");
        const auto row = [](const char* field, const char* good, const char* bad) {
            QTest::newRow(field) << latin(field) << latin(good).split(QLatin1Char(' '))
                                 << latin(bad).split(QLatin1Char(' '));
        };
        row("FrequencyMax", "0 9007199254740993 18446744073709551615", "18446744073709551616 -1 1.0 0x1");
        row("DurationMax", "4294967295", "4294967296 -1");
        row("Modulation", "-128 127", "-129 128 4294967296");
        row("ProfileType", "255", "256 -1");
        row("DataFormat", "14 255", "256 -1");
    }
    void wholeNumbersKeepTheirRange()
    {
        QFETCH(QString, field);
        QFETCH(QStringList, good);
        QFETCH(QStringList, bad);
        const bool recording = field == QLatin1String("DataFormat");
        const ObjectPointer object = newObject(latin(recording ? "SOREL_RecordData" : "ShortTime_Profile"));
        const QString name = recording ? QString() : latin("<Name>n</Name>");
        const auto text = [&](const QString& number) -> QString {
            return wrapped(object->GetObjectName(), name + wrapped(field, number));
        };
        for (const QString& number : good) {
            QCOMPARE(failureOf([&] { object->SetXmlString(text(number), true); }), QString());
            QCOMPARE(object->GetXmlString(), text(number));
        }
        for (const QString& number : bad) {
            const QString failure = failureOf([&] { object->SetXmlString(text(number), true); });
            QVERIFY2(failure.contains(latin("expected a whole number from ")) &&
                         failure.endsWith(QStringLiteral("found \"%1\"").arg(number)),
                     qPrintable(failure));
        }
    }

    void refusesBadTexts_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QString>("message"); // a part of it
        const auto row = [](const QString& xml, const char* message) {
            QTest::newRow(message) << xml << QString::fromUtf8(message);
        };
        const auto inTuner = [&row](const char* content, const char* message) {
            row(QStringLiteral("<ResourceOverview>\n<Tuner/>\n<Tuner>%1</Tuner></ResourceOverview>")
                    .arg(latin(content)),
                message);
        };
        row(QString(), "line 1, column 1: no element, expected a root element");
        row(latin("hello"), "line 1, column 1: content before the root element");
        row(latin("\n<Tuner/>"),
            "line 2, column 1: the root element is <Tuner>, expected <ResourceOverview>");
        row(latin("<ResourceOverview/> x"), "line 1, column 21: content behind the root");
        row(latin("<ResourceOverview/><ResourceOverview/>"), "line 1, column 20: content behind the root");
        row(latin("<!DOCTYPE a [<!ENTITY b \"c\">]><ResourceOverview/>"), "expected no document type");
        row(latin("<ResourceOverview>\r\n<Tuner>\r<Type>EB"),
            "line 3, column 9: ResourceOverview/Tuner[1]/Type: text ends inside an element");
        row(latin("<ResourceOverview></Tuner>"),
            "line 1, column 19: ResourceOverview: end tag of another element, expected </ResourceOverview>");
        row(latin("<ResourceOverview>\n%1").arg(QChar(0)),
            "line 2, column 1: ResourceOverview: control character U+0000");
        row(latin("<ResourceOverview>%1").arg(QChar(0xd83d)), "half a character");
        inTuner("<Type>a&#0;</Type>",
                "line 3, column 15: ResourceOverview/Tuner[2]/Type: malformed character reference");
        inTuner("<Type>&nbsp;</Type>", "line 3, column 14: ResourceOverview/Tuner[2]/Type: unknown entity");
        inTuner("<Type>a<b/></Type>",
                "line 3, column 15: ResourceOverview/Tuner[2]/Type: expected text, found an element <b>");
        inTuner("<Unknown><a></b></Unknown>",
                "ResourceOverview/Tuner[2]: end tag of another element, expected </a>");
        inTuner("<MinFrequency>12\xad\x1b[x</MinFrequency>", "control character U+001b");
        inTuner("<MinFrequency>12\xad\x85x</MinFrequency>",
                "line 3, column 8: ResourceOverview/Tuner[2]/MinFrequency: expected a number, found "
                "\"12\uFFFD\uFFFDx\"");
        inTuner("<MinFrequency/>", "expected a number, found \"\"");
        inTuner("<MinFrequency>inf</MinFrequency>", "found \"inf\"");
        inTuner("<MinFrequency>1e999</MinFrequency>", "found \"1e999\"");
        inTuner("<MinFrequency>+-1</MinFrequency>", "found \"+-1\"");
        inTuner("<Idle>True</Idle>", "Idle: expected true or false, found \"True\"");
        inTuner(
            "<TavikResource><ResourceID>2147483648</ResourceID></TavikResource>",
            "line 3, column 23: ResourceOverview/Tuner[2]/TavikResource/ResourceID: expected a whole number");
        inTuner("<TavikResource><ResourceID>1.0</ResourceID></TavikResource>", "found \"1.0\"");
    }
    void refusesBadTexts()
    {
        QFETCH(QString, xml);
        QFETCH(QString, message);
        ResourceOverview object;
        const QString failure = failureOf([&] { object.SetXmlString(xml, false); });
        QVERIFY2(failure.contains(message), qPrintable(failure));
    }

    void failedReadingKeepsWhatWasRead()
    {
        ProcessorOverview object;
        object.EditMCP().append(MCP());
        const QString bad =
            latin("<ProcessorOverview><NumberOfFFPs>3</NumberOfFFPs><SCP/><SCP><FFP><TunerGUID>g</TunerGUID>"
                  "<Frequency>inf</Frequency></FFP></SCP><MCP/></ProcessorOverview>");
        QVERIFY(!failureOf([&] { object.SetXmlString(bad, false); }).isEmpty());
        ProcessorOverview expected;
        expected.SetNumberOfFFPs(3);
        expected.SetSCP({SCP(), SCP()});
        expected.EditSCP()[1].EditFFP().SetTunerGUID(latin("g"));
        QVERIFY2(object == expected, qPrintable(object.GetXmlString()));
    }

    void deepAndWideTextsAreHarmless()
    {
        constexpr int depth = 500000;
        const QString nested = latin("<a>").repeated(depth) + latin("</a>").repeated(depth);
        FFP object;
        QVERIFY(object.SetXmlString(wrapped(latin("FFP"), nested + latin("<Bandwidth>1</Bandwidth>")), true));
        QCOMPARE(object.GetBandwidth(), 1.0);
        QVERIFY(!failureOf([&] { object.SetXmlString(latin("<FFP>").repeated(depth), true); }).isEmpty());

        HWProcessingOverview overview;
        QVERIFY(overview.SetXmlString(
            wrapped(overview.GetObjectName(), latin("<HWProcessing/><x/>").repeated(depth)), true));
        QCOMPARE(overview.GetHWProcessing().size(), depth);
    }

    void checkNamesMissingFields()
    {
        const QMap<QString, QString> texts{
            {latin("ResourceOverview/Tuner[2]/TavikResource"),
             latin("<ResourceOverview><Tuner><TavikResource/></Tuner><Tuner/></ResourceOverview>")},
            {latin("StorageUnit/TavikResource"), latin("<StorageUnit/>")},
            {latin("TunerManagementRequest/Tuner[1]/TavikResource"),
             latin("<TunerManagementRequest><Tuner/></TunerManagementRequest>")},
            {latin("ResourceDemandClass/AppType"),
             latin("<ResourceDemandClass><DemandClassName/></ResourceDemandClass>")}};
        for (auto it = texts.begin(); it != texts.end(); ++it) {
            const QString missing = it.key() + latin(" is missing");
            const ObjectPointer object = newObject(missing.left(missing.indexOf(QLatin1Char('/'))));
            QVERIFY(object->SetXmlString(it.value(), false));
            QString error;
            QVERIFY(!object->Check(error));
            QCOMPARE(error, missing);
            QCOMPARE(failureOf([&] { object->GetXmlString(); }), missing);
            QCOMPARE(failureOf([&] { object->SetXmlString(it.value(), true); }), missing);
        }
    }

    void setAndUnsetAreContent()
    {
        SCP a;
        const SCP b;
        a.SetFrequency(0);
        QVERIFY(a != b);
        QCOMPARE(a.GetXmlString(), latin("<SCP><Frequency>0</Frequency></SCP>"));
        a.ResetFrequency();
        QVERIFY(a == b && !a.GetDSC().IsProductionSet() && !a.IsDSCSet());
        a.EditDSC().EditFFP().append(FFP());
        QVERIFY(a.IsDSCSet() && a != b);
        a.ResetDSC();
        QVERIFY(a == b && a.GetDSC() == DSC());
    }

    void copiesAndRecurringTextsAreShared()
    {
        ResourceOverview written;
        for (int i = 0; i < 1000; ++i)
            written.EditTuner().append(makeTuner(QStringLiteral("guid <%1>").arg(i)));
        ResourceOverview read;
        read.SetXmlString(written.GetXmlString(), true);
        QVERIFY(read == written);
        const QVector<Tuner>& tuners = read.GetTuner();
        QCOMPARE(tuners.capacity(), 1000);
        int copies = 0;
        for (int i = 1; i < 1000; ++i)
            copies += tuners.at(i).GetType().constData() != tuners.at(i - 1).GetType().constData();
        QVERIFY2(copies < 50, qPrintable(QString::number(copies)));

        ResourceOverview copy = read;
        copy.SetNumberOfTuners(3);
        QCOMPARE(copy.GetTuner().constData(), tuners.constData());
        copy.EditTuner()[0].SetIdle(true);
        QVERIFY(!tuners.first().IsIdleSet() && copy != read);
    }

    void documentationIsComplete()
    {
        QFile page(latin(KOLTA_MODEL_PAGE));
        QVERIFY2(page.open(QIODevice::ReadOnly), KOLTA_MODEL_PAGE);
        const QString text = QString::fromUtf8(page.readAll());
        for (const ObjectPointer& object : newObjectOfEachClass()) {
            const QString section = documentationOf(*object);
            QVERIFY2(text.contains(section), qPrintable(QStringLiteral("docs/model.md lacks:\n") + section));
        }
    }
};

QTEST_GUILESS_MAIN(ResourceModelTest)
#include "tst_resourcemodel.moc"
