#include "allclasses.h"
#include <support/test.h>

#include <cmath>
#include <limits>

using namespace REPORTGENERATOR;
using namespace RESOURCEMANAGEMENT;

namespace {

QString failureOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const RGException& e) {
        return QString::fromUtf8(e.what()) == e.GetText() ? e.GetText() : "what() differs from GetText()"_s;
    }
    return QString();
}

QString sampleText(const QString& type, int number)
{
    if (type == "text"_s)
        return "t%1 &amp;\u00e4"_s.arg(number);
    if (type == "bool"_s)
        return number % 2 ? "true"_s : "false"_s;
    if (type == "double"_s)
        return number % 2 ? QString::number(number) : "-%1.25"_s.arg(number);
    return QString::number(type == "int"_s && number % 2 == 0 ? -number : number);
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
            result += "<%1>%2</%1>"_s.arg(field.name, content);
        }
    }
    return result;
}

QString wrapped(const QString& name, const QString& content)
{
    return "<%1>%2</%1>"_s.arg(name, content);
}

Tuner makeTuner(const QString& guid)
{
    Tuner tuner;
    tuner.EditTavikResource().SetGUID(guid);
    tuner.SetType("EB"_s);
    return tuner;
}

QString documentationOf(const IRGObject& object)
{
    QString result =
        "### %1\n\n| Field | Type | Required | Meaning |\n|---|---|---|---|\n"_s.arg(object.GetObjectName());
    for (const FieldInfo& field : object.DescribeFields())
        result +=
            "| `%1` | %2%3 | %4 | %5 |\n"_s.arg(field.name, field.list ? "list of "_s : QString(), field.type,
                                                field.required ? "yes"_s : "no"_s, field.about);
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
                const int at = other.indexOf("t%1 "_s.arg(i));
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
                                 " "_s,
                                 "  a \n"_s,
                                 "a\rb\r\nc\r"_s,
                                 "<a b=\"c\">&amp; ]]> 'x' <!-- -->&#10;</a>"_s,
                                 QString(100000, QLatin1Char('&')),
                                 "\u00e4\u2028\u20ac\ud7ff\ue000\ufffd"_s,
                                 QString::fromUcs4(U"\U0001F4E1x\U0010FFFF"),
                                 QString(100000, QChar(0x3b1)) + QString(70, QLatin1Char('x'))};
        for (const QString& text : texts) {
            TunerClass object;
            object.SetGUID(text);
            object.SetName("n"_s);
            object.EditTunerID() << text << "x"_s << text;
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
        overview.EditTuner() << makeTuner("a"_s) << makeTuner("b"_s);
        Tuner& second = overview.EditTuner()[1];
        const auto failure = [&overview] { return failureOf([&overview] { overview.GetXmlString(); }); };
        for (const double value : {qInf(), -qInf(), qQNaN()}) {
            second.SetMaxFrequency(value);
            QCOMPARE(failure(), "ResourceOverview/Tuner[2]/MaxFrequency is not a finite number"_s);
        }
        second.ResetMaxFrequency();
        for (const char16_t bad : {u'\x0', u'\x1f', u'\xd800', u'\xdfff', u'\xfffe', u'\xffff'}) {
            second.EditTavikResource().SetName(QString(80, QLatin1Char('x')) + QChar(bad) + QLatin1Char('<'));
            QCOMPARE(failure(), "ResourceOverview/Tuner[2]/TavikResource/Name holds a character "
                                "that XML cannot carry (U+%1 at position 80)"_s.arg(ushort(bad), 4, 16,
                                                                                    QLatin1Char('0')));
        }
    }

    void failedReadingKeepsWhatWasRead()
    {
        ProcessorOverview object;
        object.EditMCP().append(MCP());
        const QString bad =
            "<ProcessorOverview><NumberOfFFPs>3</NumberOfFFPs><SCP/><SCP><FFP><TunerGUID>g</TunerGUID>"
            "<Frequency>inf</Frequency></FFP></SCP><MCP/></ProcessorOverview>"_s;
        QVERIFY(!failureOf([&] { object.SetXmlString(bad, false); }).isEmpty());
        ProcessorOverview expected;
        expected.SetNumberOfFFPs(3);
        expected.SetSCP({SCP(), SCP()});
        expected.EditSCP()[1].EditFFP().SetTunerGUID("g"_s);
        QVERIFY2(object == expected, qPrintable(object.GetXmlString()));
    }

    void deepAndWideTextsAreHarmless()
    {
        constexpr int depth = 500000;
        const QString nested = "<a>"_s.repeated(depth) + "</a>"_s.repeated(depth);
        FFP object;
        QVERIFY(object.SetXmlString(wrapped("FFP"_s, nested + "<Bandwidth>1</Bandwidth>"_s), true));
        QCOMPARE(object.GetBandwidth(), 1.0);
        QVERIFY(!failureOf([&] { object.SetXmlString("<FFP>"_s.repeated(depth), true); }).isEmpty());

        HWProcessingOverview overview;
        QVERIFY(overview.SetXmlString(
            wrapped(overview.GetObjectName(), "<HWProcessing/><x/>"_s.repeated(depth)), true));
        QCOMPARE(overview.GetHWProcessing().size(), depth);
    }

    void setAndUnsetAreContent()
    {
        SCP a;
        const SCP b;
        a.SetFrequency(0);
        QVERIFY(a != b);
        QCOMPARE(a.GetXmlString(), "<SCP><Frequency>0</Frequency></SCP>"_s);
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
            written.EditTuner().append(makeTuner("guid <%1>"_s.arg(i)));
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
        QFile page(QString::fromLatin1(KOLTA_MODEL_PAGE));
        QVERIFY2(page.open(QIODevice::ReadOnly), KOLTA_MODEL_PAGE);
        const QString text = QString::fromUtf8(page.readAll());
        for (const ObjectPointer& object : newObjectOfEachClass()) {
            const QString section = documentationOf(*object);
            QVERIFY2(text.contains(section), qPrintable("docs/model.md lacks:\n"_s + section));
        }
    }
};

KOLTA_TEST(ResourceModelTest);
#include "tst_resourcemodel.moc"
