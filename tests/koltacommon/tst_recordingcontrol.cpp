#include <koltacommon/recordingcontrol.h>
#include <koltacommon/startstopdatastreamrecording.h>
#include <support/test.h>

using namespace Kolta;
using namespace Kolta::RecordingControl;
using SOREL_XML::SOREL_IndexEntry;
using SOREL_XML::SOREL_RecordData;

namespace {

/// Speaks another language: a "#" before every display name but one that is another stream's wire name.
class HashTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char*, int) const override
    {
        if (qstrcmp(context, "VeskDataStream") != 0)
            return QString();
        return qstrcmp(text, "Bit Stream") == 0 ? "if"_s
                                                : QString(QLatin1Char('#') + QString::fromLatin1(text));
    }
};

SOREL_RecordData recordOf(quint64 start, quint64 stop, const QVector<quint64>& index)
{
    SOREL_RecordData record;
    record.SetStartTime(start);
    record.SetStopTime(stop);
    for (const quint64 time : index) {
        SOREL_IndexEntry entry;
        entry.SetTimestamp(time);
        record.EditIndexEntry().append(entry);
    }
    return record;
}

} // namespace

class TestRecordingControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Wire names, display names and data formats stand for the same stream, each for one.
    void vocabularyIsUnambiguous()
    {
        QStringList names;
        for (const eDataStream stream : GetAllStreams()) {
            const QString wire = dataStreamToString(stream);
            const QString display = dataStreamToDisplayString(stream);
            const auto format = stringToDataFormat(wire);
            QCOMPARE(int(stream), 1 << names.size());
            QCOMPARE(dataFormatToStream(format), stream);
            for (const QString& text : {wire, display, wire.toUpper(), display.toLower()}) {
                QCOMPARE(stringToDataStream(text), stream);
                QCOMPARE(stringToDataFormat(text), format);
            }
            names.append(wire);
            QCOMPARE(dataStreamsToStrings(int(stream) * 2 - 1), names);
        }
        QCOMPARE(dataStreamsToStrings(-1), names);
        QCOMPARE(dataStreamsToStrings(eQm410Stream | eIfStream), words("if qm410"));
        QCOMPARE(int(stringsToDataStream(names + QStringList{"x"_s, QString()})), (1 << names.size()) - 1);
    }

    void whatIsNoStreamHasNothing()
    {
        for (const int value : {0, 3, 0x1000000, -1}) {
            QCOMPARE(dataStreamToString(static_cast<eDataStream>(value)), QString());
            QCOMPARE(dataStreamToDisplayString(static_cast<eDataStream>(value)), QString());
        }
        QVERIFY(dataStreamsToStrings(0).isEmpty() && dataStreamsToStrings(0x1000000).isEmpty());
        for (const char* text : {"", "unknown", "symbol ", "Hop Density", "Analysed Burst Info"}) {
            QCOMPARE(int(stringToDataStream(QString::fromLatin1(text))), 0);
            QCOMPARE(int(stringToDataFormat(QString::fromLatin1(text))), 255);
        }
        int streams = 0;
        for (int format = 0; format < 256; ++format)
            streams += dataFormatToStream(static_cast<SOREL_RecordData::DataFormat>(format)) != 0;
        QCOMPARE(streams, GetAllStreams().size());
    }

    void displayNamesFollowTheLanguage()
    {
        HashTranslator translator;
        QVERIFY(QCoreApplication::installTranslator(&translator));
        QCOMPARE(dataStreamToDisplayString(eIfStream), "#I/Q Data"_s);
        for (const QString& name : {"#i/q data"_s, "i/q data"_s})
            QCOMPARE(int(stringToDataStream(name)), int(eIfStream));
        QCOMPARE(dataStreamToString(eIfStream), "if"_s);
        QCOMPARE(int(stringToDataStream("if"_s)), int(eSymbolStream));
        StartStopDatastreamRecording request({true, {{eIfStream, {}, {}}}}, nullptr, nullptr);
        const auto content = StartStopDatastreamRecording::read(request.getMessage()->getFragment(0));
        QVERIFY(content && content->recordings.first().stream == eIfStream); // messages know no language
        QVERIFY(QCoreApplication::removeTranslator(&translator));
        QCOMPARE(dataStreamToDisplayString(eIfStream), "I/Q Data"_s);
    }

    void signalTimes()
    {
        constexpr quint64 late = ~quint64(0);
        const struct
        {
            SOREL_RecordData record;
            quint64 start;
            quint64 stop;
        } cases[] = {{SOREL_RecordData(), 0, 0},
                     {recordOf(5, 9, {}), 5, 9},
                     {recordOf(5, 9, {7}), 7, 7},
                     {recordOf(5, 9, {1, 20}), 1, 20},
                     {recordOf(5, 9, {8, late, 6, 7}), 6, late}}; // as signed number the last would be -1
        for (const auto& [record, start, stop] : cases) {
            QCOMPARE(signalStartTimeFromRecordData(record), start);
            QCOMPARE(signalStopTimeFromRecordData(record), stop);
        }
    }

    void requestsSayWhatToRecord()
    {
        for (const bool start : {true, false}) {
            StartStopDatastreamRecording request(
                {start, {{eIfStream, "{p}"_s, "r <1>"_s}, {eRawStream, QString(), QString()}}}, nullptr,
                nullptr);
            QCOMPARE(request.getMessage()->getServiceType(), XmlCommon::CXmlMessage::eSERVICE_COMMAND);
            const auto content = StartStopDatastreamRecording::read(request.getMessage()->getFragment(0));
            QVERIFY(content && content->start == start && content->recordings.size() == 2);
            QCOMPARE(content->recordings.first().stream, eIfStream);
            QCOMPARE(content->recordings.first().producer, "{p}"_s);
            QCOMPARE(content->recordings.first().recordName, "r <1>"_s);
            QCOMPARE(content->recordings.last().stream, eRawStream);
        }
        const RecordingData good{eIfStream, {}, {}};
        for (const QVector<RecordingData>& bad :
             {QVector<RecordingData>(), {good, {}}, {{static_cast<eDataStream>(3), {}, {}}, good}}) {
            StartStopDatastreamRecording request({true, bad}, nullptr, nullptr);
            QCOMPARE(request.getMessage()->getNumberOfFragments(), 0);
        }
    }

    void badCommandsAreNotRead()
    {
        for (const char* xml :
             {"<StartRecording/>", "<StopRecording><DataStream/></StopRecording>",
              "<StartRecording><DataStream name='if'/><DataStream name='x'/></StartRecording>",
              "<StartRecording><DataStream name='IF'/></StartRecording>",
              "<StartRecording><DataStream name='I/Q Data'/></StartRecording>",
              "<Recording><DataStream name='if'/></Recording>"}) {
            XmlCommon::CMsgFragment fragment("Recording"_s);
            fragment.setRequestTree(XmlCommon::CRequestTree(XmlCommon::CDataTree::fromXml(xml)));
            QVERIFY(fragment.hasRequestTree());
            QVERIFY2(!StartStopDatastreamRecording::read(fragment), xml);
        }
        QVERIFY(!StartStopDatastreamRecording::isCommand(XmlCommon::CMsgFragment()));
    }
};

KOLTA_TEST(TestRecordingControl);
#include "tst_recordingcontrol.moc"
