#include <koltacommon/recordingcontrol.h>
#include <koltacommon/startstopdatastreamrecording.h>

#include <QTranslator>
#include <QtTest>

using namespace Kolta;
using namespace Kolta::RecordingControl;
using SOREL_XML::SOREL_IndexEntry;
using SOREL_XML::SOREL_RecordData;

namespace {

const auto latin = [](const char* text) { return QString::fromLatin1(text); };

/// The vocabulary as peers and users know it: wire name, display name, data format; bit by bit from 0x1.
const char* const vocabulary =
    "symbol|Bit Stream|6;instantaneous|Instantaneous Data|5;image|Image Data|4;"
    "demresult|DDem Result|8;digitalAudio|Digital Audio|19;analogAudio|Analog Audio|9;"
    "special|Special Data|24;decoded|Decoded Text|3;processorSpectrum|Spectrum|2;"
    "tunerSpectrum|Tuner Spectrum|7;tunerPolychromeSpectrum|Tuner Polychrome Spectrum|25;"
    "segmentationSpectrum|Segmentation Spectrum|26;timeDomain|Time Domain|12;if|I/Q Data|1;"
    "emissionList|Emission List|10;detectorSpectrum|Detector Spectrum|27;"
    "detectorThreshold|Detector Threshold|28;ifBurst|Burst Data|18;"
    "emissionListBurst|Emission List Burst|11;analysedBurstInfo|Analyzed Burst Info|20;"
    "histogram|Histogram|13;hopDensity|HopDensity|16;raw|Raw Data|0;qm410|QM410 Data|21";

/// Speaks another language: a "#" before every display name but one that is another stream's wire name.
class HashTranslator : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char*, int) const override
    {
        if (qstrcmp(context, "VeskDataStream") != 0)
            return QString();
        return qstrcmp(text, "Bit Stream") == 0 ? latin("if") : QString(QLatin1Char('#') + latin(text));
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
    void vocabularyIsExact()
    {
        int bit = 1;
        QStringList names;
        for (const QString& line : latin(vocabulary).split(QLatin1Char(';'))) {
            const QString wire = line.section(QLatin1Char('|'), 0, 0);
            const QString display = line.section(QLatin1Char('|'), 1, 1);
            const auto stream = static_cast<eDataStream>(bit);
            const auto format =
                static_cast<SOREL_RecordData::DataFormat>(line.section(QLatin1Char('|'), 2).toInt());
            QCOMPARE(dataStreamToString(stream), wire);
            QCOMPARE(dataStreamToDisplayString(stream), display);
            QCOMPARE(dataFormatToStream(format), stream);
            for (const QString& text : {wire, display, wire.toUpper(), display.toLower()}) {
                QCOMPARE(stringToDataStream(text), stream);
                QCOMPARE(stringToDataFormat(text), format);
            }
            names.append(wire);
            QCOMPARE(dataStreamsToStrings(bit * 2 - 1), names);
            QCOMPARE(int(GetAllStreams().value(names.size() - 1)), bit);
            bit *= 2;
        }
        QCOMPARE(GetAllStreams().size(), names.size());
        QCOMPARE(dataStreamsToStrings(-1), names);
        QCOMPARE(dataStreamsToStrings(eQm410Stream | eIfStream), (QStringList{latin("if"), latin("qm410")}));
        QCOMPARE(int(stringsToDataStream(names + QStringList{latin("x"), QString()})), bit - 1);
    }

    void whatIsNoStreamHasNothing()
    {
        for (const int value : {0, 3, 0x1000000, -1}) {
            QCOMPARE(dataStreamToString(static_cast<eDataStream>(value)), QString());
            QCOMPARE(dataStreamToDisplayString(static_cast<eDataStream>(value)), QString());
        }
        QVERIFY(dataStreamsToStrings(0).isEmpty() && dataStreamsToStrings(0x1000000).isEmpty());
        for (const char* text : {"", "unknown", "symbol ", "Hop Density", "Analysed Burst Info"}) {
            QCOMPARE(int(stringToDataStream(latin(text))), 0);
            QCOMPARE(int(stringToDataFormat(latin(text))), 255);
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
        QCOMPARE(dataStreamToDisplayString(eIfStream), latin("#I/Q Data"));
        QCOMPARE(int(stringToDataStream(latin("#i/q data"))), int(eIfStream));
        QCOMPARE(dataStreamToString(eIfStream), latin("if"));
        QCOMPARE(int(stringToDataStream(latin("if"))), int(eSymbolStream));
        StartStopDatastreamRecording request({true, {{eIfStream, {}, {}}}}, nullptr, nullptr);
        const auto content = StartStopDatastreamRecording::read(request.getMessage()->getFragment(0));
        QVERIFY(content && content->recordings.first().stream == eIfStream); // messages know no language
        QVERIFY(QCoreApplication::removeTranslator(&translator));
        QCOMPARE(dataStreamToDisplayString(eIfStream), latin("I/Q Data"));
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
                {start, {{eIfStream, latin("{p}"), latin("r <1>")}, {eRawStream, QString(), QString()}}},
                nullptr, nullptr);
            QCOMPARE(request.getMessage()->getServiceType(), XmlCommon::CXmlMessage::eSERVICE_COMMAND);
            const auto content = StartStopDatastreamRecording::read(request.getMessage()->getFragment(0));
            QVERIFY(content && content->start == start && content->recordings.size() == 2);
            QCOMPARE(content->recordings.first().stream, eIfStream);
            QCOMPARE(content->recordings.first().producer, latin("{p}"));
            QCOMPARE(content->recordings.first().recordName, latin("r <1>"));
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
            XmlCommon::CMsgFragment fragment(latin("Recording"));
            fragment.setRequestTree(XmlCommon::CRequestTree(XmlCommon::CDataTree::fromXml(xml)));
            QVERIFY(fragment.hasRequestTree());
            QVERIFY2(!StartStopDatastreamRecording::read(fragment), xml);
        }
        QVERIFY(!StartStopDatastreamRecording::isCommand(XmlCommon::CMsgFragment()));
    }
};

QTEST_GUILESS_MAIN(TestRecordingControl)
#include "tst_recordingcontrol.moc"
