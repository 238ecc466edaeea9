#include <koltacommon/recordingcontrol.h>

#include <QCoreApplication>
#include <QHash>

#include <algorithm>

namespace Kolta::RecordingControl {

using SOREL_XML::SOREL_IndexEntry;
using SOREL_XML::SOREL_RecordData;

namespace {

struct StreamDescription
{
    eDataStream stream;
    const char* wireName;
    const char* displayName;
    SOREL_RecordData::DataFormat format;
};

// Wire and display names are matched by text: their uneven spelling is theirs.
constexpr StreamDescription kTable[] = {
    {eSymbolStream, "symbol", QT_TRANSLATE_NOOP("VeskDataStream", "Bit Stream"),
     SOREL_RecordData::eBitStream},
    {eInstantaneousStream, "instantaneous", QT_TRANSLATE_NOOP("VeskDataStream", "Instantaneous Data"),
     SOREL_RecordData::eInstantaneous},
    {eImageStream, "image", QT_TRANSLATE_NOOP("VeskDataStream", "Image Data"), SOREL_RecordData::eImage},
    {eDemodulationResultStream, "demresult", QT_TRANSLATE_NOOP("VeskDataStream", "DDem Result"),
     SOREL_RecordData::eDemodulationResult},
    {eDigitalAudioStream, "digitalAudio", QT_TRANSLATE_NOOP("VeskDataStream", "Digital Audio"),
     SOREL_RecordData::eDigitalAudio},
    {eAnalogAudioStream, "analogAudio", QT_TRANSLATE_NOOP("VeskDataStream", "Analog Audio"),
     SOREL_RecordData::eAnalogAudio},
    {eSpecialStream, "special", QT_TRANSLATE_NOOP("VeskDataStream", "Special Data"),
     SOREL_RecordData::eSpecial},
    {eDecodedStream, "decoded", QT_TRANSLATE_NOOP("VeskDataStream", "Decoded Text"),
     SOREL_RecordData::eDecodedText},
    {eProcessorSpectrumStream, "processorSpectrum", QT_TRANSLATE_NOOP("VeskDataStream", "Spectrum"),
     SOREL_RecordData::eSpectrum},
    {eTunerSpectrumStream, "tunerSpectrum", QT_TRANSLATE_NOOP("VeskDataStream", "Tuner Spectrum"),
     SOREL_RecordData::eTunerSpectrum},
    {eTunerPolychromeSpectrumStream, "tunerPolychromeSpectrum",
     QT_TRANSLATE_NOOP("VeskDataStream", "Tuner Polychrome Spectrum"),
     SOREL_RecordData::eTunerPolychromeSpectrum},
    {eSegmentationSpectrumStream, "segmentationSpectrum",
     QT_TRANSLATE_NOOP("VeskDataStream", "Segmentation Spectrum"), SOREL_RecordData::eSegmentationSpectrum},
    {eTimeDomainStream, "timeDomain", QT_TRANSLATE_NOOP("VeskDataStream", "Time Domain"),
     SOREL_RecordData::eTimeDomain},
    {eIfStream, "if", QT_TRANSLATE_NOOP("VeskDataStream", "I/Q Data"), SOREL_RecordData::eIqData},
    {eEmissionListStream, "emissionList", QT_TRANSLATE_NOOP("VeskDataStream", "Emission List"),
     SOREL_RecordData::eEmissionList},
    {eDetectorSpectrumStream, "detectorSpectrum", QT_TRANSLATE_NOOP("VeskDataStream", "Detector Spectrum"),
     SOREL_RecordData::eDetectorSpectrum},
    {eDetectorThresholdStream, "detectorThreshold", QT_TRANSLATE_NOOP("VeskDataStream", "Detector Threshold"),
     SOREL_RecordData::eDetectorThreshold},
    {eIfBurstStream, "ifBurst", QT_TRANSLATE_NOOP("VeskDataStream", "Burst Data"), SOREL_RecordData::eBurst},
    {eEmissionListBurstStream, "emissionListBurst",
     QT_TRANSLATE_NOOP("VeskDataStream", "Emission List Burst"), SOREL_RecordData::eEmissionListBurst},
    {eAnalysedBurstInfoStream, "analysedBurstInfo",
     QT_TRANSLATE_NOOP("VeskDataStream", "Analyzed Burst Info"), SOREL_RecordData::eAnalysedBurstInfo},
    {eHistogramStream, "histogram", QT_TRANSLATE_NOOP("VeskDataStream", "Histogram"),
     SOREL_RecordData::eHistogram},
    {eHopDensityStream, "hopDensity", QT_TRANSLATE_NOOP("VeskDataStream", "HopDensity"),
     SOREL_RecordData::eHopDensity},
    {eRawStream, "raw", QT_TRANSLATE_NOOP("VeskDataStream", "Raw Data"), SOREL_RecordData::eRawData},
    {eQm410Stream, "qm410", QT_TRANSLATE_NOOP("VeskDataStream", "QM410 Data"), SOREL_RecordData::eQm410},
};

const StreamDescription* describe(eDataStream stream)
{
    const auto* found = std::find_if(std::begin(kTable), std::end(kTable), [stream](const auto& description) {
        return description.stream == stream;
    });
    return found == std::end(kTable) ? nullptr : found;
}

QString displayNameOf(const StreamDescription& description)
{
    return QCoreApplication::translate("VeskDataStream", description.displayName);
}

bool isCalled(const StreamDescription& description, const QString& text)
{
    return text.compare(QLatin1String(description.wireName), Qt::CaseInsensitive) == 0 ||
           text.compare(displayNameOf(description), Qt::CaseInsensitive) == 0;
}

/// The indexed time that comes first by `before`, or `otherwise` when there is no index.
template<typename Before>
quint64 indexedTime(const SOREL_RecordData& record, quint64 otherwise, Before before)
{
    if (!record.IsIndexEntrySet())
        return otherwise;
    const QVector<SOREL_IndexEntry>& index = record.GetIndexEntry();
    return std::min_element(index.begin(), index.end(),
                            [before](const SOREL_IndexEntry& a, const SOREL_IndexEntry& b) {
                                return before(a.GetTimestamp(), b.GetTimestamp());
                            })
        ->GetTimestamp();
}

} // namespace

const QVector<eDataStream>& GetAllStreams()
{
    static const QVector<eDataStream> streams = [] {
        QVector<eDataStream> all;
        for (const StreamDescription& description : kTable)
            all.append(description.stream);
        return all;
    }();
    return streams;
}

QString dataStreamToString(eDataStream stream)
{
    const StreamDescription* description = describe(stream);
    return description ? QString::fromLatin1(description->wireName) : QString();
}

QString dataStreamToDisplayString(eDataStream stream)
{
    const StreamDescription* description = describe(stream);
    return description ? displayNameOf(*description) : QString();
}

QStringList dataStreamsToStrings(QFlags<eDataStream> streams)
{
    QStringList names;
    for (const StreamDescription& description : kTable)
        if (streams.testFlag(description.stream))
            names.append(QString::fromLatin1(description.wireName));
    return names;
}

QStringList dataStreamsToStrings(int streams)
{
    return dataStreamsToStrings(QFlags<eDataStream>(QFlag(streams)));
}

eDataStream stringToDataStream(const QString& text)
{
    for (const StreamDescription& description : kTable)
        if (isCalled(description, text))
            return description.stream;
    for (const StreamDescription& description : kTable) // what was written before a translation was loaded
        if (text.compare(QLatin1String(description.displayName), Qt::CaseInsensitive) == 0)
            return description.stream;
    return eNoDataStream;
}

QFlags<eDataStream> stringsToDataStream(const QStringList& texts)
{
    QFlags<eDataStream> streams;
    for (const QString& text : texts)
        streams |= stringToDataStream(text);
    return streams;
}

eDataStream dataFormatToStream(const SOREL_RecordData::DataFormat& format)
{
    static const QHash<quint8, eDataStream> streams = [] {
        QHash<quint8, eDataStream> all;
        for (const StreamDescription& description : kTable)
            all.insert(description.format, description.stream);
        return all;
    }();
    return streams.value(format, eNoDataStream);
}

SOREL_RecordData::DataFormat stringToDataFormat(const QString& text)
{
    const StreamDescription* description = describe(stringToDataStream(text));
    return description ? description->format : SOREL_RecordData::eNoDataFormat;
}

quint64 signalStartTimeFromRecordData(const SOREL_RecordData& record)
{
    return indexedTime(record, record.GetStartTime(), std::less<quint64>());
}

quint64 signalStopTimeFromRecordData(const SOREL_RecordData& record)
{
    return indexedTime(record, record.GetStopTime(), std::greater<quint64>());
}

} // namespace Kolta::RecordingControl
