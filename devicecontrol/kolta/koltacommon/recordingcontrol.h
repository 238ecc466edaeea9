#pragma once

#include <koltacommon/export.h>
#include <recording/recorddata.h>

#include <QFlags>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Kolta {

/// The kinds of data stream that can be recorded, one bit each.
enum eDataStream : int {
    eNoDataStream = 0,
    eSymbolStream = 0x1,
    eInstantaneousStream = 0x2,
    eImageStream = 0x4,
    eDemodulationResultStream = 0x8,
    eDigitalAudioStream = 0x10,
    eAnalogAudioStream = 0x20,
    eSpecialStream = 0x40,
    eDecodedStream = 0x80,
    eProcessorSpectrumStream = 0x100,
    eTunerSpectrumStream = 0x200,
    eTunerPolychromeSpectrumStream = 0x400,
    eSegmentationSpectrumStream = 0x800,
    eTimeDomainStream = 0x1000,
    eIfStream = 0x2000,
    eEmissionListStream = 0x4000,
    eDetectorSpectrumStream = 0x8000,
    eDetectorThresholdStream = 0x10000,
    eIfBurstStream = 0x20000,
    eEmissionListBurstStream = 0x40000,
    eAnalysedBurstInfoStream = 0x80000,
    eHistogramStream = 0x100000,
    eHopDensityStream = 0x200000,
    eRawStream = 0x400000,
    eQm410Stream = 0x800000
};

/// The vocabulary of recordable data streams. Every stream has a wire name, by which messages call it, a
/// display name, which is translated, and a data format of the recording library. Callable from any thread.
namespace RecordingControl {

/// What one recording is to hold.
struct RecordingData
{
    eDataStream stream = eNoDataStream; ///< exactly one
    QString producer;                   ///< GUID of the tuner or processor whose stream it is
    QString recordName;                 ///< name for the user; may be empty
};

/// All streams in their fixed order.
KOLTA_COMMON_EXPORT const QVector<eDataStream>& GetAllStreams();

/// Wire name; empty unless `stream` is exactly one stream.
KOLTA_COMMON_EXPORT QString dataStreamToString(eDataStream stream);
/// Display name in the user's language; empty unless `stream` is exactly one stream.
KOLTA_COMMON_EXPORT QString dataStreamToDisplayString(eDataStream stream);
/// Wire names of all streams in the set, in their fixed order.
KOLTA_COMMON_EXPORT QStringList dataStreamsToStrings(QFlags<eDataStream> streams);
KOLTA_COMMON_EXPORT QStringList dataStreamsToStrings(int streams);

/// The first stream whose wire name or display name is `text` in any letter case, else the first whose
/// English display name is, as programs without the present translation wrote it; eNoDataStream for none.
KOLTA_COMMON_EXPORT eDataStream stringToDataStream(const QString& text);
/// All streams named in the list; unknown texts add nothing.
KOLTA_COMMON_EXPORT QFlags<eDataStream> stringsToDataStream(const QStringList& texts);

/// eNoDataStream for a format that no stream has.
KOLTA_COMMON_EXPORT eDataStream dataFormatToStream(const SOREL_XML::SOREL_RecordData::DataFormat& format);
/// Data format of the stream that stringToDataStream() finds; eNoDataFormat for none.
KOLTA_COMMON_EXPORT SOREL_XML::SOREL_RecordData::DataFormat stringToDataFormat(const QString& text);

/// When signal was first present: the smallest time in the record's index, which counts alone, because it
/// knows better than the record's own start time. That one is taken when there is no index.
KOLTA_COMMON_EXPORT quint64 signalStartTimeFromRecordData(const SOREL_XML::SOREL_RecordData& record);
/// The same for the end: the largest time in the index, or the record's own stop time.
KOLTA_COMMON_EXPORT quint64 signalStopTimeFromRecordData(const SOREL_XML::SOREL_RecordData& record);

} // namespace RecordingControl

Q_DECLARE_OPERATORS_FOR_FLAGS(QFlags<eDataStream>)

} // namespace Kolta
